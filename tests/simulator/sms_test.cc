// SPDX-License-Identifier: Apache-2.0
// Short messages: their routes, their storages, their events.
#include <list>
#include <string>
#include <utility>

#include "common/modem_events.h"
#include "common/vendor/wms_qmi_client.h"
#include "simulator/bench.h"
#include "simulator/scenario.h"
#include "support/wait.h"

namespace kor::test {

using kor::modem::RunScenarioLine;
using kor::util::EventDic;
using kor::vendor::qcom::qmi::WmsQmiClient;
using kor::wwan::SmsManager;
using Class = SmsManager::MessageClass;
using Storage = SmsManager::MessageStorage;
using Action = SmsManager::ReceiptAction;
using Routes = std::list<SmsManager::RouteInfo>;

class SmsTest : public BenchTest {
 protected:
  SmsTest() {
    wms->event_cbs.Add(this, [this](EventDic& ev) {
      kor::util::MutexLock lock(mutex);
      heard += std::to_string(ev.event - kor::util::kEvtSmsStored);
      for (const auto& param : ev.params) heard += " " + param.second;
      heard += "; ";
    });
  }
  ~SmsTest() override { wms->event_cbs.Remove(this); }

  // "EVENT SENDER PARAMETER...; " of each event since the last time; the event as its distance from kEvtSmsStored.
  std::string Heard() {
    EXPECT_TRUE(modem.WaitIdle(kLongEnough));
    kor::util::MutexLock lock(mutex);
    return std::exchange(heard, "");
  }

  // "CLASS:STORAGE:ACTION ..."
  std::string RouteTexts() {
    Routes routes(1);
    EXPECT_EQ(kSuccess, wms->GetRouteList(routes));
    std::string text;
    for (const auto& route : routes) {
      text += std::to_string(static_cast<int>(route.message_class)) + ":" +
              std::to_string(static_cast<int>(route.storage)) + ":" + std::to_string(static_cast<int>(route.action)) +
              " ";
    }
    return text;
  }

  WmsQmiClient* const wms = WmsQmiClient::GetInstance();
  kor::util::Mutex mutex;
  std::string heard KOR_GUARDED_BY(mutex);
};

TEST_F(SmsTest, MessagesGoTheWayOfTheirClass) {
  EXPECT_TRUE(modem.ReceiveSms(Class::kClass0, "+491", "flash"));
  EXPECT_TRUE(modem.ReceiveSms(Class::kNone, "+492", "kept"));
  EXPECT_TRUE(RunScenarioLine(modem, "sms none +493 \"kept too\"").ok);
  EXPECT_TRUE(modem.ReceiveSms(Class::kClass2, "+494", "on the card"));
  EXPECT_FALSE(modem.ReceiveSms(Class::kCdma, "+495", ""));
  EXPECT_EQ("1 +491 flash; 0 +492 1 0; 0 +493 1 1; 0 +494 0 0; ", Heard());

  // Routes change together or not at all; classes that are not named keep theirs.
  const std::string before = RouteTexts();
  EXPECT_EQ("0:255:3 1:1:1 2:0:1 3:255:3 4:1:1 ", before);
  for (const SmsManager::RouteInfo& bad : {SmsManager::RouteInfo{Class::kNone, Storage::kNone, Action::kStoreAndNotify},
                                           {Class::kCdma, Storage::kDevice, Action::kStoreAndNotify},
                                           {Class::kNone, Storage{2}, Action::kTransferOnly},
                                           {Class::kNone, Storage::kSim, Action::kUnknown}}) {
    Routes routes{{Class::kClass0, Storage::kNone, Action::kDiscard}, bad};
    EXPECT_EQ(kFailure, wms->SetRouteList(routes));
  }
  EXPECT_EQ(before, RouteTexts());
  Routes routes{{Class::kClass0, Storage::kNone, Action::kDiscard},
                {Class::kNone, Storage::kSim, Action::kStoreAndNotify}};
  EXPECT_EQ(kSuccess, wms->SetRouteList(routes));
  EXPECT_EQ("0:255:0 1:1:1 2:0:1 3:255:3 4:0:1 ", RouteTexts());

  // A full storage loses the message and says so, until it is cleared.
  modem.SetSmsCapacity(Storage::kSim, 2);
  EXPECT_TRUE(modem.ReceiveSms(Class::kClass0, "+496", "discarded"));
  EXPECT_TRUE(modem.ReceiveSms(Class::kNone, "+497", "the last"));
  EXPECT_TRUE(modem.ReceiveSms(Class::kNone, "+498", "too many"));
  modem.ClearSms();
  EXPECT_TRUE(modem.ReceiveSms(Class::kNone, "+499", "fits"));
  EXPECT_EQ("0 +497 0 1; 2 +498 0; 0 +499 0 0; ", Heard());
  EXPECT_EQ(kSuccess, wms->ModifyTagAsync());
  EXPECT_EQ("3; ", Heard());

  // One that the host is to acknowledge is, once it was heard; else it comes again when the modem is back.
  routes = {{Class::kClass0, Storage::kNone, Action::kTransferOnly}};
  EXPECT_EQ(kSuccess, wms->SetRouteList(routes));
  modem.FailNext("AcknowledgeSms", 1);
  EXPECT_TRUE(modem.ReceiveSms(Class::kClass0, "+49", "a") && modem.ReceiveSms(Class::kClass0, "+49", "b"));
  EXPECT_EQ("1 +49 a 1; 1 +49 b 2; ", Heard());
  for (const char* again : {"1 +49 a 1; ", ""}) {
    EXPECT_TRUE(modem.Leave());
    modem.Return(Milliseconds(0));
    EXPECT_EQ(again, Heard());
  }

  // No service, no message.
  modem.SetSimPresent(false);
  EXPECT_FALSE(modem.ReceiveSms(Class::kNone, "+490", "lost"));
}

}  // namespace kor::test
