// SPDX-License-Identifier: Apache-2.0
#include "kwwand/host/host.h"

#include <exception>
#include <utility>

#include "common/result.h"
#include "kwwand/host/core.h"
#include "kwwand/methods/registry.h"

namespace kor::host {

void Registry::Add(const char* name, Access access, Lane lane, Function function) {
  const auto run = [core = core_, function, what = std::string(name)](const Request& request) {
    // The method itself may be destroyed while it runs.
    const std::shared_ptr<Core> held = core;  // NOLINT(performance-unnecessary-copy-initialization)
    try {
      return function(*held, request);
    } catch (const RequestError&) {
      throw;
    } catch (const std::exception& e) {
      throw RequestError(static_cast<int>(kor::Result::kFailure), what + ": " + e.what());
    }
  };
  methods_.push_back({name, access, lane, run});
}

Host::Host(Options options, std::function<void(const Json& event)> sink)
    : core_(std::make_shared<Core>(options, std::move(sink))) {}

Host::~Host() { Stop(); }

bool Host::Start(std::string& why) {
  try {
    core_->Start();
    return true;
  } catch (const std::exception& e) {
    why = std::string("the modem cannot be reached: ") + e.what();
    return false;
  }
}

void Host::Stop() { core_->Stop(); }

Methods Host::MakeMethods() {
  Registry registry(core_);
  AddHostMethods(registry);
  AddCallMethods(registry);
  AddPolicyMethods(registry);
  AddProfileMethods(registry);
  AddDnsMethods(registry);
  AddAtMethods(registry);
  AddLanMethods(registry);
  AddVlanMethods(registry);
  AddRadioMethods(registry);
  AddSimMethods(registry);
  AddSmsMethods(registry);
  AddModemMethods(registry);
  return registry.Take();
}

}  // namespace kor::host
