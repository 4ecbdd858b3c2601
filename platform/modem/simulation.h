// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <list>
#include <string>

#include "modem/calls.h"
#include "modem/event_thread.h"
#include "modem/faults.h"
#include "modem/links.h"
#include "modem/modem_port.h"
#include "modem/profiles.h"

namespace kor::modem {

// The simulated modem as a whole: the port that the vendor clients talk to, and the pieces that SimModem sets.
//
// Thread safety: as ModemPort; each piece locks for itself. Never destroyed.
class Simulation final : public ModemPort {
 public:
  static Simulation& Get();

  kor::Result Admit(const std::string& operation) override { return faults.Admit(operation); }
  void SetCallReport(CallReport report) override { calls.SetReport(std::move(report)); }
  kor::Result StartCall(const CallRequest& request) override { return calls.Start(request); }
  kor::Result StopCall(int32_t handle, kor::util::IPFamily family) override { return calls.Stop(handle, family); }
  kor::Result GetCallConfig(int32_t handle, kor::util::IPFamily family, CallConfig& config) override {
    return calls.GetConfig(handle, family, config);
  }
  bool IsRoaming() override { return roaming; }
  kor::Result GetProfile(kor::wwan::DataManager::ProfileType type, int index,
                         kor::wwan::DataManager::ProfileSetting& setting) override {
    return profiles.Get(type, index, setting);
  }
  kor::Result GetProfiles(std::list<kor::wwan::DataManager::ProfileInfo>& list) override {
    list = profiles.List();
    return kor::Result::kSuccess;
  }

  Faults faults;
  Links links;
  EventThread events;
  Calls calls{events, links, faults};
  Profiles profiles;
  std::atomic<bool> roaming{false};

 private:
  Simulation() = default;
};

}  // namespace kor::modem
