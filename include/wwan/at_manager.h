// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "common/export.h"

namespace kor::vendor::qcom::qmi {
class AtsQmiClient;
class M2mQmiClient;
}  // namespace kor::vendor::qcom::qmi

namespace kor::wwan {

class AtService;

// Custom AT commands: claims command names with the modem and answers the commands that it forwards.
//
// What blocks what: all managers of a process share one service with one thread, and everything of the client's runs on
// it, one thing at a time. While a handler runs, every other command, of whatever name, waits, and so do registrations;
// the terminal waits for its answer. Commands are answered in the order in which the modem forwarded them. A handler
// that needs more than a moment answers at once, works on a thread of its own and reports by SendNotification().
//
// On the service thread run
//   - handlers (`cmd_cb`) and after-send callbacks, without any lock held: they may call RegisterCallback,
//     ReleaseCommands, SendNotification, NotifyRegistrationDone and create managers;
//   - registration results (`reg_cb`), with the registry locked: they may call only SendNotification and
//     NotifyRegistrationDone, and must not wait for a thread that is in RegisterCallback.
// StartService and StopService do nothing on the thread of their own service (StopService logs it): it cannot wait for
// itself. A handler that destroys the last manager has its command answered; the service ends soon after.
//
// What they throw goes no further: the service logs it as an error, with the command's name, and lives on. A command
// whose handler threw is answered as a failure without an error code. The same holds when memory runs out on the
// service thread: the command fails, names are registered later.
//
// Thread safety: all operations may be called from any thread; managers may be created and destroyed on several
// threads. RegisterCallback waits while the modem is being asked to take names.
//
// Ownership: the first manager creates the service, the last one stops and destroys it, with every claim and every
// command not yet answered; the next one starts from nothing.
//
//   kor::wwan::AtManager at;
//   at.RegisterCallback("+MYCMD", [](kor::wwan::AtManager::Command& cmd) { ... }, [](std::string, bool ok) { ... });
//   at.StartService();
class KOR_EXPORT AtManager {
 public:
  // The forms of a command. Whatever is not named here is the plain form too.
  enum Op : int32_t {
    kOpNone = 0,   // Not a command: never handed to a handler, answered as a failure.
    kOpPlain = 1,  // AT+NAME
    kOpRead = 2,   // AT+NAME?
    kOpSet = 3,    // AT+NAME=1,2
    kOpTest = 4,   // AT+NAME=?
  };

  // Codes after "+CME ERROR: "; those below 100 are 3GPP's (TS 27.007). Others may be cast and are sent as numbers.
  enum class CmeeErrorCode : int32_t {
    kNone = -1,
    kPhoneFailure = 0,
    kNoConnectionToPhone = 1,
    kPhoneAdaptorLinkReserved = 2,
    kOperationNotAllowed = 3,
    kOperationNotSupported = 4,
    kInvalidIndex = 21,
    kNoNetworkService = 30,
    kCallIndexError = 320,
    kCallStateError = 321,
  };

  // One forwarded command.
  struct Command {
    int32_t client_ref = 0;                 // The modem side's own, as is client_data: handed back with the answer.
    std::string name;                       // Without "AT"; upper case.
    std::vector<std::string> params;        // Of a set command, in order.
    int32_t op = kOpNone;                   // An Op.
    std::array<uint32_t, 4> client_data{};  // See client_ref.
    int32_t cmee = -1;                      // The terminal's +CMEE mode: 1 error numbers, 2 error texts, else neither.
  };

  // The answer to it. Default: a failure without an error code.
  struct CmdResponse {
    bool result = false;
    std::string response;                            // On success: information text, without a final line end.
    CmeeErrorCode cme_error = CmeeErrorCode::kNone;  // On failure: shown as the terminal's mode asks for.
    std::function<void(void*)> after_send_cb;        // When not empty, called after the answer was handed to the modem,
    void* after_send_arg = nullptr;                  // with this, which stays the client's.
  };

  // Both throw what the vendor clients throw when the modem is not reachable; nothing is held then.
  AtManager();
  ~AtManager();
  AtManager(const AtManager&) = delete;
  AtManager& operator=(const AtManager&) = delete;

  // Starts the shared service for all managers, if it does not run. 0; throws what std::thread throws when no thread
  // can be made, or std::bad_alloc, and the service is stopped as before.
  int StartService();

  // Stops it for all managers and returns when what was being served is finished. Commands and names that come
  // meanwhile are kept for the next start, in order. Always 0; takes no memory, nor does the destructor. Not from a
  // handler: there it does nothing, and a debug build of the library ends the process with a sentence that says so.
  int StopService();

  // Claims `name` (such as "+MYCMD", in upper case: a forwarded name is upper-cased before it is looked up), before or
  // after StartService. Never waits for the modem's consent: names are registered by the running service, at most 20 at
  // once, requests that leave work spaced by two seconds, and a name that extends another one after that one. `reg_cb`,
  // when not empty, hears true when the modem has taken the name, or false when the sixth request with it was refused;
  // the claim is gone then and may be made anew.
  //
  // A name that is claimed already gets the new callables; its registration is not repeated. With an empty `cmd_cb` its
  // commands fail. Always 0; nothing is changed when it throws std::bad_alloc.
  int RegisterCallback(std::string name, std::function<CmdResponse(Command&)> cmd_cb,
                       std::function<void(std::string, bool)> reg_cb);

  // Changes nothing: the modem has no means to give names back. Always 0.
  int ReleaseCommands();

  // Shows an unsolicited text on the terminal; works whether or not the service runs. The AT client's result.
  int SendNotification(std::string text);

  // Tells the modem that the application side is ready: to be called once the names are registered. The service never
  // does it itself. The M2M client's result.
  int NotifyRegistrationDone();

  // The text for mode 2, such as "operation not allowed"; empty for a code that is not listed above.
  static std::string GetCmeeErrorString(CmeeErrorCode code);

 private:
  // Not owned; the service stands while this object lives.
  kor::vendor::qcom::qmi::AtsQmiClient* const ats_client_;
  kor::vendor::qcom::qmi::M2mQmiClient* m2m_client_ = nullptr;
  AtService* at_service_ = nullptr;
};

}  // namespace kor::wwan
