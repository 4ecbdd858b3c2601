// SPDX-License-Identifier: Apache-2.0
// What one refresh of the DNS files costs, by the number of policies, when nothing is to be repaired.
//
// The limit is the system calls that the work cannot do without, bare, with the same content.
#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "common/dns_paths.h"
#include "dns/dns_ctrl_service.h"
#include "dns_vendor.h"
#include "log_reader.h"
#include "support.h"
#include "support/files.h"
#include "system_calls.h"

namespace kor::bench {
namespace {

using kor::test::ReadFile;
using kor::test::WriteFile;

constexpr uint32_t kPolicies[] = {1, 8, 64, 512};
constexpr uint32_t kPoliciesWithLog = 8;
constexpr int kRounds = 21;
constexpr double kRoundNs = 4e6;  // What the work of one round takes at least.

// The service, as the interface monitor's thread finds it after a change of a data call.
class Refresh {
 public:
  Refresh() {
    change_.event = kor::util::kEvtNetIface;
    change_.params[kor::util::EventDic::kParamIfaceName] = "rmnet_data0";
  }
  void operator()() { service_.EventCb(change_); }

 private:
  kor::wwan::DnsCtrlService service_;
  kor::util::EventDic change_;
};

class BareCalls {
 public:
  // Requires: the files are as a refresh leaves them.
  BareCalls() : process_("/proc/" + std::to_string(getpid())), content_(ReadFile(kor::wwan::kDnsmasqResolvPath)) {}

  void operator()() {
    using namespace kor::wwan;
    char text[1024];
    int fd = open(kDnsmasqPidPath, O_RDONLY | O_CLOEXEC);
    ssize_t done = read(fd, text, sizeof(text));
    close(fd);
    int rc = access(process_.c_str(), X_OK);

    fd = open(kResolvConfPath, O_RDWR | O_CLOEXEC);
    const off_t size = lseek(fd, 0, SEEK_END);
    lseek(fd, 0, SEEK_SET);
    done += read(fd, text, static_cast<size_t>(size));
    close(fd);

    rc += open(kPermanentDnsPath, O_RDONLY | O_CLOEXEC);
    rc += mkdir(kDnsmasqDir, kDnsmasqDirMode);
    fd = open(kDnsmasqResolvPath, O_WRONLY | O_CREAT | O_CLOEXEC, 0777);
    done += write(fd, content_.data(), content_.size());
    rc += ftruncate(fd, static_cast<off_t>(content_.size()));
    close(fd);
    if (done <= 0 || rc != -2) abort();  // The permanent file is absent, the folder there; all else succeeds.
  }

 private:
  const std::string process_;
  const std::string content_;
};

template <typename Work>
double EachNs(Work& work, int times) {
  const double start = ThreadCpuNs();
  for (int i = 0; i < times; ++i) work();
  return (ThreadCpuNs() - start) / times;
}

template <typename Work>
int TimesInARound(Work& work) {
  return 1 + static_cast<int>(kRoundNs / EachNs(work, 20));
}

// A pid file that names a live process, and a resolv.conf that the first refresh repairs: nothing is left to do.
void PrepareFiles(Refresh& refresh) {
  mkdir(kor::wwan::kDnsmasqDir, kor::wwan::kDnsmasqDirMode);
  WriteFile(kor::wwan::kDnsmasqPidPath, std::to_string(getpid()) + "\n");
  refresh();
}

void Measure(Refresh& refresh, uint32_t policies) {
  ScriptPolicies(policies);
  refresh();
  BareCalls bare;
  const int times = TimesInARound(refresh);
  std::vector<double> ours;
  std::vector<double> limit;
  for (int round = 0; round < kRounds; ++round) {
    limit.push_back(EachNs(bare, times));
    ours.push_back(EachNs(refresh, times));
  }
  const double us = Median(ours) / 1e3;
  const double limit_us = Median(limit) / 1e3;
  printf("dns policies=%u ours %.2f limit %.2f ratio %.2f\n", policies, us, limit_us, us / limit_us);
}

void MeasureWithLog(Refresh& refresh, const char* way) {
  ScriptPolicies(kPoliciesWithLog);
  const int times = TimesInARound(refresh);
  std::vector<double> ours;
  for (int round = 0; round < kRounds; ++round) ours.push_back(EachNs(refresh, times));
  printf("dns log %s policies=%u ours %.2f\n", way, kPoliciesWithLog, Median(ours) / 1e3);
}

void CountCalls(Refresh& refresh) {
  ScriptPolicies(kPoliciesWithLog);
  refresh();
  BareCalls bare;
  const int ours = CountSystemCalls([&] { refresh(); });
  if (ours < 0) {
    puts("dns calls skipped: a process may not trace its child here");
  } else {
    printf("dns calls %d limit %d\n", ours, CountSystemCalls([&] { bare(); }));
  }
}

int Main() {
  if (getenv("KWWAN_SANDBOX") == nullptr) {
    fprintf(stderr, "dns_bench: start it by script/sandbox, which has an /etc and a /var/run of its own\n");
    return 1;
  }
  setlogmask(LOG_UPTO(LOG_INFO));  // As hosts do.
  Refresh refresh;
  PrepareFiles(refresh);
  CountCalls(refresh);
  for (const uint32_t policies : kPolicies) Measure(refresh, policies);

  MeasureWithLog(refresh, "masked");
  setlogmask(LOG_UPTO(LOG_DEBUG));
  MeasureWithLog(refresh, "syslog");
  const LogReader reader;
  MeasureWithLog(refresh, "reader");
  WriteFile(kor::wwan::kDnsmasqPidPath, "");  // The service ends what the file names.
  return 0;
}

}  // namespace
}  // namespace kor::bench

int main() { return kor::bench::Main(); }
