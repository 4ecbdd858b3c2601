// SPDX-License-Identifier: Apache-2.0
// What a host must not do on a thread of the library's: a debug build ends it with a sentence.
#ifdef KWWAN_MISUSE_CHECKS

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <optional>
#include <thread>

#include "common/util/thread.h"
#include "common/vendor/qcmap_wrapper.h"
#include "simulator/sim_modem.h"
#include "support/wait.h"
#include "wwan/at_manager.h"
#include "wwan/data_manager.h"
#include "wwan/dns_ctrl_manager.h"

namespace kor::test {
namespace {

using kor::util::EventDic;
using kor::util::IPFamily;
using kor::wwan::AtManager;

struct FacadeMisuseDeathTest : testing::Test {
  void InDataCallback(const std::function<void()>& what) {
    data->SetEventCb([what](EventDic&) { what(); });
    EventDic ev;
    kor::vendor::qcom::qcmap::QcmapWrapper::GetInstance()->event_cbs.Notify(ev);
  }

  void InDnsCallback(const std::function<void()>& what) {
    dns.SetEventCb([what](EventDic&) { what(); });
    dns.StartService();
  }

  std::optional<kor::wwan::DataManager> data{std::in_place};
  kor::wwan::DnsCtrlManager dns;
};

TEST_F(FacadeMisuseDeathTest, InADataCallback) {
  for (const bool connect : {true, false}) {
    const auto wait = [&] {
      (void)(connect ? data->Connect(0, IPFamily::kIpv4, true) : data->Disconnect(0, IPFamily::kIpv4, true));
    };
    EXPECT_DEATH(InDataCallback(wait), "a callback waits for a call");
  }
  const auto connect = [&] { (void)data->Connect(0, IPFamily::kIpv4, false); };
  EXPECT_DEATH(InDataCallback(connect), "kManagerCount is taken while kDataTables is held");
  EXPECT_DEATH(InDataCallback([&] { data.reset(); }), "removes a callback of its own table");
  EXPECT_DEATH(InDataCallback([&] { dns.StopService(); }), "kService is taken while kDataTables is held");
}

TEST_F(FacadeMisuseDeathTest, InADnsCallback) {
  EXPECT_DEATH(InDnsCallback([&] { dns.StopService(); }), "a DNS callback starts or stops the service");
  EXPECT_DEATH(InDnsCallback([&] { dns.StartService(); }), "a DNS callback starts or stops the service");
  EXPECT_DEATH(InDnsCallback([&] { kor::wwan::DnsCtrlManager other; }),
               "kManagerCount is taken while kService is held");
}

TEST_F(FacadeMisuseDeathTest, AThreadThatWouldWaitForItself) {
  const auto stop_in_handler = [] {
    AtManager at;
    const auto stop = [&at](AtManager::Command&) {
      at.StopService();
      return AtManager::CmdResponse();
    };
    at.RegisterCallback("+KWSTOP", stop, nullptr);
    at.StartService();
    (void)Eventually([] { return kor::modem::SimModem::Get().Type("AT+KWSTOP") == "OK"; });
  };
  EXPECT_DEATH(stop_in_handler(), "a handler stops the AT service");
  const auto join_itself = [] {
    kor::util::Thread thread;
    std::atomic<bool> held{false};
    thread = std::thread([&] {
      while (!held) std::this_thread::yield();
      thread.Join();
    });
    held = true;
    std::this_thread::sleep_for(kLongEnough);
  };
  EXPECT_DEATH(join_itself(), "a thread joins itself");
}

}  // namespace
}  // namespace kor::test

#endif
