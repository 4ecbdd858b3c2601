// SPDX-License-Identifier: Apache-2.0
#include "at_story.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <future>
#include <memory>
#include <string>

#include "modem/sim_modem.h"
#include "observe.h"
#include "require.h"
#include "wwan/at_manager.h"

namespace kor::demo {

namespace {

using kor::modem::SimModem;
using kor::wwan::AtManager;

constexpr int kNames = 25;  // More than the 20 that one request takes.
constexpr char kNews[] = "+KWNEWS: the tide is turning";

AtManager::CmdResponse Serve(AtManager::Command& cmd) {
  AtManager::CmdResponse response;
  response.result = cmd.op != AtManager::kOpRead;
  response.response = "+KWPING: " + (cmd.params.empty() ? "pong" : cmd.params.front());
  response.cme_error = AtManager::CmeeErrorCode::kOperationNotAllowed;
  return response;
}

// A terminal program: socat types `lines` (a printf format) at the modem's terminal; what the terminal shows is read
// until `until` stands in it, or all of it. It ends by itself.
class TerminalProgram {
 public:
  TerminalProgram(const std::string& path, const std::string& lines, const char* stays_s)
      : output_(popen(
            ("(printf '" + lines + "'; sleep " + stays_s + ") | timeout 5 socat -t 0.2 - " + path + ",rawer").c_str(),
            "r")) {
    Require(output_ != nullptr, "no terminal program");
  }
  ~TerminalProgram() { pclose(output_); }
  TerminalProgram(const TerminalProgram&) = delete;
  TerminalProgram& operator=(const TerminalProgram&) = delete;

  // Lines as a person sees them: without the empty ones.
  std::string Show(const std::string& until = "") {
    std::string shown;
    for (int c = fgetc(output_); c != EOF; c = fgetc(output_)) {
      if (c == '\r') continue;
      if (c == '\n' && (shown.empty() || shown.back() == '\n')) continue;
      shown += static_cast<char>(c);
      if (!until.empty() && shown.find(until) != std::string::npos) break;
    }
    while (!shown.empty() && shown.back() == '\n') shown.pop_back();
    return shown;
  }

 private:
  FILE* const output_;
};

class AtStory {
 public:
  explicit AtStory(Narrator& story) : story_(story) {}
  ~AtStory() { at_.StopService(); }

  void Run() {
    story_.Chapter("AT commands: from a terminal to a handler and back");
    RegisterBatch();
    RegisterLate();
    story_.Begin("a terminal of the modem");
    path_ = SimModem::Get().OpenTerminal();
    Require(!path_.empty(), "none to be had");
    story_.Done(path_ + ", typed at by socat");
    Type("AT+KWPING", "+KWPING: pong\nOK");
    Type("AT+KWPING=\"a,b\"", "+KWPING: a,b\nOK");
    Type("AT+CMEE=0;+KWPING?", "ERROR");
    Type("AT+CMEE=1;+KWPING?", "+CME ERROR: 3");
    Type("AT+CMEE=2;+KWPING?", "+CME ERROR: operation not allowed");
    Type("AT+NOBODY", "+CME ERROR: operation not supported");
    Notify();
  }

 private:
  void Claim(const std::string& name) {
    at_.RegisterCallback(name, Serve, [this](std::string, bool accepted) { accepted_ += accepted ? 1 : 0; });
  }

  // Requests to register names that the modem has seen since the last call.
  static long TakeRequests() {
    const auto record = SimModem::Get().TakeRecord();
    return std::count_if(record.begin(), record.end(),
                         [](const std::string& call) { return call.rfind("RegisterCommands", 0) == 0; });
  }

  void RegisterBatch() {
    story_.Begin(std::to_string(kNames) + " names claimed");
    Claim("+KWPING");
    for (int n = 1; n < kNames; ++n) Claim("+KWX" + std::string(1, static_cast<char>('A' + n)));
    (void)TakeRequests();
    at_.StartService();
    Require(Eventually([&] { return accepted_ == kNames; }), "registered: " + std::to_string(accepted_));
    const long requests = TakeRequests();
    Require(requests == 2, std::to_string(requests) + " requests");
    story_.Done("taken in 2 requests, 20 + 5");
    at_.NotifyRegistrationDone();
  }

  // Two refusals: the second one is followed by the pause between passes.
  void RegisterLate() {
    story_.Begin("one more, refused twice");
    SimModem::Get().FailNext("RegisterCommands", 2);
    Claim("+KWLATE");
    Require(Eventually([&] { return accepted_ == kNames + 1; }), "not registered");
    story_.Done("taken at the third, after a pause");
  }

  void Type(const std::string& line, const std::string& expected) {
    story_.Begin(line);
    const std::string shown = TerminalProgram(path_, "ATE0\\r" + line + "\\r", "0.1").Show();
    Require(shown.size() >= expected.size() && shown.substr(shown.size() - expected.size()) == expected,
            "shown: " + shown);
    story_.Done(expected);
  }

  void Notify() {
    story_.Begin("SendNotification()");
    TerminalProgram program(path_, "AT\\r", "0.5");
    Require(program.Show("OK") != "", "the terminal does not answer");
    at_.SendNotification(kNews);
    const std::string shown = program.Show(kNews);
    Require(shown.find(kNews) != std::string::npos, "shown: " + shown);
    story_.Done(kNews);
  }

  Narrator& story_;
  std::string path_;
  std::atomic<int> accepted_{0};
  AtManager at_;
};

}  // namespace

void TellAtCommands(Narrator& story) { AtStory(story).Run(); }

}  // namespace kor::demo
