// SPDX-License-Identifier: Apache-2.0
// Serves AT+KWPING until Enter is pressed. On the bench the simulated modem lends a terminal to type it at.
#include <cstdio>
#include <future>
#include <string>

#include "simulator/sim_modem.h"
#include "wwan/at_manager.h"

using kor::wwan::AtManager;

namespace {

AtManager::CmdResponse Succeeded(const std::string& text) {
  AtManager::CmdResponse response;
  response.result = true;
  response.response = text;
  return response;
}

AtManager::CmdResponse Failed(AtManager::CmeeErrorCode code) {
  AtManager::CmdResponse response;
  response.cme_error = code;
  return response;
}

// Runs on the service thread: whatever it does, it does soon, for every other command waits.
AtManager::CmdResponse ServePing(AtManager::Command& cmd) {
  switch (cmd.op) {
    case AtManager::kOpPlain:
      return Succeeded("+KWPING: pong");
    case AtManager::kOpTest:
      return Succeeded("+KWPING: <text>");
    case AtManager::kOpSet:
      if (cmd.params.size() == 1) return Succeeded("+KWPING: " + cmd.params[0]);
      return Failed(AtManager::CmeeErrorCode::kInvalidIndex);
    default:
      return Failed(AtManager::CmeeErrorCode::kOperationNotAllowed);
  }
}

}  // namespace

int main() {
  AtManager at;
  std::promise<bool> registered;
  at.RegisterCallback("+KWPING", ServePing, [&](std::string, bool accepted) { registered.set_value(accepted); });
  at.StartService();
  const bool accepted = registered.get_future().get();
  if (accepted) {
    at.NotifyRegistrationDone();
    printf("Serving AT+KWPING at %s; Enter ends.\n", kor::modem::SimModem::Get().OpenTerminal().c_str());
    getchar();
  } else {
    puts("The modem does not take the name.");
  }
  at.StopService();
  return accepted ? 0 : 1;
}
