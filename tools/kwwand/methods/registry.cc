// SPDX-License-Identifier: Apache-2.0
#include "kwwand/methods/registry.h"

#include <exception>

#include "common/result.h"

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

Methods MakeMethods(const std::shared_ptr<Core>& core) {
  Registry registry(core);
  AddHostMethods(registry);
  AddCallMethods(registry);
  AddPolicyMethods(registry);
  AddProfileMethods(registry);
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
