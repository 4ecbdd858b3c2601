// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <exception>

#include "kwwanctl/command_line.h"
#include "kwwanctl/commands/commands.h"
#include "shared/fd.h"

int main(int argc, char** argv) {
  using namespace kor::ctl;
  kor::tools::OpenStandardStreams();
  try {
    return RunCommandLine(
        argc, argv,
        {StatusCommand(), CallCommands(), PolicyCommands(), ProfileCommands(), DnsCommands(), AtCommands(),
         LanCommands(), VlanCommands(), PassthroughCommands(), RadioCommands(), SimCommands(), PinCommands(),
         SmsCommands(), MonitorCommand(), ModemCommand(), DeviceCommands(), DoctorCommand(), VersionCommand()});
  } catch (const std::exception& e) {
    (void)fprintf(stderr, "kwwanctl: %s\n", e.what());
    return kFailed;
  }
}
