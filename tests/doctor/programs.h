// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "kwwand/wire/method.h"
#include "support/files.h"
#include "support/wait.h"

namespace kor::test {

using kor::host::Json;

// What a command line writes to standard output.
inline std::string Output(const std::string& command) {
  FILE* out = popen(command.c_str(), "r");
  std::string text;
  for (int c = fgetc(out); c != EOF; c = fgetc(out)) text += static_cast<char>(c);
  pclose(out);
  return text;
}

inline std::string Ctl(const std::string& words) { return Output(std::string(KWWANCTL) + " --json " + words); }

// Until the host serves names.
inline void AwaitHost() {
  ASSERT_TRUE(Eventually([] { return Json::parse(Ctl("dns show")).value("running", false); }));
}

// Starts a host in the background, which ends with the sandbox.
inline void StartHost() {
  Shell(KWWAND " --daemon --pid-file /run/kwwand.pid");
  AwaitHost();
}

}  // namespace kor::test
