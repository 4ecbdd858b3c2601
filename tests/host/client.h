// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "kwwand/wire/method.h"
#include "shared/fd.h"

namespace kor::test {

using kor::host::Json;

constexpr char kSocket[] = "/run/kwwand/kwwand.sock";

// A client of the host. Every wait is bounded; what does not come is a null answer.
class Client {
 public:
  // Connected to kSocket; otherwise nothing can be sent.
  Client();

  bool Send(std::string_view text);
  bool SendRequest(const Json& id, const std::string& method, const Json& params = Json::object());

  // The next line; discarded when the host has closed or nothing comes.
  Json Read();
  // The answer to `id`, or the next one to any when it is null; what comes before it is skipped.
  Json ReadAnswer(const Json& id);

  // The result of a request; the whole answer when it is an error.
  Json Ask(const std::string& method, const Json& params = Json::object());
  // The error code of the answer; 0 when it is none.
  int CodeOf(const std::string& method, const Json& params = Json::object());
  // A line of the simulated modem's language. True when it was taken.
  bool Modem(const std::string& line) { return CodeOf("modem.run", {{"line", line}}) == 0; }

  void EndInput();  // It sends no more, and still reads.
  // Whether the host has closed: reads to the end.
  bool ReadToEnd();

 private:
  bool Fill();

  kor::tools::Fd fd_;
  std::string input_;
  int last_id_ = 0;
};

}  // namespace kor::test
