// SPDX-License-Identifier: Apache-2.0
#include "wwan/network_manager.h"

#include <gtest/gtest.h>

#include "common/vendor/nas_qmi_client.h"
#include "support/heard.h"

namespace kor::test {
namespace {

using kor::wwan::NetworkManager;

TEST(NetworkManagerTest, EventsReachEachManagerUntilItUnsetsThemOrGoes) {
  ExpectEventsUntilUnset<NetworkManager, kor::vendor::qcom::qmi::NasQmiClient>();
}

}  // namespace
}  // namespace kor::test
