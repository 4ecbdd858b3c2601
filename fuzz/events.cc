// SPDX-License-Identifier: Apache-2.0
// The parameters of events on their way through the wait of a connect or disconnect, against a model of it.
#include <fuzzer/FuzzedDataProvider.h>
#include <syslog.h>

#include <cstdint>
#include <string>

#include "require.h"
#include "support/scripted_vendor.h"
#include "wwan/data_manager.h"

namespace {

using kor::util::EventDic;
using kor::util::IPFamily;
using kor::wwan::DataManager;

constexpr int kHandle = 100;

// What the events so far amount to.
struct Model {
  bool for_connect;
  bool connected = false;
  bool listed = false;
  int result = -1;  // Not known yet.

  void Apply(const EventDic& ev, const std::string& handle, const std::string& family, const std::string& wanted) {
    const bool of_a_call = ev.event >= 0x200 && ev.event <= 0x203;
    if (result >= 0 || (of_a_call && (handle != std::to_string(kHandle) || family != wanted))) return;
    connected = connected || ev.event == 0x200;
    listed = listed || ev.event == 0x303;
    if (for_connect && connected && listed) result = 0;
    if (ev.event == (for_connect ? 0x201u : 0x203u)) result = 1;
    if (!for_connect && ev.event == 0x202) result = 0;
  }
};

// Zeros may stand before a number.
std::string Plain(const std::string& handle) {
  const size_t digits = handle.find_first_not_of('0');
  return digits == std::string::npos ? handle : handle.substr(digits);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  setlogmask(LOG_MASK(LOG_EMERG));
  kor::test::Vendor::Set([](auto& answers) { answers.policies = {kor::test::Policy(1, 1, kHandle)}; });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  constexpr uint32_t kCodes[] = {0x200, 0x201, 0x202, 0x203, 0x303, 0x103, 0x204};
  FuzzedDataProvider input(bytes, size);
  Model model{input.ConsumeBool()};
  const bool ipv4 = input.ConsumeBool();
  const std::string wanted = ipv4 ? "4" : "6";

  DataManager data;
  EventDic ev;
  const auto hear = [&](const std::string& handle, const std::string& family) {
    data.EventCb(ev);
    model.Apply(ev, Plain(handle), family, wanted);
  };
  while (input.remaining_bytes() > 0) {
    ev = {};
    ev.event = input.PickValueInArray(kCodes);
    const std::string handle = input.ConsumeBool() ? std::to_string(kHandle) : input.ConsumeRandomLengthString();
    const std::string family = input.ConsumeBool() ? wanted : input.ConsumeRandomLengthString(8);
    if (!handle.empty()) ev.params[EventDic::kParamHandle] = handle;
    if (!family.empty()) ev.params[EventDic::kParamIpFamily] = family;
    hear(handle, family);
  }
  // The last word, so that nothing is waited for.
  ev.event = model.for_connect ? 0x201 : 0x203;
  ev.params = {{EventDic::kParamHandle, std::to_string(kHandle)}, {EventDic::kParamIpFamily, wanted}};
  hear(std::to_string(kHandle), wanted);

  const auto result = data.WaitEvent(0, ipv4 ? IPFamily::kIpv4 : IPFamily::kIpv6, model.for_connect);
  kor::fuzz::Require(static_cast<int>(result) == model.result, "the wait ends as its model does");
  (void)kor::test::Vendor::Take();
  return 0;
}
