// SPDX-License-Identifier: Apache-2.0
#include "support/footprint.h"

#include <filesystem>
#include <iterator>
#include <utility>

#include "common/vendor/ats_qmi_client.h"
#include "common/vendor/nas_qmi_client.h"
#include "common/vendor/qcmap_wrapper.h"
#include "common/vendor/wds_qmi_client.h"
#include "common/vendor/wms_qmi_client.h"
#include "dns/dns_ctrl_service.h"
#include "support/subscribers.h"
#include "support/wait.h"
#include "wwan/dns_ctrl_manager.h"

namespace kor::test {

namespace {

long Entries(const char* folder) { return std::distance(std::filesystem::directory_iterator(folder), {}); }

long CountSubscriptions() {
  using kor::util::EventCbMapPeer;
  using namespace kor::vendor::qcom;
  auto* const ats = qmi::AtsQmiClient::GetInstance();
  long count = EventCbMapPeer::Count(ats->event_cbs);
  ats->ReleaseInstance();
  for (auto* table : {&qcmap::QcmapWrapper::GetInstance()->event_cbs, &qmi::WdsQmiClient::GetInstance()->event_cbs,
                      &qmi::NasQmiClient::GetInstance()->event_cbs, &qmi::WmsQmiClient::GetInstance()->event_cbs}) {
    count += EventCbMapPeer::Count(*table);
  }
  if (auto* const service = kor::wwan::DnsCtrlManager::s_dns_ctrl_service_) {
    count += EventCbMapPeer::Count(service->callbacks_);
  }
  return count;
}

}  // namespace

std::string Footprint() {
  const std::pair<long, const char*> held[] = {{Entries("/proc/self/fd"), "descriptors"},
                                               {Entries("/proc/self/task"), "threads"},
                                               {Entries("/proc/sys/net/ipv4/conf"), "interfaces"},
                                               {CountSubscriptions(), "subscriptions"},
                                               {kor::wwan::DataManager::s_ins_cnt_, "DataManagers"},
                                               {kor::wwan::DnsCtrlManager::s_ref_cnt_, "DnsCtrlManagers"}};
  std::string text;
  for (const auto& [count, what] : held) text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + what;
  return text;
}

testing::AssertionResult ComesTo(const std::string& footprint) {
  if (Eventually([&] { return Footprint() == footprint; })) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "there were " << footprint << "; now " << Footprint();
}

}  // namespace kor::test
