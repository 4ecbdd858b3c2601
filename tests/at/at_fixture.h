// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <syslog.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "at/at_service.h"
#include "at/scripted_at_client.h"
#include "support/syslog_reader.h"

namespace kor::wwan {

struct AtServicePeer {
  static void SetInterval(std::chrono::microseconds interval) {
    AtService::s_ins_->reg_interval_us_ = static_cast<int32_t>(interval.count());
  }
  static std::vector<int32_t> QueuedTypes() {
    kor::util::MutexLock lock(AtService::s_ins_->queue_mutex_);
    std::vector<int32_t> types;
    for (const auto& msg : AtService::s_ins_->msg_queue_) types.push_back(msg.type);
    return types;
  }
  static bool IsRunning(const AtService* service = AtService::s_ins_) { return service->running_; }
  static int32_t TimerId() { return AtService::s_ins_->timer_id_; }
  static int Holders() {
    kor::util::MutexLock lock(AtService::s_mutex_);
    return AtService::ref_cnt;
  }
};

}  // namespace kor::wwan

namespace kor::test {

using namespace std::chrono_literals;
using kor::wwan::AtServicePeer;
using CmdResponse = AtManager::CmdResponse;
using Error = AtManager::CmeeErrorCode;

inline Command Cmd(const std::string& name, int32_t op = AtManager::kOpPlain, std::vector<std::string> params = {},
                   int32_t cmee = -1) {
  Command cmd;
  cmd.name = name;
  cmd.op = op;
  cmd.params = std::move(params);
  cmd.cmee = cmee;
  return cmd;
}

inline CmdResponse Ok(const std::string& text = "") {
  CmdResponse response;
  response.result = true;
  response.response = text;
  return response;
}

inline CmdResponse Failed(int code) {
  CmdResponse response;
  response.response = "not shown";
  response.cme_error = static_cast<Error>(code);
  return response;
}

inline std::string Numbered(int i) {
  char name[16];
  snprintf(name, sizeof(name), "+N%03d", i);
  return name;
}

class AtTest : public testing::Test {
 protected:
  AtTest() {
    AtClient::Reset();
    setlogmask(LOG_UPTO(LOG_DEBUG));
    at_ = std::make_unique<AtManager>();
  }

  // Claims `name`; the outcome of its registration goes to results_ as "NAME 1" or "NAME 0".
  void Claim(
      const std::string& name, std::function<CmdResponse(Command&)> handler = [](Command&) { return Ok(); }) {
    EXPECT_EQ(0, at_->RegisterCallback(name, std::move(handler), [this](const std::string& of, bool accepted) {
      results_.Add(of + (accepted ? " 1" : " 0"));
    }));
  }

  // The answer to a plain command.
  static std::string Ask(const std::string& name) {
    AtClient::Forward(Cmd(name));
    const Lines answers = AtClient::answers.Take(1);
    return answers.size() == 1 ? answers[0] : "not one answer";
  }

  SyslogReader log_;  // Outlives the service that logs.
  Record results_;
  std::unique_ptr<AtManager> at_;
};

}  // namespace kor::test
