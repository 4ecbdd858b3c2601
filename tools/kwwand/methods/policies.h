// SPDX-License-Identifier: Apache-2.0
// Policies and their calls, read from the modem and as JSON. What cannot be read throws RequestError.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "kwwand/methods/params.h"
#include "kwwand/wire/method.h"

namespace kor::host {

using Statuses = std::vector<kor::wwan::DataManager::WwanStatus>;

Statuses ReadStatuses(kor::wwan::DataManager& data);

// The number in the member "index", which some policy has.
uint32_t PolicyIndex(const Params& params, size_t policies);

ConnectStatus StateOf(const kor::wwan::DataManager::WwanStatus& status, IPFamily family);

// The first policy whose call of the family has the profile.
std::optional<uint32_t> CarrierOf(const Statuses& statuses, int cid, IPFamily family);

// {"index","handle",...,"calls"}: one policy, with what the network has assigned to its calls.
Json PolicyJson(kor::wwan::DataManager& data, uint32_t index, const kor::wwan::DataManager::WwanStatus& status);
Json PoliciesJson(kor::wwan::DataManager& data);

}  // namespace kor::host
