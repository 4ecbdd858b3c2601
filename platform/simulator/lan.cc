// SPDX-License-Identifier: Apache-2.0
#include "simulator/lan.h"

#include <cstdint>

namespace kor::modem {

void Lan::Apply(const Config& config) {
  kor::util::MutexLock lock(mutex_);
  config_ = config;
  config_.valid = true;
}

std::string Lan::Text() {
  kor::util::MutexLock lock(mutex_);
  if (!config_.valid) return "";
  const std::string own = config_.gw + " " + config_.nm + " ";
  if (!config_.enable_dhcp) return own + "- -";
  return own + config_.dhcp_start_ip + "-" + config_.dhcp_end_ip + " " +
         std::to_string(static_cast<uint32_t>(config_.dhcp_lease_time));
}

}  // namespace kor::modem
