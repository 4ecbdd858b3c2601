// SPDX-License-Identifier: Apache-2.0
// The radio: answers that come later, figures that move, registration that comes and goes.
#include <pthread.h>

#include <algorithm>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "common/modem_events.h"
#include "common/vendor/nas_qmi_client.h"
#include "simulator/bench.h"
#include "simulator/scenario.h"
#include "support/wait.h"

namespace kor::test {

using kor::modem::RunScenarioLine;
using kor::modem::Technology;
using kor::vendor::qcom::qmi::NasQmiClient;
using Network = kor::wwan::NetworkManager;
using Registration = Network::Registration;

class RadioTest : public BenchTest {
 protected:
  RadioTest() {
    nas->event_cbs.Add(this, [this](kor::util::EventDic& ev) {
      kor::util::MutexLock lock(mutex);
      heard += "RTS"[ev.event - kor::util::kEvtRegistrationChanged];
    });
  }
  ~RadioTest() override { nas->event_cbs.Remove(this); }

  // One letter for each event since the last time: registration, technology, signal.
  std::string Heard() {
    EXPECT_TRUE(modem.WaitIdle(kLongEnough));
    kor::util::MutexLock lock(mutex);
    return std::exchange(heard, "");
  }

  // The answer to one query.
  template <typename Record>
  Record Ask(bool (NasQmiClient::*query)(std::function<void(Record&, void*)>, void*)) {
    const auto promise = std::make_shared<std::promise<Record>>();
    const auto put = [this, promise](Record& record, void* user_data) {
      EXPECT_EQ(this, user_data);
      promise->set_value(record);
    };
    return (nas->*query)(put, this) ? promise->get_future().get() : Record();
  }

  Network::SignalInfo Signal() { return Ask(&NasQmiClient::GetSignalInfoAsync); }
  Network::SystemInfo System() { return Ask(&NasQmiClient::GetSystemInfoAsync); }

  // "MCC-MNC/RADIO" of the networks in a scan that have this status.
  std::string Scan(Network::NetworkStatus status) {
    std::string text;
    for (const auto& entry : Ask(&NasQmiClient::StartScanAsync).networks) {
      if (entry.status != status) continue;
      text += entry.mcc + "-" + entry.mnc + "/" + std::to_string(static_cast<uint32_t>(entry.radio)) + " ";
    }
    return text;
  }

