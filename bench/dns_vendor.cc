// SPDX-License-Identifier: Apache-2.0
#include "dns_vendor.h"

#include <string>
#include <vector>

#include "common/vendor/qcmap_wrapper.h"
#include "common/vendor/wds_qmi_client.h"

namespace kor::bench {

namespace {

using kor::util::IPFamily;
using kor::wwan::DataManager;

struct Calls {
  DataManager::NetworkConfig ipv4;
  DataManager::NetworkConfig ipv6;
};

std::vector<Calls> g_calls;

std::string Number(uint32_t number) { return std::to_string(number); }

Calls CallsOf(uint32_t policy) {
  const std::string own4 = "10.64." + Number(policy / 250) + "." + Number(policy % 250 + 1);
  const std::string own6 = "2001:db8:0:" + Number(policy / 250) + "::" + Number(policy % 250 + 1);
  return {{IPFamily::kIpv4, "192.0.2.9", "10.255.0.53", own4}, {IPFamily::kIpv6, "2001:db8::9", "fd64:ffff::53", own6}};
}

}  // namespace

void ScriptPolicies(uint32_t policies) {
  g_calls.clear();
  for (uint32_t i = 0; i < policies; ++i) g_calls.push_back(CallsOf(i));
}

}  // namespace kor::bench

namespace kor::vendor::qcom {

using kor::bench::g_calls;

qcmap::QcmapWrapper* qcmap::QcmapWrapper::GetInstance() {
  static QcmapWrapper& wrapper = *new QcmapWrapper;
  return &wrapper;
}

bool qcmap::QcmapWrapper::GetWwanPolicies(std::vector<WwanPolicy>& policies) {
  policies.resize(g_calls.size());
  return true;
}

kor::Result qcmap::QcmapWrapper::GetNetworkConfig(uint32_t index, kor::util::IPFamily ip_family,
                                                  NetworkConfig& config) {
  config = ip_family == kor::util::IPFamily::kIpv4 ? g_calls[index].ipv4 : g_calls[index].ipv6;
  return kor::Result::kSuccess;
}

qmi::WdsQmiClient* qmi::WdsQmiClient::GetInstance() {
  static WdsQmiClient& client = *new WdsQmiClient;
  return &client;
}

}  // namespace kor::vendor::qcom
