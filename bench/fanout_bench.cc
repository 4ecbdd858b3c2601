// SPDX-License-Identifier: Apache-2.0
// What one Notify costs, by the number of subscribers: the subscription table, its limit, and peers that do the like.
//
// The limit is the least that keeps the table's promises to a single publisher: a loop over callbacks under one mutex.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#if HAVE_SIGNALS2
#include <boost/signals2.hpp>
#endif
#if HAVE_SIGCPP
#include <sigc++/sigc++.h>
#endif
#if HAVE_GLIB
#include <glib-object.h>
#endif

#include "common/event_cb_map.h"
#include "support.h"

namespace kor::bench {
namespace {

using kor::util::EventDic;

constexpr int kSizes[] = {1, 16, 256};

// What is called: as little as can be, so that the walk is what is measured.
class Subscriber {
 public:
  void Hear(const EventDic& ev) { sum_ += ev.event; }

 private:
  uint64_t sum_ = 0;
};

// Callbacks of these publishers hold a pointer, as those of the library do.
class Limit {
 public:
  void Add(Subscriber& to) {
    callbacks_.emplace_back([&to](EventDic& ev) { to.Hear(ev); });
  }
  void Notify(EventDic& ev) {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& callback : callbacks_) callback(ev);
  }

 private:
  std::mutex mutex_;
  std::vector<std::function<void(EventDic&)>> callbacks_;
};

class Table {
 public:
  void Add(Subscriber& to) {
    table_.Add(&to, [&to](EventDic& ev) { to.Hear(ev); });
  }
  void Notify(EventDic& ev) { table_.Notify(ev); }

 private:
  kor::util::EventCbMap table_;
};

#if HAVE_SIGNALS2
class Signals2 {
 public:
  void Add(Subscriber& to) {
    signal_.connect([&to](EventDic& ev) { to.Hear(ev); });
  }
  void Notify(EventDic& ev) { signal_(ev); }

 private:
  boost::signals2::signal<void(EventDic&)> signal_;
};
#endif

#if HAVE_SIGCPP
class Sigcpp {
 public:
  void Add(Subscriber& to) {
    signal_.connect([&to](EventDic& ev) { to.Hear(ev); });
  }
  void Notify(EventDic& ev) { signal_.emit(ev); }

 private:
  sigc::signal<void, EventDic&> signal_;
};
#endif

#if HAVE_GLIB
class Gsignal {
 public:
  Gsignal() : id_(Signal()), object_(g_object_new(Type(), nullptr)) {}
  ~Gsignal() { g_object_unref(object_); }
  Gsignal(const Gsignal&) = delete;
  Gsignal& operator=(const Gsignal&) = delete;

  void Add(Subscriber& to) {
    g_signal_connect_data(object_, "event", G_CALLBACK(Hear), &to, nullptr, GConnectFlags(0));
  }
  void Notify(EventDic& ev) { g_signal_emit(object_, id_, 0, &ev); }

 private:
  static void Hear(gpointer, EventDic* ev, Subscriber* to) { to->Hear(*ev); }

  static GType Type() {
    static const GType type = g_type_register_static_simple(G_TYPE_OBJECT, "KwwanBenchPublisher", sizeof(GObjectClass),
                                                            nullptr, sizeof(GObject), nullptr, GTypeFlags(0));
    return type;
  }

  static guint Signal() {
    static const guint id = g_signal_new("event", Type(), G_SIGNAL_RUN_LAST, 0, nullptr, nullptr,
                                         g_cclosure_marshal_VOID__POINTER, G_TYPE_NONE, 1, G_TYPE_POINTER);
    return id;
  }

  const guint id_;
  const gpointer object_;
};
#endif

template <typename Publisher>
void MeasureNotify(benchmark::State& state) {
  std::vector<Subscriber> subscribers(static_cast<size_t>(state.range(0)));
  Publisher publisher;
  for (Subscriber& subscriber : subscribers) publisher.Add(subscriber);
  EventDic ev;
  ev.event = kor::util::kEvtWwanConnected;
  for (auto _ : state) {
    publisher.Notify(ev);
    benchmark::ClobberMemory();
  }
}

template <typename Publisher>
void Register(const char* name) {
  auto* const measured = benchmark::RegisterBenchmark(name, MeasureNotify<Publisher>);
  for (const int size : kSizes) measured->Arg(size);
}

// Shows the medians and keeps each run's processor time: others may be using the machine.
class Reporter : public benchmark::ConsoleReporter {
 public:
  Reporter() : ConsoleReporter(OO_Tabular) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    std::vector<Run> shown;
    for (const Run& run : runs) {
      const bool repeated = run.repetitions > 1;
      if (run.run_type == Run::RT_Iteration) Keep(run);
      if (!repeated || run.aggregate_name == "median") shown.push_back(run);
    }
    if (!shown.empty()) ConsoleReporter::ReportRuns(shown);
  }

  // The ratio of two medians, when both were measured.
  void PrintRatio(int size, const char* above, const char* below) const {
    const auto a = times_.find("Notify/" + std::string(above) + '/' + std::to_string(size));
    const auto b = times_.find("Notify/" + std::string(below) + '/' + std::to_string(size));
    if (a == times_.end() || b == times_.end()) return;
    printf("ratio notify N=%d %s/%s %.2f\n", size, above, below, Median(a->second) / Median(b->second));
  }

 private:
  void Keep(const Run& run) {
    times_[run.run_name.function_name + '/' + run.run_name.args].push_back(run.GetAdjustedCPUTime());
  }

  std::map<std::string, std::vector<double>> times_;
};

void RegisterAll() {
  Register<Limit>("Notify/limit");
  Register<Table>("Notify/table");
#if HAVE_SIGNALS2
  Register<Signals2>("Notify/signals2");
#endif
#if HAVE_SIGCPP
  Register<Sigcpp>("Notify/sigcpp");
#endif
#if HAVE_GLIB
  Register<Gsignal>("Notify/gsignal");
#endif
}

// The flags that the figures are meant for; those of the command line come later and win.
std::vector<char*> WithDefaults(int argc, char** argv) {
  static std::string defaults[] = {"--benchmark_repetitions=11", "--benchmark_enable_random_interleaving=true",
                                   "--benchmark_min_time=0.02"};
  std::vector<char*> arguments = {argv[0]};
  for (std::string& flag : defaults) arguments.push_back(flag.data());
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  return arguments;
}

int Main(int argc, char** argv) {
  std::vector<char*> arguments = WithDefaults(argc, argv);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;

  // A second thread: while a process has one only, libc and GLib take short cuts that a host never sees.
  Flag done;
  std::thread idle([&done] { done.Await(); });
  RegisterAll();
  Reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  done.Post();
  idle.join();

  for (const int size : kSizes) {
    reporter.PrintRatio(size, "table", "limit");
    for (const char* peer : {"signals2", "sigcpp", "gsignal"}) reporter.PrintRatio(size, peer, "table");
  }
  return 0;
}

}  // namespace
}  // namespace kor::bench

int main(int argc, char** argv) { return kor::bench::Main(argc, argv); }
