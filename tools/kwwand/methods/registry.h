// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "kwwand/host/core.h"
#include "kwwand/wire/method.h"

namespace kor::host {

// Adds methods over one core. A method holds the core while it runs; what else than RequestError the library throws
// becomes one, with the code of kor::Result::kFailure.
class Registry {
 public:
  using Function = Json (*)(Core& core, const Request& request);

  explicit Registry(std::shared_ptr<Core> core) : core_(std::move(core)) {}

  void Read(const char* name, Function function, Lane lane = Lane::kShort) { Add(name, Access::kRead, lane, function); }
  void Change(const char* name, Function function, Lane lane = Lane::kShort) {
    Add(name, Access::kChange, lane, function);
  }

  Methods Take() { return std::move(methods_); }

 private:
  void Add(const char* name, Access access, Lane lane, Function function);

  const std::shared_ptr<Core> core_;
  Methods methods_;
};

// Every method but host.version and monitor.start. Requires: none runs before the core's Start() has returned.
Methods MakeMethods(const std::shared_ptr<Core>& core);

// Each method file adds the methods of its group.
void AddAtMethods(Registry& registry);
void AddCallMethods(Registry& registry);
void AddHostMethods(Registry& registry);  // And the DNS service's.
void AddLanMethods(Registry& registry);
void AddModemMethods(Registry& registry);
void AddPolicyMethods(Registry& registry);
void AddProfileMethods(Registry& registry);
void AddRadioMethods(Registry& registry);
void AddSimMethods(Registry& registry);  // And the PIN's.
void AddSmsMethods(Registry& registry);
void AddVlanMethods(Registry& registry);  // And IP passthrough's.

}  // namespace kor::host
