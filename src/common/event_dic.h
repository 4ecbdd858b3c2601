// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "common/export.h"

namespace kor::util {

// Event codes that this library gives meaning to. Every other code reaches subscribers unchanged.
constexpr uint32_t kEvtNetIface = 0x103;              // A link or an address changed: kParamIfaceName.
constexpr uint32_t kEvtWwanConnected = 0x200;         // Data call up: kParamHandle, kParamIpFamily.
constexpr uint32_t kEvtWwanConnectFailed = 0x201;     // Data call could not be brought up: same parameters.
constexpr uint32_t kEvtWwanDisconnected = 0x202;      // Data call down, on request or by the network: same.
constexpr uint32_t kEvtWwanDisconnectFailed = 0x203;  // Data call could not be taken down: same parameters.
constexpr uint32_t kEvtAtCommand = 0x301;             // AT command forwarded; data: wwan::AtManager::Command*.
constexpr uint32_t kEvtDnsUpdated = 0x303;            // The forwarder's server list was written; no parameters.

// One event as a publisher hands it to its subscribers, on the publisher's thread.
//
// A plain value without locks. Copying copies the code, the parameters and the `data` pointer; what `data` points to
// belongs to the publisher and is gone once the callback has returned, so a copy that is kept must not follow it.
struct KOR_EXPORT EventDic {
  enum Param : uint32_t {
    kParamIfaceName = 10,  // Network interface name, such as "rmnet_data0".
    kParamIpFamily = 12,   // IP version of the call: "4" or "6".
    kParamHandle = 13,     // The call's handle as a decimal integer: DataManager::WwanPolicy::handle.
  };

  // The text of a parameter; empty when the event does not carry it.
  std::string GetParam(Param key);

  uint32_t event = 0;
  std::map<Param, std::string> params;
  void* data = nullptr;
};

}  // namespace kor::util
