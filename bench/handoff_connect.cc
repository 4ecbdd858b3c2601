// SPDX-License-Identifier: Apache-2.0
// The end of a blocking Connect: from the event that confirms it, published, to its return.
//
// The limit is a waiter that is woken while the poster still holds a second lock, which the waiter must take before it
// is done: the subscription table is locked while it calls, and a subscriber that has left it is never called again.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "common/vendor/qcmap_wrapper.h"
#include "handoff.h"
#include "support.h"
#include "support/scripted_vendor.h"
#include "wwan/data_manager.h"
#include "wwan/dns_ctrl_manager.h"

namespace kor::bench {
namespace {

using kor::test::Vendor;
using kor::util::EventDic;
using kor::vendor::qcom::qcmap::QcmapWrapper;
using kor::wwan::DataManager;

constexpr int kConnects = 300;
constexpr auto kUntilItSleeps = std::chrono::microseconds(200);

// A thread that publishes once for each time it is asked to, when the asker has long gone to sleep.
class Publisher {
 public:
  Publisher(int cpu, std::function<void()> publish)
      : publish_(std::move(publish)), thread_([this, cpu] {
          PinTo(cpu);
          Publish();
        }) {}
  ~Publisher() {
    stopping_ = true;
    asked_.Post();
    thread_.join();
  }
  Publisher(const Publisher&) = delete;
  Publisher& operator=(const Publisher&) = delete;

  void Ask() { asked_.Post(); }

  // When the last publication began.
  double published_ns() const { return published_ns_; }

 private:
  void Publish() {
    for (asked_.Await(); !stopping_; asked_.Await()) {
      std::this_thread::sleep_for(kUntilItSleeps);
      published_ns_ = NowNs();
      publish_();
    }
  }

  const std::function<void()> publish_;
  Flag asked_;
  std::atomic<bool> stopping_{false};
  std::atomic<double> published_ns_{0};
  std::thread thread_;  // Last: it uses the others.
};

EventDic CallEvent(uint32_t event) {
  EventDic ev;
  ev.event = event;
  ev.params = {{EventDic::kParamHandle, "700"}, {EventDic::kParamIpFamily, "4"}};
  return ev;
}

// Connects of the library. The DNS forwarder's confirmation is there at once, the modem's comes late.
class Connects {
 public:
  explicit Connects(const Places& places) : modem_(places.poster, [this] { Table().Notify(connected_); }) {
    Vendor::Set([this](kor::test::Answers& answers) {
      answers.policies = {kor::test::Policy(1, 2, 700)};
      answers.on_request = [this] {
        Table().Notify(dns_updated_);
        modem_.Ask();
      };
    });
  }
  ~Connects() {
    Vendor::Set([](kor::test::Answers& answers) { answers.on_request = nullptr; });
  }
  Connects(const Connects&) = delete;
  Connects& operator=(const Connects&) = delete;

  double TailNs() {
    if (data_.Connect(0, kor::util::IPFamily::kIpv4, true) != kor::Result::kSuccess) abort();
    const double end = NowNs();
    (void)Vendor::Take();  // So that what was asked does not pile up.
    return end - modem_.published_ns();
  }

 private:
  static kor::util::EventCbMap& Table() { return QcmapWrapper::GetInstance()->event_cbs; }

  EventDic dns_updated_ = CallEvent(kor::util::kEvtDnsUpdated);
  EventDic connected_ = CallEvent(kor::util::kEvtWwanConnected);
  DataManager data_;
  Publisher modem_;
};

class Limit {
 public:
  explicit Limit(const Places& places)
      : poster_(places.poster, [this] {
          const std::lock_guard<std::mutex> lock(mutex_);
          flag_.Post();
        }) {}

  double TailNs() {
    poster_.Ask();
    flag_.Await();
    { const std::lock_guard<std::mutex> lock(mutex_); }
    return NowNs() - poster_.published_ns();
  }

 private:
  std::mutex mutex_;
  Flag flag_;
  Publisher poster_;
};

template <typename Waiter>
void AddTails(Waiter& waiter, std::vector<double>& tails) {
  for (int i = 0; i < kConnects; ++i) tails.push_back(waiter.TailNs() / 1e3);
}

}  // namespace

void MeasureConnect(const Places& places) {
  PinTo(places.waiter);
  static auto& dns = *new kor::wwan::DnsCtrlManager;  // As a host keeps one. Its end would look for dnsmasq.
  (void)dns;
  Connects connects(places);
  Limit limit(places);
  std::vector<double> ours_us;
  std::vector<double> limit_us;
  for (int i = 0; i < kRounds; ++i) {
    AddTails(limit, limit_us);
    AddTails(connects, ours_us);
  }
  for (const double q : {0.5, 0.95}) {
    const double ours = Quantile(ours_us, q);
    const double least = Quantile(limit_us, q);
    printf("connect tail p%.0f ours %.1f limit %.1f ratio %.2f\n", q * 100, ours, least, ours / least);
  }
}

}  // namespace kor::bench
