// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/secret_watch.h"

int main(int argc, char** argv) {
  const char* sandbox = getenv("KWWAN_SANDBOX");
  if (sandbox == nullptr || strcmp(sandbox, "1") != 0) {
    fprintf(stderr,
            "%s uses /etc/resolv.conf, /data and /var/run. All its tests, each in a sandbox of its own: ctest. One:\n"
            "  script/sandbox -- %s --gtest_filter=SUITE.TEST\n",
            argv[0], argv[0]);
    return 1;
  }
  kor::test::SecretWatch watch;                          // First: the process has one thread yet.
  testing::FLAGS_gtest_death_test_style = "threadsafe";  // A fork alone would take no other thread along.
  testing::InitGoogleTest(&argc, argv);
  const int status = RUN_ALL_TESTS();
  return watch.End() ? status : 1;
}
