// SPDX-License-Identifier: Apache-2.0
// What goes wrong on order, and the record of what was asked.
#include "simulator/faults.h"

#include <sstream>
#include <string>
#include <vector>

#include "simulator/bench.h"
#include "simulator/recording_port.h"
#include "support/deaf_port.h"
#include "support/secrets.h"
#include "support/wait.h"

namespace kor::test {

using kor::modem::Faults;
using kor::modem::RecordingPort;
using Record = std::vector<std::string>;

// A recorder in front of a modem that does nothing, with 50 ms for a round trip.
class RecordingPortTest : public testing::Test {
 protected:
  // Asks for everything that there is.
  kor::Result AskAll() {
    std::list<kor::wwan::SmsManager::RouteInfo> routes{{}, {kor::wwan::SmsManager::MessageClass::kClass2}};
    std::list<kor::modem::RunningCall> calls;
    std::list<kor::wwan::DataManager::ProfileInfo> profiles;
    kor::modem::CallConfig config;
    kor::wwan::DataManager::ProfileSetting setting;
    kor::modem::PinStatus pin;
    std::string model;
    const kor::Result results[] = {
        port.GetModelId(model),
        port.SetSoftwareReady(),
        port.StartCall({100, kIpv4, 1, 7}),
        port.StopCall(100, kIpv6, 8),
        port.GetCalls(calls),
        port.GetCallConfig(101, kIpv6, config),
        port.GetProfile(kor::wwan::DataManager::ProfileType::k3gpp, 3, setting),
        port.GetProfiles(profiles),
        port.RegisterAtNames({"+A", "b\nname", "", std::string(65536, 'A')}),
        port.AnswerAtCommand({}, true, "text\n"),
        port.ShowAtText("news"),
        port.SetPinLock(1, true, kPin),
        port.ChangePin(2, kPin, kOtherPin),
        port.VerifyPin(1, kPin),
        port.UnblockPin(1, kPuk, kOtherPin),
        port.GetPinStatus(1, 2, pin),
        port.SetSimPower(1, false),
        port.GetSmsRoutes(routes),
        port.SetSmsRoutes(routes),
        port.ModifySmsTags(),
        port.AcknowledgeSms(9),
        port.StartScan(nullptr),
        port.GetSignalInfo(nullptr),
        port.GetErrorRate(nullptr),
        port.GetCellLocation(nullptr),
        port.GetSystemInfo(nullptr),
    };
    for (const kor::Result result : results) EXPECT_EQ(results[0], result) << &result - results;
    return results[0];
  }

  DeafPort modem;
  Faults faults;
  RecordingPort port{modem, faults, Milliseconds(50)};
};

TEST_F(RecordingPortTest, EveryOperationIsRecordedWithoutSecretsAndFailsByItsName) {
  // Nothing is written down unasked; then all of it, in the order of the list of names.
  EXPECT_EQ(kor::Result::kNotSupported, AskAll());
  EXPECT_EQ(Record{}, faults.TakeRecord());
  faults.SetRecording(true);
  AskAll();
  const Record record = faults.TakeRecord();
  std::string names, all;
  for (const std::string& operation : record) {
    names += (names.empty() ? "" : " ") + operation.substr(0, operation.find(' '));
    all += operation + "\n";
  }
  EXPECT_EQ(kor::modem::kOperationNames, names);
  EXPECT_EQ((Record{"GetModelId", "SetSoftwareReady", "StartCall 100 4 1", "StopCall 100 6", "GetCalls"}),
            Record(record.begin(), record.begin() + 5));
  EXPECT_EQ(0u, record[8].find("RegisterAtNames +A b.name  AAAA"));
  EXPECT_LT(record[8].size(), 600u);
  EXPECT_NE(std::string::npos, all.find("\nSetPinLock 1 1\nChangePin 2\nVerifyPin 1\nUnblockPin 1\n")) << all;
  EXPECT_NE(std::string::npos, all.find("\nSetSmsRoutes 4:255:3 2:255:3\n")) << all;

  // Each of them fails, and no other.
  std::istringstream words(names);
  for (std::string name; words >> name;) EXPECT_TRUE(faults.FailNext(name, 1, kor::Result{42}, 0));
  EXPECT_EQ(kor::Result{42}, AskAll());
  EXPECT_EQ(kor::Result::kNotSupported, AskAll());
  for (const char* no_name : {"", "Get", "GetCalls GetCallConfig", "ConnectBackhaul"}) {
    EXPECT_FALSE(faults.FailNext(no_name, 1, kor::Result{42}, 0)) << no_name;
  }

  // One of several is chosen, the third from now; an order can be taken back; nobody takes the record for long.
  std::string model;
  faults.FailNext("GetModelId", 1, kor::Result{43}, 2);
  for (const int result : {16, 16, 43, 16}) EXPECT_EQ(kor::Result{result}, port.GetModelId(model));
  faults.FailNext("GetModelId", 5, kor::Result{43}, 0);
  faults.FailNext("GetModelId", 0, kor::Result{43}, 0);
  for (int i = 0; i < 1001; ++i) EXPECT_EQ(kor::Result::kNotSupported, port.GetModelId(model));
  EXPECT_EQ(1000u, faults.TakeRecord().size());
  EXPECT_EQ(Record{}, faults.TakeRecord());
}

TEST_F(RecordingPortTest, ARoundTripTakesItsTime) {
  const auto timed = [](const auto& ask) {
    const auto start = std::chrono::steady_clock::now();
    const kor::Result result = ask();
    return std::make_pair(result, std::chrono::steady_clock::now() - start);
  };
  std::list<kor::modem::RunningCall> calls;
  const auto ask = [&] { return port.GetCalls(calls); };
  faults.SetDelay(Milliseconds(20));
  const auto slow = timed(ask);
  EXPECT_EQ(kor::Result::kNotSupported, slow.first);
  EXPECT_GE(slow.second, Milliseconds(20));
  EXPECT_TRUE(faults.SetDelay("GetCalls", std::chrono::hours(1)));
  EXPECT_FALSE(faults.SetDelay("GetNothing", std::chrono::hours(1)));
  const auto silent = timed(ask);
  EXPECT_EQ(kor::Result::kTimeout, silent.first);
  EXPECT_GE(silent.second, Milliseconds(50));

  // A request that is handed over waits for nothing.
  RecordingPort patient(modem, faults, kLongEnough);
  faults.SetDelay(std::chrono::hours(1));
  EXPECT_LT(timed([&] { return patient.StopCall(100, kIpv4, 1); }).second, kLongEnough);
}

}  // namespace kor::test
