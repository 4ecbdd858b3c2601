// SPDX-License-Identifier: Apache-2.0
#include "wwan/network_manager.h"

#include <gtest/gtest.h>

#include <memory>

#include "common/vendor/nas_qmi_client.h"
#include "support/heard.h"
#include "support/scripted_vendor.h"

namespace kor::test {
namespace {

using kor::wwan::NetworkManager;

TEST(NetworkManagerTest, QueriesAreAnsweredLaterWithTheCallersData) {
  const auto answer = [](auto& record, void* count) {
    if (record.result == kor::Result::kSuccess) ++*static_cast<int*>(count);
  };
  auto network = std::make_unique<NetworkManager>();
  const auto ask = [&](auto callback, void* data) {
    return network->StartScanAsync(callback, data) + network->GetSignalInfoAsync(callback, data) +
           network->GetErrorRateAsync(callback, data) + network->GetCellLocationAsync(callback, data) +
           network->GetSystemInfoAsync(callback, data);
  };
  int answered = 0;
  NetworkManager::CellLocationInfo location;
  EXPECT_EQ(5, ask(answer, &answered));
  EXPECT_EQ(5, ask(nullptr, nullptr));  // Empty ones are handed on too.
  EXPECT_TRUE(network->GetCellLocation(location));
  EXPECT_EQ(3u, location.neighbours.size());
  const Calls all{"StartScanAsync", "GetSignalInfoAsync", "GetErrorRateAsync", "GetCellLocationAsync",
                  "GetSystemInfoAsync"};
  Calls asked = all;
  asked.insert(asked.end(), all.begin(), all.end());
  asked.push_back("GetCellLocation");
  EXPECT_EQ(asked, Vendor::Take());

  // What is refused is not answered; the rest is, even when the object is gone.
  Vendor::Set([](Answers& a) { a.ok = false; });
  EXPECT_EQ(0, ask(answer, &answered));
  EXPECT_FALSE(network->GetCellLocation(location));
  network.reset();
  EXPECT_EQ(0, answered);
  Vendor::AnswerQueries();
  EXPECT_EQ(5, answered);
}

TEST(NetworkManagerTest, EventsReachEachManagerUntilItUnsetsThemOrGoes) {
  ExpectEventsUntilUnset<NetworkManager, kor::vendor::qcom::qmi::NasQmiClient>();
}

}  // namespace
}  // namespace kor::test
