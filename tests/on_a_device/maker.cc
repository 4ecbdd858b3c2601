// SPDX-License-Identifier: Apache-2.0
// A device maker's modem side in little: one policy whose IPv4 call comes up with an interface of its own.
#include <cstdlib>
#include <thread>

#include "support/scripted_vendor.h"

namespace kor::test {
namespace {

constexpr char kUp[] =
    "ip link add rmnet_data0 type veth peer name maker0 && ip link set maker0 up && ip link set rmnet_data0 up && "
    "ip address add 10.77.0.2/30 dev rmnet_data0";

// The configuration answers, then the interface is there, then the call is up.
void BringUp() {
  Vendor::Set([](Answers& a) { a.configs[{0, IPFamily::kIpv4}] = {IPFamily::kIpv4, "10.77.0.2", "10.77.0.53", ""}; });
  if (system(kUp) != 0) return;
  Vendor::Set([](Answers& a) {
    a.states[0] = {DataManager::ConnectStatus::kConnected, DataManager::ConnectStatus::kDisconnected};
  });
  Vendor::Publish(kor::util::kEvtWwanConnected, "100", "4");
}

// What is asked of it comes true on a thread of its own, as the header of the clients wants it.
const bool s_scripted = [] {
  Vendor::Set([](Answers& a) {
    a.policies = {Policy(1, 1, 100)};
    a.auto_connects = false;  // It is for the test to ask.
    a.on_request = [] { std::thread(BringUp).detach(); };
  });
  return true;
}();

}  // namespace
}  // namespace kor::test
