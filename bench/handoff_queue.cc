// SPDX-License-Identifier: Apache-2.0
// The queue of the AT service beside a bare flag, and beside GLib's two queues.
#include <cstdio>
#include <list>
#include <vector>

#if HAVE_GLIB
#include <glib.h>
#endif

#include "at/at_service.h"
#include "common/event_dic.h"
#include "consumer.h"
#include "handoff.h"
#include "support.h"

namespace kor::wwan {

struct AtServicePeer {
  static std::list<AtServiceMsg> Pop(AtService& service) { return service.PopMsg(); }
};

}  // namespace kor::wwan

namespace kor::bench {

kor::wwan::AtManager::Command SampleCommand() {
  kor::wwan::AtManager::Command cmd;
  cmd.name = "+COMMAND";
  cmd.params = {"1", "2", "longer than a short string"};
  cmd.op = kor::wwan::AtManager::kOpSet;
  return cmd;
}

namespace {

constexpr int kBatches = 300;
constexpr int kWarmUp = 100;
constexpr int kHalfWindow = 128;  // A flood has twice as many commands in flight, answered by halves.
constexpr int kHalves = 100;

// The one service, never started: its queue is all that is used of it, and the holder that keeps it is not given back.
class ServiceQueue {
 public:
  void Send(const Command& cmd) {
    kor::util::EventDic ev;
    ev.event = kor::util::kEvtAtCommand;
    ev.data = const_cast<Command*>(&cmd);  // It is only copied.
    Service().EventCb(ev);
  }
  int Take() { return static_cast<int>(kor::wwan::AtServicePeer::Pop(Service()).size()); }

 private:
  static kor::wwan::AtService& Service() {
    static kor::wwan::AtService& service = *kor::wwan::AtService::GetInstance();
    return service;
  }
};

#if HAVE_GLIB
class AsyncQueue {
 public:
  ~AsyncQueue() { g_async_queue_unref(queue_); }
  void Send(const Command& cmd) { g_async_queue_push(queue_, new Command(cmd)); }
  int Take() {
    delete static_cast<Command*>(g_async_queue_pop(queue_));
    return 1;
  }

 private:
  GAsyncQueue* const queue_ = g_async_queue_new();
};

// One source for each command, as g_idle_add() makes them.
class MainContext {
 public:
  ~MainContext() { g_main_context_unref(context_); }
  void Send(const Command& cmd) {
    GSource* const source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(source, Serve, new Work{&taken_, cmd}, Destroy);
    g_source_attach(source, context_);
    g_source_unref(source);
  }
  int Take() {
    taken_ = 0;
    while (taken_ == 0) g_main_context_iteration(context_, TRUE);
    return taken_;
  }

 private:
  struct Work {
    int* taken;
    Command cmd;
  };

  static gboolean Serve(gpointer work) {
    ++*static_cast<Work*>(work)->taken;
    return G_SOURCE_REMOVE;
  }
  static void Destroy(gpointer work) { delete static_cast<Work*>(work); }

  GMainContext* const context_ = g_main_context_new();
  int taken_ = 0;
};
#endif

// Adds the nanoseconds of a command that follows the other's answer.
template <typename Queue>
void AddRoundTrips(const Places& places, std::vector<double>& samples) {
  Consumer<Queue> consumer(places.waiter, 1);
  const Command cmd = SampleCommand();
  for (int i = 0; i < kWarmUp; ++i) consumer.Exchange(cmd);
  TimeCalls(
      kBatches, kBatch, [&] { consumer.Exchange(cmd); }, samples);
}

// Adds the nanoseconds of half a window of commands, whose poster never waits for the last ones.
template <typename Queue>
void AddFloods(const Places& places, std::vector<double>& samples) {
  Consumer<Queue> consumer(places.waiter, kHalfWindow);
  const Command cmd = SampleCommand();
  const auto send_and_await = [&] {
    consumer.Send(cmd);
    consumer.Await();
  };
  consumer.Send(cmd);
  for (int i = 0; i < kWarmUp / 10; ++i) send_and_await();
  TimeCalls(kHalves, 1, send_and_await, samples);
  consumer.Await();
}

void MeasureRoundTrip(const Places& places) {
  std::vector<double> ours;
  std::vector<double> limit;
  for (int i = 0; i < kRounds; ++i) {
    AddRoundTrips<BareFlag>(places, limit);
    AddRoundTrips<ServiceQueue>(places, ours);
  }
  printf("handoff rtt ours %.0f limit %.0f ratio %.2f\n", Median(ours), Median(limit), Median(ours) / Median(limit));
}

void MeasureFlood(const Places& places) {
  std::vector<double> ours;
  std::vector<double> async_queue;
  std::vector<double> main_context;
  for (int i = 0; i < kRounds; ++i) {
    AddFloods<ServiceQueue>(places, ours);
#if HAVE_GLIB
    AddFloods<AsyncQueue>(places, async_queue);
    AddFloods<MainContext>(places, main_context);
#endif
  }
  const double ns = Median(ours) / kHalfWindow;
  const auto print = [ns](const char* peer, const std::vector<double>& samples) {
    if (samples.empty()) return;
    const double peer_ns = Median(samples) / kHalfWindow;
    printf("handoff flood ours %.0f %s %.0f ratio %.2f\n", ns, peer, peer_ns, peer_ns / ns);
  };
  print("gasync", async_queue);
  print("gmain", main_context);
  if (async_queue.empty()) printf("handoff flood ours %.0f\n", ns);
}

}  // namespace

void MeasureQueue(const Places& places) {
  PinTo(places.poster);
  MeasureRoundTrip(places);
  MeasureFlood(places);
}

}  // namespace kor::bench
