// SPDX-License-Identifier: Apache-2.0
// The SIM card: its PINs and its power, and what goes with it.
#include <string>

#include "common/vendor/dms_qmi_client.h"
#include "common/vendor/uim_qmi_client.h"
#include "simulator/bench.h"
#include "simulator/scenario.h"
#include "support/secrets.h"
#include "support/wait.h"
#include "wwan/device_manager.h"

namespace kor::test {

using kor::modem::RunScenarioLine;
using kor::vendor::qcom::qmi::DmsQmiClient;
using kor::vendor::qcom::qmi::UimQmiClient;
using Device = kor::wwan::DeviceManager;

class SimCardTest : public BenchTest {
 protected:
  SimCardTest() { EXPECT_TRUE(modem.EnterPuk(1, kPuk, kOtherPin)); }

  std::string Typed() { return modem.Type("AT+CMEE=1;+CPIN?"); }

  DmsQmiClient* const dms = DmsQmiClient::GetInstance();
  UimQmiClient* const uim = UimQmiClient::GetInstance();
};

TEST_F(SimCardTest, ThreeWrongPinsWantThePukAndTenWrongPuksLoseTheCard) {
  EXPECT_EQ(Device::kPinDisabled, dms->GetPinStatus());
  EXPECT_EQ(kor::Result::kPreconditionFailed, dms->ChangePinLockPwd(1, kOtherPin, kPin));
  EXPECT_EQ(kSuccess, dms->SetPinLock(1, true, kOtherPin));
  EXPECT_EQ(kSuccess, dms->ChangePinLockPwd(1, kOtherPin, kPin));
  EXPECT_EQ(Device::kPinVerified, dms->GetPinStatus());

  // A right PIN gives all tries back; what is no PIN costs none.
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(Device::kPinIncorrect, dms->SetPinLock(1, false, kOtherPin));
    EXPECT_EQ(Device::kPinIncorrect, dms->ChangePinLockPwd(1, kOtherPin, kWrongPin));
    EXPECT_EQ(kSuccess, dms->SetPinLock(1, true, kPin));
  }
  for (const char* bad : {"123", "123456789", "12a4", ""}) EXPECT_EQ(kFailure, dms->SetPinLock(1, true, bad)) << bad;
  EXPECT_EQ(kFailure, dms->ChangePinLockPwd(1, kPin, "+123"));
  EXPECT_EQ(kFailure, dms->SetPinLock(3, true, kOtherPin));

  // The third wrong one blocks, also for the right one; PIN2 has tries of its own.
  (void)dms->SetPinLock(1, false, kWrongPin);
  (void)dms->SetPinLock(1, false, kWrongPin);
  EXPECT_EQ(Device::kPinBlocked, dms->SetPinLock(1, false, kWrongPin));
  EXPECT_EQ(Device::kPinBlocked, dms->SetPinLock(1, false, kPin));
  EXPECT_EQ(Device::kPinBlocked, dms->GetPinStatus());
  EXPECT_EQ("+CPIN: SIM PUK\nOK", Typed());
  EXPECT_EQ(kSuccess, dms->SetPinLock(2, true, "1234"));

  EXPECT_FALSE(modem.EnterPuk(1, "87654321", kOtherPin));
  EXPECT_TRUE(RunScenarioLine(modem, std::string("puk 1 ") + kPuk + " " + kOtherPin).ok);
  EXPECT_EQ(Device::kPinVerified, dms->GetPinStatus());
  for (int i = 0; i < 10; ++i) EXPECT_FALSE(modem.EnterPuk(1, "00000000", kOtherPin));
  EXPECT_FALSE(modem.EnterPuk(1, kPuk, kOtherPin));
  EXPECT_EQ(Device::kPinPermanentlyBlocked, dms->GetPinStatus());
  EXPECT_EQ("+CME ERROR: 13", Typed());
  EXPECT_EQ(Device::kPinPermanentlyBlocked, dms->SetPinLock(1, false, kOtherPin));
}

TEST_F(SimCardTest, CallsGoWithTheCardAndWaitForItsPin) {
  EXPECT_EQ(kSuccess, dms->SetPinLock(1, true, kOtherPin));
  EXPECT_EQ("+CPIN: READY\nOK", Typed());
  BringUp(0, kIpv4);
  modem.IgnoreRequests(1);  // It hangs.
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv6));

  // Power off: what is up goes down, what is coming up fails, and nothing new is taken until the PIN is given.
  EXPECT_EQ(kFailure, uim->TurnOffPower(2));
  EXPECT_EQ(kSuccess, uim->TurnOffPower(1));
  EXPECT_EQ("disconnected 100 4", listener.Next());
  EXPECT_EQ("connect-failed 100 6", listener.Next());
  EXPECT_EQ(Device::kSimNotReady, dms->SetPinLock(1, true, kOtherPin));
  EXPECT_EQ("+CME ERROR: 10", Typed());
  EXPECT_EQ(kSuccess, uim->TurnOnPower(1));
  EXPECT_EQ(Device::kSimNotReady, dms->GetPinStatus());
  EXPECT_TRUE(modem.WaitIdle(kLongEnough));
  EXPECT_EQ(Device::kPinNotVerified, dms->GetPinStatus());
  EXPECT_EQ("+CPIN: SIM PIN\nOK", Typed());
  EXPECT_EQ(kFailure, qcmap->ConnectBackhaul(0, kIpv4));
  EXPECT_EQ(kSuccess, dms->SetPinLock(1, false, kOtherPin));
  BringUp(0, kIpv4);

  // The card is pulled out; power does not bring it back. A slow one takes its time.
  EXPECT_TRUE(RunScenarioLine(modem, "sim off").ok);
  EXPECT_EQ("disconnected 100 4", listener.Next());
  EXPECT_EQ(kSuccess, uim->TurnOffPower(1));
  EXPECT_EQ(kSuccess, uim->TurnOnPower(1));
  EXPECT_TRUE(modem.WaitIdle(kLongEnough));
  EXPECT_EQ("+CME ERROR: 10", Typed());
  EXPECT_EQ(Device::kSimNotReady, dms->GetPinStatus());
  modem.SetSimDelay(std::chrono::hours(1));
  modem.SetSimPresent(true);
  EXPECT_EQ(Device::kSimNotReady, dms->GetPinStatus());
  EXPECT_EQ("+CME ERROR: 14", Typed());
  EXPECT_EQ(kFailure, qcmap->ConnectBackhaul(0, kIpv4));
}

}  // namespace kor::test
