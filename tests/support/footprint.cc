// SPDX-License-Identifier: Apache-2.0
#include "support/footprint.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <new>
#include <utility>

#include "common/vendor/qcmap_wrapper.h"
#include "common/vendor/wds_qmi_client.h"
#include "dns/dns_ctrl_service.h"
#include "support/wait.h"
#include "wwan/dns_ctrl_manager.h"

namespace {

constexpr size_t kLarge = 100'000;
std::atomic<long> g_large{0};  // Pieces of memory of that size that were asked for.

long Entries(const char* folder) { return std::distance(std::filesystem::directory_iterator(folder), {}); }

}  // namespace

// Not inlined: in their callers one would look like a mismatch of the other.
__attribute__((noinline)) void* operator new(size_t size) {
  if (size > kLarge) ++g_large;
  if (void* memory = malloc(size)) return memory;
  throw std::bad_alloc();
}
__attribute__((noinline)) void operator delete(void* memory) noexcept { free(memory); }
__attribute__((noinline)) void operator delete(void* memory, size_t) noexcept { free(memory); }

namespace kor::test {

namespace {

// A wait keeps a copy of every event that it hears. This one means nothing and is too large not to be noticed.
long CountWaits() {
  kor::util::EventDic ev;
  ev.params[kor::util::EventDic::kParamHandle] = std::string(kLarge + 1, '0');
  const long before = g_large;
  kor::vendor::qcom::qcmap::QcmapWrapper::GetInstance()->event_cbs.Notify(ev);
  kor::vendor::qcom::qmi::WdsQmiClient::GetInstance()->event_cbs.Notify(ev);
  if (auto* const service = kor::wwan::DnsCtrlManager::s_dns_ctrl_service_) service->callbacks_.Notify(ev);
  return g_large - before;
}

}  // namespace

std::string Footprint() {
  const std::pair<long, const char*> held[] = {{Entries("/proc/self/fd"), "descriptors"},
                                               {Entries("/proc/self/task"), "threads"},
                                               {Entries("/proc/sys/net/ipv4/conf"), "interfaces"},
                                               {CountWaits(), "waits"},
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