  NasQmiClient* const nas = NasQmiClient::GetInstance();
  kor::util::Mutex mutex;
  std::string heard KOR_GUARDED_BY(mutex);
};

TEST_F(RadioTest, FiguresFollowTheSignalAndTheTechnology) {
  // From the best LTE there is to the edge of the cell.
  modem.MoveSignal(100, Milliseconds(0));
  EXPECT_EQ("S", Heard());
  const auto best = Signal();
  ASSERT_TRUE(best.lte && !best.nr5g && !best.gsm);
  EXPECT_EQ(-70, best.lte->rsrp);
  EXPECT_EQ(0, *Ask(&NasQmiClient::GetErrorRateAsync).lte_bler);
  modem.MoveSignal(10, std::chrono::hours(1));
  modem.MoveSignal(100, Milliseconds(0));
  EXPECT_TRUE(RunScenarioLine(modem, "signal 0 100").ok);
  int last = 0;
  // All figures are plausible on the way, and none gets better.
  for (int rsrp = best.lte->rsrp; rsrp != -124; last = rsrp) {
    const auto now = Signal();
    rsrp = now.lte->rsrp;
    EXPECT_LE(rsrp, last);
    EXPECT_GT(now.lte->rssi, rsrp);
    EXPECT_TRUE(now.lte->rsrq <= -6 && now.lte->rsrq >= -19 && now.lte->snr >= -60) << rsrp;
  }
  EXPECT_EQ(5000, *Ask(&NasQmiClient::GetErrorRateAsync).lte_bler);

  // Each technology has its own figures, and one serving cell with neighbours that are weaker.
  using Radio = Network::RadioInterface;
  const std::pair<std::string, Radio> kRows[] = {
      {"gsm", Radio::kGsm}, {"umts", Radio::kUmts}, {"lte+nr5g", Radio::kLte}, {"nr5g", Radio::kNr5g}};
  for (const auto& [word, radio] : kRows) {
    EXPECT_TRUE(RunScenarioLine(modem, "technology " + word).ok);
    const auto system = System();
    EXPECT_EQ(radio, system.radio) << word;
    EXPECT_TRUE(system.packet_switched && system.circuit_switched == (radio < Radio::kLte)) << word;
    Network::CellLocationInfo cells;
    ASSERT_TRUE(nas->GetCellLocation(cells));
    EXPECT_EQ(system.cell_id, cells.serving->cell_id);
    EXPECT_EQ(system.area_code, cells.serving->area_code);
    ASSERT_GE(cells.neighbours.size(), 2u);
    for (const auto& cell : cells.neighbours) EXPECT_LT(*cell.rsrp, *cells.serving->rsrp) << word;
    EXPECT_EQ(word.find("nr5g") != std::string::npos, Signal().nr5g.has_value()) << word;
  }
}

TEST_F(RadioTest, TerminalsAreToldTheSame) {
  const std::pair<std::string, std::string> kRows[] = {
      {"signal 0 0", R"(+CSQ: 9,99 +CREG: 0,1 +COPS: 0,0,"Home Mobile",7 OK)"},
      {"technology gsm", R"(+CSQ: 0,7 +CREG: 0,1 +COPS: 0,0,"Home Mobile",0 OK)"},
      {"signal 100 0", R"(+CSQ: 31,0 +CREG: 0,1 +COPS: 0,0,"Home Mobile",0 OK)"},
      {"technology umts", R"(+CSQ: 31,99 +CREG: 0,1 +COPS: 0,0,"Home Mobile",2 OK)"},
      {"technology lte+nr5g", R"(+CSQ: 31,99 +CREG: 0,1 +COPS: 0,0,"Home Mobile",13 OK)"},
      {"roaming on", R"(+CSQ: 31,99 +CREG: 0,5 +COPS: 0,0,"Visited Mobile",13 OK)"},
      {"technology nr5g", R"(+CSQ: 99,99 +CREG: 0,5 +COPS: 0,0,"Visited Mobile",11 OK)"},
      {"registration denied", "+CSQ: 99,99 +CREG: 0,3 +COPS: 0 OK"},
      {"registration registered", R"(+CSQ: 99,99 +CREG: 0,5 +COPS: 0,0,"Visited Mobile",11 OK)"},
      {"technology none", "+CSQ: 99,99 +CREG: 0,2 +COPS: 0 OK"},
  };
  for (const auto& [line, told] : kRows) {
    EXPECT_TRUE(RunScenarioLine(modem, line).ok) << line;
    std::string typed = modem.Type("AT+CSQ;+CREG?;+COPS?");
    std::replace(typed.begin(), typed.end(), '\n', ' ');
    EXPECT_EQ(told, typed) << line;
  }
}

TEST_F(RadioTest, AScanTellsWhereTheModemIsAndServiceComesAndGoes) {
  modem.SetScanDelay(Milliseconds(0));
  EXPECT_EQ("001-01/8 ", Scan(Network::NetworkStatus::kCurrent));
  EXPECT_EQ("999-70/12 ", Scan(Network::NetworkStatus::kForbidden));
  modem.SetRoaming(true);
  EXPECT_EQ("R", Heard());
  EXPECT_EQ("001-02/8 ", Scan(Network::NetworkStatus::kCurrent));
  EXPECT_TRUE(System().roaming);
  modem.SetRoaming(false);
  BringUp(0, kIpv4);
  Heard();

  // Denied: calls go down, nothing is said of a cell, and the scan tells why.
  EXPECT_TRUE(RunScenarioLine(modem, "registration denied").ok);
  EXPECT_EQ("disconnected 100 4", listener.Next());
  EXPECT_EQ(kFailure, qcmap->ConnectBackhaul(0, kIpv4));
  EXPECT_EQ("R", Heard());
  const auto denied = System();
  EXPECT_EQ(Registration::kDenied, denied.registration);
  EXPECT_TRUE(denied.result == kSuccess && denied.mcc.empty() && !denied.packet_switched);
  EXPECT_EQ("", Scan(Network::NetworkStatus::kCurrent));
  EXPECT_EQ(0u, Scan(Network::NetworkStatus::kForbidden).find("001-01/4 "));
  EXPECT_FALSE(Signal().lte || Ask(&NasQmiClient::GetCellLocationAsync).serving);

  // No technology is no network to be registered with; no card is nobody to be registered.
  modem.SetRegistration(Registration::kRegistered);
  modem.SetTechnology(Technology::kNone);
  EXPECT_EQ("RRT", Heard());
  modem.SetSimPresent(false);
  EXPECT_EQ(Registration::kNotRegistered, System().registration);
}

TEST_F(RadioTest, QueriesFailOrAreForgottenOnDemand) {
  // Never from inside the request, always on the modem's thread, with no lock held: a callback may ask again.
  std::promise<std::string> promise;
  bool taken = false;
  const auto again = [&](Network::SystemInfo& info, void*) {
    char name[16] = "";
    pthread_getname_np(pthread_self(), name, sizeof(name));
    promise.set_value(std::string(name) + (taken ? " later" : " inside") + " " + info.mnc);
  };
  modem.SetAnswerDelay(Milliseconds(0));
  const auto ask = [&](Network::SignalInfo&, void*) {
    EXPECT_TRUE(nas->GetSystemInfoAsync(again, nullptr));
    taken = true;
  };
  EXPECT_TRUE(nas->GetSignalInfoAsync(ask, nullptr));
  EXPECT_EQ("kwwan-modem later 01", promise.get_future().get());

  // Taken and failed: one call that says so.
  EXPECT_TRUE(RunScenarioLine(modem, "fail-answers 2").ok);
  modem.SetScanDelay(Milliseconds(0));
  EXPECT_EQ(kFailure, Ask(&NasQmiClient::StartScanAsync).result);
  Network::CellLocationInfo cells;
  EXPECT_FALSE(nas->GetCellLocation(cells));
  EXPECT_TRUE(nas->GetCellLocation(cells));

  // Nobody to call, and one that throws: the modem goes on.
  EXPECT_TRUE(nas->GetErrorRateAsync(nullptr, nullptr));
  EXPECT_TRUE(nas->GetErrorRateAsync([](auto&, void*) { throw std::runtime_error("no"); }, nullptr));
  EXPECT_EQ(kSuccess, Signal().result);
}

}  // namespace kor::test
