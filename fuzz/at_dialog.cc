// SPDX-License-Identifier: Apache-2.0
// What is said at an AT terminal, by all sides: typing, answers of the library's service, unsolicited texts, a slow or
// leaving terminal program.
#include "at/at_dialog.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>

#include "at/at_text.h"
#include "require.h"

namespace {

using kor::modem::AtCommand;
using kor::modem::AtDialog;
using kor::modem::AtReply;
using kor::wwan::AtManager;

constexpr size_t kMaxText = 200;
// An echo, some results, and one answer whose line ends count double.
constexpr size_t kMaxOutput = 4096 + AtDialog::kMaxNoticeBytes + 8 * kMaxText;

// The service's answer to the command that was forwarded.
void Answer(FuzzedDataProvider& input, const AtCommand& command, AtDialog& dialog) {
  AtManager::CmdResponse response;
  response.result = input.ConsumeBool();
  response.response = input.ConsumeRandomLengthString(kMaxText);
  response.cme_error = static_cast<AtManager::CmeeErrorCode>(input.ConsumeIntegral<int16_t>());
  kor::fuzz::Require(kor::wwan::CommandText(command).rfind("AT" + command.name, 0) == 0, "the text names the command");
  dialog.Answer(response.result, kor::wwan::ResponseText(command, response));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  using kor::fuzz::Require;
  FuzzedDataProvider input(bytes, size);
  AtCommand forwarded;
  const auto forward = [&](const AtCommand& command) {
    Require(command.op != AtManager::kOpNone, "a fault is not forwarded");
    if (command.name.rfind("+X", 0) != 0) return false;
    forwarded = command;
    return true;
  };
  const auto ask = [](const AtCommand& command) {
    if (command.name == "I") return AtReply{"kwwan\nsimulated modem", std::nullopt};
    return AtReply{"", kor::modem::kAtNotSupported};
  };
  AtDialog dialog({forward, ask});
  while (input.remaining_bytes() > 0) {
    switch (input.ConsumeIntegralInRange(0, 5)) {
      case 0:
        if (dialog.wants_input())
          dialog.Type(input.ConsumeRandomLengthString(kMaxText) + (input.ConsumeBool() ? "\r" : ""));
        break;
      case 1:
        if (dialog.waiting()) Answer(input, forwarded, dialog);
        break;
      case 2:
        dialog.Notify(input.ConsumeRandomLengthString(kMaxText));
        break;
      case 3:
        dialog.Shown(input.ConsumeIntegralInRange<size_t>(0, dialog.output().size()));
        break;
      case 4:
        dialog.ShowHeld();
        Require(!dialog.holds_back(), "nothing is held back for ever");
        break;
      default:
        dialog.HangUp();
        Require(dialog.output().empty() && !dialog.waiting() && dialog.wants_input(), "a clean line");
        Require(dialog.settings().line_end == '\r' && dialog.settings().quiet == 0, "the stored defaults");
    }
    Require(dialog.output().size() <= kMaxOutput, "what is to be shown is bounded");
    Require(!dialog.wants_input() || dialog.output().empty(), "nothing is typed into an answer");
  }
  return 0;
}
