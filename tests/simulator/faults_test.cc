// SPDX-License-Identifier: Apache-2.0
// What goes wrong on order, and the record of what was asked.
#include <stdexcept>
#include <string>
#include <vector>

#include "common/vendor/wds_qmi_client.h"
#include "simulator/bench.h"
#include "support/wait.h"

namespace kor::test {

using kor::vendor::qcom::qmi::WdsQmiClient;
using Record = std::vector<std::string>;

class FaultsTest : public BenchTest {};

TEST_F(FaultsTest, OperationsFailAsOftenAsOrdered) {
  // A refused connect leaves no trace but the record.
  modem.FailNext("ConnectBackhaul", 2, kor::Result{42});
  EXPECT_EQ(kor::Result{42}, qcmap->ConnectBackhaul(0, kIpv4));
  EXPECT_EQ(kor::Result{42}, qcmap->ConnectBackhaul(0, kIpv6));
  EXPECT_EQ("disconnected disconnected", States(0));
  EXPECT_EQ((Record{"ConnectBackhaul 0 4", "ConnectBackhaul 0 6", "GetWwanConnectStatus 0"}), modem.TakeRecord());
  BringUp(0, kIpv4);

  // Queries fail without touching what they fill; a configuration does not look valid.
  modem.FailNext("GetWwanConnectStatus", 1);
  modem.FailNext("GetNetworkConfig", 1, kNotReady);
  EXPECT_EQ("unknown", States(0));
  EXPECT_EQ("not-ready", Config(0, kIpv4));
  EXPECT_EQ("connected disconnected", States(0));

  // One call of several is chosen: the third from now.
  modem.FailNext("GetWwanPolicies", 1, kor::Result::kFailure, 2);
  std::vector<QcmapWrapper::WwanPolicy> policies;
  EXPECT_TRUE(qcmap->GetWwanPolicies(policies));
  EXPECT_TRUE(qcmap->GetWwanPolicies(policies));
  EXPECT_FALSE(qcmap->GetWwanPolicies(policies));
  EXPECT_TRUE(qcmap->GetWwanPolicies(policies));

  // An order can be taken back.
  modem.FailNext("GetWwanPolicy", 5);
  modem.FailNext("GetWwanPolicy", 0);
  QcmapWrapper::WwanPolicy policy;
  EXPECT_TRUE(qcmap->GetWwanPolicy(0, policy));
}

TEST_F(FaultsTest, ClientsCannotBeHad) {
  modem.TakeRecord();
  modem.FailNext("GetInstance", 2);
  EXPECT_THROW(QcmapWrapper::GetInstance(), std::runtime_error);
  EXPECT_THROW(WdsQmiClient::GetInstance(), std::runtime_error);
  modem.FailNext("WdsQmiClient.GetInstance", 1);
  EXPECT_EQ(qcmap, QcmapWrapper::GetInstance());
  EXPECT_THROW(WdsQmiClient::GetInstance(), std::runtime_error);
  EXPECT_EQ(WdsQmiClient::GetInstance(), WdsQmiClient::GetInstance());
  EXPECT_EQ((Record{"QcmapWrapper.GetInstance", "WdsQmiClient.GetInstance", "WdsQmiClient.GetInstance"}),
            modem.TakeRecord());
}

TEST_F(FaultsTest, AcceptedRequestsFail) {
  modem.FailConnects(1);
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv4));
  EXPECT_EQ("connect-failed 100 4", listener.Next());
  EXPECT_EQ("disconnected disconnected", States(0));
  EXPECT_EQ("failure", Config(0, kIpv4));

  // A disconnect that fails leaves the call as it was, up or coming up (and up meanwhile).
  BringUp(0, kIpv4);
  modem.FailDisconnects(2);
  EXPECT_EQ(kSuccess, qcmap->DisconnectBackhaul(0, kIpv4));
  EXPECT_EQ("disconnect-failed 100 4", listener.Next());
  EXPECT_EQ("connected disconnected", States(0));
  EXPECT_EQ("success 10.64.0.2 10.255.0.53 -", Config(0, kIpv4));
  modem.SetDisconnectDelay(Milliseconds(200));
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv6));
  EXPECT_EQ(kSuccess, qcmap->DisconnectBackhaul(0, kIpv6));
  EXPECT_EQ("connected 100 6", listener.Next());
  EXPECT_EQ("disconnect-failed 100 6", listener.Next());
  EXPECT_EQ("connected connected", States(0));
  ExpectQuiet();
}

TEST_F(FaultsTest, RequestsAreNeverAnswered) {
  // The call stays connecting; a later request gets it going.
  modem.IgnoreRequests(1);
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv4));
  ExpectQuiet();
  EXPECT_EQ("connecting disconnected", States(0));
  BringUp(0, kIpv4);

  // The call stays disconnecting, though up; the network ends it.
  modem.IgnoreRequests(1);
  EXPECT_EQ(kSuccess, qcmap->DisconnectBackhaul(0, kIpv4));
  ExpectQuiet();
  EXPECT_EQ("disconnecting disconnected", States(0));
  EXPECT_EQ("success 10.64.0.2 10.255.0.53 -", Config(0, kIpv4));
  EXPECT_TRUE(modem.Drop(100, kIpv4));
  EXPECT_EQ("disconnected 100 4", listener.Next());

  // One that hangs on its way up is ended by a disconnect.
  modem.IgnoreRequests(1);
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv4));
  EXPECT_EQ(kSuccess, qcmap->DisconnectBackhaul(0, kIpv4));
  EXPECT_EQ("connect-failed 100 4", listener.Next());
  EXPECT_EQ("disconnected 100 4", listener.Next());
}

TEST_F(FaultsTest, ReportsAreLost) {
  // The call is up, and nobody was told.
  modem.LoseReports(1);
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv4));
  ExpectQuiet();
  EXPECT_EQ("success 10.64.0.2 10.255.0.53 -", Config(0, kIpv4));
  EXPECT_EQ("connecting disconnected", States(0));

  // A disconnect puts it right.
  EXPECT_EQ(kSuccess, qcmap->DisconnectBackhaul(0, kIpv4));
  EXPECT_EQ("disconnected 100 4", listener.Next());
  EXPECT_EQ("disconnected disconnected", States(0));
}

TEST_F(FaultsTest, TheRecordHoldsTheLatestOperations) {
  qcmap->SetWwanPolicy(0, kor::wwan::Tech::kLte, kBoth, 3, -1);
  (void)qcmap->DisconnectBackhaul(4294967295, kIpv6);
  EXPECT_EQ((Record{"SetWwanPolicy 0 2 46 3 -1", "DisconnectBackhaul 4294967295 6"}), modem.TakeRecord());

  // Nobody takes it for long.
  for (uint32_t i = 0; i < 1001; ++i) States(i);
  const Record record = modem.TakeRecord();
  EXPECT_EQ(1000u, record.size());
  EXPECT_EQ("GetWwanConnectStatus 1", record.front());
  EXPECT_EQ(Record{}, modem.TakeRecord());
}

}  // namespace kor::test
