// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/output.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kwwanctl/table.h"

namespace kor::ctl {
namespace {

bool ColourWanted(const GlobalOptions& options, int fd) {
  const char* no_color = getenv("NO_COLOR");
  return !options.no_color && (no_color == nullptr || *no_color == '\0') && isatty(fd);
}

// A wrong word of the command line comes back in its error, and may be no UTF-8.
std::string Line(const Json& json) { return json.dump(-1, ' ', true, Json::error_handler_t::replace) + '\n'; }

}  // namespace

Paint Output::paint() const { return Paint(ColourWanted(options_, STDOUT_FILENO)); }

void Output::Show(const Json& result, const Render& render) {
  Write(options_.json ? Line(result) : render(result, paint()));
}

void Output::Say(const std::string& text) {
  if (!options_.json) Write(text);
}

void Output::Remark(const std::string& text) {
  if (!options_.json) (void)fputs(text.c_str(), stderr);
}

void Output::Tell(const CommandError& error) {
  if (options_.json) return Write(Line(Json{{"error", ToJson(error)}}));
  const Paint paint(ColourWanted(options_, STDERR_FILENO));
  std::string text = paint(Colour::kBad, "kwwanctl: " + Escape(error.what())) + '\n';
  const Json nearest = Member(error.data(), "nearest");
  if (nearest.is_string()) text += "Did you mean \"" + Escape(nearest.get<std::string>()) + "\"?\n";
  (void)fputs(text.c_str(), stderr);
}

void Output::Write(const std::string& text) {
  if (fputs(text.c_str(), stdout) >= 0 && fflush(stdout) == 0) return;
  reader_gone_ = errno == EPIPE;
  throw CommandError(kErrorFailure, std::string("cannot write the output: ") + strerror(errno));
}

}  // namespace kor::ctl
