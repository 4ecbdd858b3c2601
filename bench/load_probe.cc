// SPDX-License-Identifier: Apache-2.0
// What loading a shared library costs a C++ host: "TIME_us RSS_kB PRIVATE_kB". The time is the processor's.
//
//   load_probe LIBRARY [LOADED_BEFORE...]    the latter are not counted: libraries that a device's hosts have anyway
#include <dlfcn.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "support.h"

namespace kor::bench {
namespace {

struct Memory {
  long rss_kb = 0;
  long private_kb = 0;
};

Memory ReadMemory() {
  Memory memory;
  std::ifstream rollup("/proc/self/smaps_rollup");
  for (std::string word; rollup >> word;) {
    long kb = 0;
    if (word == "Rss:" && rollup >> kb) memory.rss_kb = kb;
    if ((word == "Private_Clean:" || word == "Private_Dirty:") && rollup >> kb) memory.private_kb += kb;
  }
  return memory;
}

bool Load(const char* path) {
  if (dlopen(path, RTLD_LAZY | RTLD_GLOBAL) != nullptr) return true;
  fprintf(stderr, "load_probe: %s\n", dlerror());
  return false;
}

int Main(int argc, char** argv) {
  for (int i = 2; i < argc; ++i) {
    if (!Load(argv[i])) return 1;
  }
  (void)ReadMemory();  // What reading itself takes is there from now on.
  const Memory before = ReadMemory();
  const double start = ThreadCpuNs();
  if (argc < 2 || !Load(argv[1])) return 1;
  const double load_us = (ThreadCpuNs() - start) / 1e3;
  const Memory after = ReadMemory();
  printf("%.1f %ld %ld\n", load_us, after.rss_kb - before.rss_kb, after.private_kb - before.private_kb);
  return 0;
}

}  // namespace
}  // namespace kor::bench

int main(int argc, char** argv) { return kor::bench::Main(argc, argv); }
