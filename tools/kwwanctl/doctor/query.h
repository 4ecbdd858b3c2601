// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "kwwanctl/doctor/facts.h"

namespace kor::ctl::doctor {

// The bytes of a question for the IPv4 addresses of `name`; empty when that is not a host name.
std::string QueryFor(const std::string& name, uint16_t id);

// Asks every server for `name` at once, each by one UDP datagram, and waits for all answers until `limit` has passed.
// One reply for each server, in their order. Any answer counts, whatever its code.
std::vector<Reply> AskAll(const std::vector<std::string>& servers, const std::string& name,
                          std::chrono::milliseconds limit);

}  // namespace kor::ctl::doctor
