// SPDX-License-Identifier: Apache-2.0
// What the registration of claimed names costs, by their number, over a modem that takes every request and a timer
// manager whose time passes when there is nothing else to do.
//
// The limit is the least that the same requests need: as many messages through a queue under a lock, and batches cut
// from a list of names in order.
#include <syslog.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "at/at_service.h"
#include "common/util/timer_manager.h"
#include "common/vendor/ats_qmi_client.h"
#include "support.h"

namespace kor::bench {
namespace {

using kor::wwan::AtManager;

constexpr size_t kNames[] = {20, 100, 1'000, 10'000};
constexpr size_t kBatch = 20;
constexpr int kRounds = 9;
constexpr int kIdlePasses = 1'000;

std::vector<std::function<void()>> g_due;  // The virtual timer's tasks.
size_t g_taken = 0;                        // Names that the modem has taken.

std::string Name(size_t number) {
  char name[32];
  snprintf(name, sizeof(name), "+NAME%06zu", number);
  return name;
}

}  // namespace
}  // namespace kor::bench

namespace kor::util {

class TimerTasks {};

TimerManager::TimerManager() = default;

int TimerManager::AddTask(long long, std::function<bool(int, void*)> task, void* user_data) {
  kor::bench::g_due.push_back([task = std::move(task), user_data] { task(0, user_data); });
  return 0;
}

}  // namespace kor::util

namespace kor::vendor::qcom::qmi {

AtsQmiClient* AtsQmiClient::GetInstance() {
  static AtsQmiClient& client = *new AtsQmiClient;
  return &client;
}

void AtsQmiClient::ReleaseInstance() {}

int AtsQmiClient::RegisterCommands(std::list<std::string> names) {
  kor::bench::g_taken += names.size();
  return 0;
}

}  // namespace kor::vendor::qcom::qmi

namespace kor::wwan {

// Does the service thread's work on the calling thread, so that its processor time is that of the passes alone.
struct AtServicePeer {
  // The number of passes that were run.
  static int ServeQueue(AtService& service) {
    int passes = 0;
    while (HasMessage(service)) {
      if (service.PopMsg().front().type != kMsgRegister) continue;
      service.RegisterPending();
      ++passes;
    }
    return passes;
  }

  static void Pass(AtService& service) { service.RegisterPending(); }

 private:
  static bool HasMessage(AtService& service) {
    kor::util::MutexLock lock(service.queue_mutex_);
    return !service.msg_queue_.empty();
  }
};

}  // namespace kor::wwan

namespace kor::bench {
namespace {

using kor::wwan::AtService;
using kor::wwan::AtServicePeer;

struct Cost {
  int passes = 0;
  double cpu_ns = 0;
  double idle_ns = 0;   // Of a pass that finds nothing to do.
  double limit_ns = 0;  // Of all passes.
};

class Limit {
 public:
  explicit Limit(size_t names) {
    for (size_t i = 0; i < names; ++i) names_.push_back(Name(i));
  }

  // Takes as many messages off the queue, and tells as many clients, as `passes` passes over the names do.
  double Measure(int passes) {
    std::list<int> queue(static_cast<size_t>(passes), kor::wwan::kMsgRegister);
    const double start = ThreadCpuNs();
    while (!queue.empty()) {
      {
        const std::lock_guard<std::mutex> lock(queue_mutex_);
        queue.pop_front();
      }
      Pass();
    }
    return ThreadCpuNs() - start;
  }

 private:
  void Pass() {
    const std::lock_guard<std::mutex> lock(names_mutex_);
    const size_t end = std::min(next_ + kBatch, names_.size());
    if (next_ == end) return;
    const auto at = [this](size_t i) { return names_.begin() + static_cast<std::ptrdiff_t>(i); };
    std::list<std::string> batch(at(next_), at(end));
    (void)kor::vendor::qcom::qmi::AtsQmiClient::GetInstance()->RegisterCommands(batch);
    for (const std::string& name : batch) result_(name, true);
    next_ = end;
  }

  std::mutex queue_mutex_;
  std::mutex names_mutex_;
  std::vector<std::string> names_;
  const std::function<void(std::string, bool)> result_ = [](const std::string&, bool) {};
  size_t next_ = 0;
};

// Claims, passes until nothing is left and the timer has fired, and passes without work.
Cost Register(size_t names) {
  Cost cost;
  AtService& service = *AtService::GetInstance();
  for (size_t i = 0; i < names; ++i) {
    (void)service.RegisterCallback(
        Name(i), [](AtManager::Command&) { return AtManager::CmdResponse(); }, [](const std::string&, bool) {});
  }
  g_taken = 0;
  double start = ThreadCpuNs();
  cost.passes = AtServicePeer::ServeQueue(service);
  while (!g_due.empty()) {
    for (const auto& task : std::exchange(g_due, {})) task();
    cost.passes += AtServicePeer::ServeQueue(service);
  }
  cost.cpu_ns = ThreadCpuNs() - start;
  if (g_taken != names) {
    fprintf(stderr, "register_bench: %zu of %zu names are registered\n", g_taken, names);
    exit(1);
  }

  start = ThreadCpuNs();
  for (int i = 0; i < kIdlePasses; ++i) AtServicePeer::Pass(service);
  cost.idle_ns = (ThreadCpuNs() - start) / kIdlePasses;
  (void)AtService::ReleaseInstance();
  cost.limit_ns = Limit(names).Measure(cost.passes);
  return cost;
}

template <typename Member>
double MedianOf(const std::vector<Cost>& costs, Member member) {
  std::vector<double> values;
  for (const Cost& cost : costs) values.push_back(cost.*member);
  return Median(values);
}

void Report(const std::map<size_t, std::vector<Cost>>& costs) {
  double before = 0;
  size_t names_before = 0;
  for (const auto& [names, rounds] : costs) {
    const double cpu_ns = MedianOf(rounds, &Cost::cpu_ns);
    const double limit_ns = MedianOf(rounds, &Cost::limit_ns);
    printf("register names=%zu passes=%d cpu %.1f limit %.1f ratio %.2f idle %.0f", names, rounds.front().passes,
           cpu_ns / 1e3, limit_ns / 1e3, cpu_ns / limit_ns, MedianOf(rounds, &Cost::idle_ns));
    if (names_before > 0) {
      const double growth = static_cast<double>(names) / static_cast<double>(names_before);
      printf(" growth %.2f exponent %.2f", cpu_ns / before, std::log(cpu_ns / before) / std::log(growth));
    }
    puts("");
    before = cpu_ns;
    names_before = names;
  }
}

int Main() {
  if (getenv("KWWAN_SANDBOX") == nullptr) {
    fprintf(stderr, "register_bench: start it by script/sandbox, which has a /dev/kmsg of its own\n");
    return 1;
  }
  setlogmask(LOG_UPTO(LOG_INFO));  // As hosts do.
  std::map<size_t, std::vector<Cost>> costs;
  for (int round = 0; round < kRounds; ++round) {
    for (const size_t names : kNames) costs[names].push_back(Register(names));
  }
  Report(costs);
  return 0;
}

}  // namespace
}  // namespace kor::bench

int main() { return kor::bench::Main(); }
