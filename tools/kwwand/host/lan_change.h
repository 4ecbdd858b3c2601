// SPDX-License-Identifier: Apache-2.0
// A change of the LAN, checked as a whole before anything is written: pure.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "kwwand/wire/method.h"
#include "wwan/mobileap_manager.h"

namespace kor::host {

using LanConfig = kor::wwan::MobileapManager::LanConfig;

// As the methods' answers have it.
Json LanJson(const LanConfig& lan);

// What is to become different.
struct LanChange {
  std::optional<std::string> gateway;
  std::optional<std::string> netmask;
  std::optional<bool> dhcp;
  std::optional<std::string> start;
  std::optional<std::string> end;
  std::optional<int32_t> lease_s;
  bool move_pool = false;  // The pool goes along into the gateway's subnet, with the same host parts.
};

// `current` with the change. Throws RequestError(kInvalidParams) with the reason when the outcome is invalid: no
// address or netmask, a gateway that no host can have, a pool (with the DHCP server on) that does not lie in
// the gateway's subnet, starts above its end or holds the gateway's address.
LanConfig Changed(const LanConfig& current, const LanChange& change);

}  // namespace kor::host
