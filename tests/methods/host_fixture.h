// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "kwwand/methods/registry.h"
#include "simulator/sim_modem.h"
#include "support/wait.h"

namespace kor::test {

using kor::host::Json;

// A host without a server, over the simulated modem.
class HostTest : public testing::Test {
 protected:
  HostTest() {
    core->Start();
    methods = MakeMethods(core);
  }

  // The result of a method or {"error":{"code","message","data"}}.
  Json Call(const std::string& name, const std::string& params = "{}", std::vector<Json>* steps = nullptr) {
    kor::host::Request request{Json::parse(params), 0, nullptr, may};
    if (steps != nullptr) request.progress = [steps](const Json& step) { steps->push_back(step); };
    for (const auto& method : methods) {
      if (method.name != name) continue;
      try {
        return method.run(request);
      } catch (const kor::host::RequestError& e) {
        return {{"error", {{"code", e.code()}, {"message", e.what()}, {"data", e.data()}}}};
      }
    }
    return "no such method";
  }

  // The code of the error that a method ends with; 0 without one.
  int ErrorOf(const std::string& name, const std::string& params = "{}") {
    const Json answer = Call(name, params);
    return answer.contains("error") ? answer["error"]["code"].get<int>() : 0;
  }

  std::string StateOf(int index, const std::string& family) {
    const Json policy = Call("call.show", "{\"index\":" + std::to_string(index) + "}");
    return policy["calls"][family]["state"];
  }

  // The events of that name so far.
  std::vector<Json> Heard(const std::string& name) {
    const std::lock_guard<std::mutex> lock(mutex);
    std::vector<Json> found;
    for (const Json& event : events) {
      if (event["name"] == name) found.push_back(event);
    }
    return found;
  }

  kor::host::Access may = kor::host::Access::kRun;  // Of the one who calls.
  kor::modem::SimModem& modem = kor::modem::SimModem::Get();
  std::mutex mutex;
  std::vector<Json> events;                                    // Guarded by mutex.
  const int backoff = setenv("KWWAN_BACKOFF_MS", "10 80", 1);  // Before there is a router.
  const std::shared_ptr<kor::host::Core> core =
      std::make_shared<kor::host::Core>(kor::host::Core::Options{}, [this](const Json& event) {
        const std::lock_guard<std::mutex> lock(mutex);
        events.push_back(event);
      });
  kor::host::Methods methods;
};

}  // namespace kor::test
