// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/commands.h"
#include "kwwanctl/ending.h"
#include "kwwanctl/screens.h"
#include "kwwanctl/table.h"
#include "kwwanctl/text.h"
#include "kwwanctl/verb.h"

namespace kor::ctl {
namespace {

constexpr size_t kNameWidth = 22;  // "call disconnect failed"

// One line: the time, what happened, and all else that is known of it.
std::string EventText(const Json& event, const Paint& paint) {
  std::string text =
      paint(Colour::kFaint, ToText(Member(event, "time"))) + "  " + Pad(ToText(Member(event, "name")), kNameWidth);
  for (const auto& [name, value] : event.items()) {
    if (name == "time" || name == "name" || value.is_null()) continue;
    text += "  " + Escape(name) + ' ' + ToText(value);
  }
  return text + '\n';
}

int Monitor(Context& context, const Json&) {
  Ending ending;
  Session& session = context.session();
  (void)session.Call("monitor.start", Json::object());
  do {
    while (const auto notification = session.Next()) {
      if (notification->method == "event") context.out.Show(notification->params, EventText);
    }
  } while (ending.Wait(session.fd(), std::nullopt) != Ending::Woken::kEnd);
  return kDone;
}

}  // namespace

void AddMonitor(CLI::App& app, Context& context) {
  Verb verb{"monitor", "Shows events as they come, one a line, until Ctrl-C.",
            {},        {{"monitor", "for people"}, {"--json monitor | jq .name", "for programs"}},
            "",        nullptr};
  verb.action = Monitor;
  AddVerb(app, context, verb);
}

}  // namespace kor::ctl
