// SPDX-License-Identifier: Apache-2.0
// The whole road of a forwarded command, through the public API.
#include <syslog.h>

#include <cstdio>
#include <string>
#include <vector>

#include "allocations.h"
#include "at/scripted_at_client.h"
#include "common/event_dic.h"
#include "consumer.h"
#include "handoff.h"
#include "log_reader.h"
#include "support.h"

namespace kor::bench {
namespace {

using kor::test::AtClient;
using kor::wwan::AtManager;

constexpr int kBatches = 100;
constexpr int kCounted = 1000;
constexpr int kWarmUp = 100;

// A running service with one handler, and the modem that forwards to it and waits for the answer.
class Modem {
 public:
  // The service thread stays where it is started.
  explicit Modem(const Places& places) {
    AtClient::on_answer = [this](const Command&, const std::string&) { answered_.Post(); };
    at_.RegisterCallback(
        "+COMMAND",
        [](Command&) {
          AtManager::CmdResponse response;
          response.result = true;
          return response;
        },
        nullptr);
    PinTo(places.waiter);
    at_.StartService();
    PinTo(places.poster);
    for (int i = 0; i < kWarmUp; ++i) Exchange();
  }
  ~Modem() { at_.StopService(); }
  Modem(const Modem&) = delete;
  Modem& operator=(const Modem&) = delete;

  void Exchange() {
    AtClient::Publish(kor::util::kEvtAtCommand, &cmd_);
    answered_.Await();
  }

 private:
  Command cmd_ = SampleCommand();
  Flag answered_;
  AtManager at_;
};

// Prints the way's name as well: where the log lines go.
void MeasureSerial(Modem& modem, const Places& places, const char* way) {
  Consumer<BareFlag> bare(places.waiter, 1);
  const Command cmd = SampleCommand();
  std::vector<double> ours;
  std::vector<double> limit;
  for (int i = 0; i < kRounds; ++i) {
    TimeCalls(
        kBatches, kBatch, [&] { bare.Exchange(cmd); }, limit);
    TimeCalls(
        kBatches, kBatch, [&] { modem.Exchange(); }, ours);
  }
  const double us = Median(ours) / 1e3;
  const double limit_us = Median(limit) / 1e3;
  printf("service serial %.2f %s limit %.2f ratio %.2f\n", us, way, limit_us, us / limit_us);
}

}  // namespace

void MeasureService(const Places& places) {
  Modem modem(places);
  MeasureSerial(modem, places, "masked");
  {
    const AllocationCount count;
    for (int i = 0; i < kCounted; ++i) modem.Exchange();
    printf("service allocations %.2f\n", static_cast<double>(count.value()) / kCounted);
  }
  const int mask = setlogmask(LOG_UPTO(LOG_DEBUG));
  MeasureSerial(modem, places, "syslog");
  {
    const LogReader reader;
    MeasureSerial(modem, places, "reader");
  }
  setlogmask(mask);
}

}  // namespace kor::bench
