// SPDX-License-Identifier: Apache-2.0
// What the router tells beyond the public interface, to the subscribers of kor::wwan::DataManager: codes and
// parameters. Another router, as a maker's own, may have others, or none.
#pragma once

#include <cstdint>

#include "common/event_dic.h"

namespace kor::util {

// A call is down and will be connected by itself: kParamHandle, kParamIpFamily, kParamAttempt, kParamWaitMs.
constexpr uint32_t kEvtReconnect = 0x521;
constexpr uint32_t kEvtModemState = 0x522;  // The modem came or went: kParamModemState.

constexpr EventDic::Param kParamAttempt{0x61};     // From 1 on since the call was up last, a decimal number.
constexpr EventDic::Param kParamWaitMs{0x62};      // Until then: milliseconds, a decimal number.
constexpr EventDic::Param kParamModemState{0x63};  // "absent", "starting", "ready" or "gone".

}  // namespace kor::util
