// SPDX-License-Identifier: Apache-2.0
// Everything that a host does, on several threads at any moment. The story prints its seed; KWWAN_STORY_SEED plays one
// again, KWWAN_STORY_SECONDS says for how long.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <list>
#include <string>
#include <thread>

#include "common/vendor/nas_qmi_client.h"
#include "common/vendor/qcmap_wrapper.h"
#include "common/vendor/wds_qmi_client.h"
#include "common/vendor/wms_qmi_client.h"
#include "simulator/sim_modem.h"
#include "support/footprint.h"
#include "support/story.h"
#include "support/wait.h"
#include "wwan/at_manager.h"
#include "wwan/data_manager.h"
#include "wwan/dns_ctrl_manager.h"
#include "wwan/network_manager.h"
#include "wwan/sms_manager.h"

namespace kor::test {
namespace {

using namespace std::chrono_literals;
using kor::modem::SimModem;
using kor::util::EventDic;
using kor::util::IPFamily;
using kor::wwan::AtManager;
using kor::wwan::DataManager;
using kor::wwan::DnsCtrlManager;

std::atomic<long> g_heard{0};  // Events, by listeners that came and went.

// A manager that comes, listens and goes. Its callback is not running any more when it has been taken back.
template <typename Manager>
void Listen(Dice& dice) {
  std::atomic<bool> listening{true};
  const auto heard = [&listening](EventDic&) {
    EXPECT_TRUE(listening);
    ++g_heard;
  };
  Manager manager;
  for (unsigned times = 1 + dice.Below(2); times > 0; --times) manager.SetEventCb(heard);
  dice.Dally(300us);
  manager.UnsetEventCb();
  listening = false;
  dice.Dally(50us);
}

void Serve(Dice& dice) {
  AtManager at;
  at.RegisterCallback(
      "+KW" + std::to_string(dice.Below(4)), [](AtManager::Command&) { return AtManager::CmdResponse(); }, nullptr);
  if (!dice.OneIn(4)) at.StartService();
  dice.Dally(1ms);
  if (dice.OneIn(3)) at.StopService();
}

void ComeAndGo(Dice& dice) {
  const unsigned what = dice.Below(5);
  if (what == 0) Listen<DataManager>(dice);
  if (what == 1) Listen<DnsCtrlManager>(dice);
  if (what == 2) Listen<kor::wwan::NetworkManager>(dice);
  if (what == 3) Listen<kor::wwan::SmsManager>(dice);
  if (what == 4) Serve(dice);
}

void Publish(Dice& dice) {
  EventDic ev;
  ev.event = 0x200 + dice.Below(5);
  ev.params[EventDic::kParamHandle] = "99";
  kor::vendor::qcom::qcmap::QcmapWrapper::GetInstance()->event_cbs.Notify(ev);
  kor::vendor::qcom::qmi::WdsQmiClient::GetInstance()->event_cbs.Notify(ev);
  kor::vendor::qcom::qmi::NasQmiClient::GetInstance()->event_cbs.Notify(ev);
  kor::vendor::qcom::qmi::WmsQmiClient::GetInstance()->event_cbs.Notify(ev);
}

void Call(Dice& dice) {
  DataManager data;
  kor::wwan::DataManagerPeer::SetWaitBudget(data, 50ms);  // The service may be stopped, and nobody writes a list.
  const bool wait = dice.OneIn(2);
  (void)data.Connect(0, IPFamily::kIpv4, wait);
  (void)data.Disconnect(0, IPFamily::kIpv4, wait);
}

void RestartService(Dice& dice) {
  DnsCtrlManager dns;  // Not always the last one to go.
  EXPECT_TRUE(dns.StartService());
  dice.Dally(30ms);
  if (dice.OneIn(2)) dns.StopService();  // False when dnsmasq is just writing its pid file.
}

void TypeAt(Dice& dice) { (void)SimModem::Get().Type("AT+KW" + std::to_string(dice.Below(5))); }

// The threads of a host, at work until they are told to stop.
class BusyHost {
 public:
  explicit BusyHost(unsigned seed) {
    printf("seed %u\n", seed);
    SimModem::Get().SetConnectDelay(1ms);
    SimModem::Get().SetDisconnectDelay(1ms);
    SimModem::Get().SetAnswerLimit(5ms);
    for (void (*work)(Dice&) : {ComeAndGo, ComeAndGo, ComeAndGo, ComeAndGo, Publish, Call, RestartService, TypeAt}) {
      threads_.emplace_back([this, work, seed = seed++] {
        Dice dice(seed);
        while (!stop_) {
          work(dice);
          ++done_;
        }
      });
    }
  }

  unsigned Stop() {
    stop_ = true;
    for (auto& thread : threads_) thread.join();
    return done_;
  }

 private:
  std::atomic<bool> stop_{false};
  std::atomic<unsigned> done_{0};
  std::list<std::thread> threads_;
};

TEST(RacesTest, EverythingAtOnce) {
  kor::wwan::NetworkManager radio;
  kor::wwan::SmsManager sms;
  {
    DnsCtrlManager dns;
    AtManager at;
    dns.StartService();
  }
  const std::string rest = Footprint();
  BusyHost host(Setting("KWWAN_STORY_SEED", 8));
  std::this_thread::sleep_for(std::chrono::seconds(Setting("KWWAN_STORY_SECONDS", 3)));
  printf("%u pieces of work, ", host.Stop());
  printf("%ld events heard\n", g_heard.load());
  EXPECT_LT(0, g_heard);
  EXPECT_TRUE(SimModem::Get().WaitIdle(kLongEnough));
  (void)DataManager().Disconnect(0, IPFamily::kIpv4, true);
  EXPECT_TRUE(ComesTo(rest));  // What is made once was made before.
}

// A process may leave at any moment, however busy it is.
TEST(RacesTest, ExitWithEveryThreadBusy) {
  for (unsigned seed = 1; seed <= Setting("KWWAN_CYCLES", 3); ++seed) {
    const auto leave = [seed] {
      alarm(static_cast<unsigned>(kLongEnough.count()));  // Ends a process that does not.
      [[maybe_unused]] static BusyHost& host = *new BusyHost(seed);
      Dice dice(seed);
      dice.Dally(1s);
      exit(7);
    };
    EXPECT_EXIT(leave(), testing::ExitedWithCode(7), "") << "seed " << seed;
  }
}

}  // namespace
}  // namespace kor::test
