// SPDX-License-Identifier: Apache-2.0
// handoff_bench [one|two]: what it costs to hand work to another thread on the same processor (one) or another (two).
#include <syslog.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "handoff.h"
#include "support.h"

namespace kor::bench {
namespace {

int Main(const char* mode) {
  const std::vector<int> cpus = AllowedCpus();
  const bool two = strcmp(mode, "two") == 0;
  if (!two && strcmp(mode, "one") != 0) {
    fprintf(stderr, "usage: handoff_bench [one|two]\n");
    return 2;
  }
  if (getenv("KWWAN_SANDBOX") == nullptr) {
    fprintf(stderr, "handoff_bench: start it by script/sandbox, which has a /dev/log and a /dev/kmsg of its own\n");
    return 2;
  }
  if (two && cpus.size() < 2) {
    printf("handoff skipped: one processor only\n");
    return 0;
  }
  openlog("kwwan_bench", LOG_NDELAY, LOG_USER);
  setlogmask(LOG_UPTO(LOG_INFO));  // As hosts do; the service is measured without it too.
  const Places places{cpus[0], two ? cpus[1] : cpus[0]};
  MeasureQueue(places);
  MeasureService(places);
  MeasureConnect(places);
  return 0;
}

}  // namespace
}  // namespace kor::bench

int main(int argc, char** argv) { return kor::bench::Main(argc > 1 ? argv[1] : "one"); }
