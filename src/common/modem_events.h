// SPDX-License-Identifier: Apache-2.0
// What the modem's own events are: codes and parameters of the radio, of short messages, and of a call's end. A
// subscriber of kor::wwan's managers reads them; other modems of a maker's own may have others.
#pragma once

#include <cstdint>

#include "common/event_dic.h"

namespace kor::util {

// NetworkManager's, without parameters (ask for the rest).
constexpr uint32_t kEvtRegistrationChanged = 0x501;  // Registered or not, at home or roaming.
constexpr uint32_t kEvtTechnologyChanged = 0x502;
constexpr uint32_t kEvtSignalChanged = 0x503;

// SmsManager's.
constexpr uint32_t kEvtSmsStored = 0x511;       // kParamSmsSender, kParamSmsStorage, kParamSmsIndex.
constexpr uint32_t kEvtSmsReceived = 0x512;     // Not stored: kParamSmsSender, kParamSmsText.
constexpr uint32_t kEvtSmsStorageFull = 0x513;  // And the message lost: kParamSmsSender, kParamSmsStorage.
constexpr uint32_t kEvtSmsTagsModified = 0x514;

constexpr EventDic::Param kParamSmsSender{0x51};
constexpr EventDic::Param kParamSmsText{0x52};
constexpr EventDic::Param kParamSmsStorage{0x53};  // SmsManager::MessageStorage, as a decimal number.
constexpr EventDic::Param kParamSmsIndex{0x54};    // Its place there, from 0 on.
constexpr EventDic::Param kParamSmsAck{0x55};      // The number by which the client acknowledges it to the network.

// Why a call ended or a request of it failed, with kEvtWwan... events; not there when the network gave no reason.
constexpr EventDic::Param kParamCallEndCode{0x41};  // Session management cause of 3GPP TS 24.008, as a decimal number.
constexpr EventDic::Param kParamCallEndText{0x42};

}  // namespace kor::util
