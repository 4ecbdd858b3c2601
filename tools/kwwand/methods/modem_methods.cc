// SPDX-License-Identifier: Apache-2.0
// modem.run: the simulated modem's scenario commands.
#include <dlfcn.h>

#include "kwwand/methods/params.h"
#include "kwwand/methods/registry.h"
#include "kwwand/methods/simulated_modem.h"
#include "wwan/data_manager.h"

namespace kor::host {

namespace {

constexpr size_t kMaxLine = 4096;
constexpr char kNotSimulated[] = "not supported: the modem is not a simulated one";

// As the simulated modem's scenario.h has both entries: true with what there is to say, or false with what is wrong.
using Entry = bool (*)(const char* text, std::string& reply);

// Null when the backend has none.
Entry Find(const char* name) {
  void* entry = dlsym(RTLD_DEFAULT, name);
  if (entry == nullptr) {
    const kor::wwan::DataManager opened;  // The modem is opened by its first user.
    entry = dlsym(RTLD_DEFAULT, name);
  }
  return reinterpret_cast<Entry>(entry);
}

Json Run(Core&, const Request& request) {
  const Params params(request, {"line"});
  return {{"text", RunModemLine(params.Text("line", kMaxLine))}};
}

}  // namespace

std::string RunModemLine(const std::string& line) {
  const Entry run = Find("kwwan_modem_command");
  if (run == nullptr) throw RequestError(static_cast<int>(kor::Result::kNotSupported), kNotSimulated);
  std::string reply;
  if (!run(line.c_str(), reply)) throw RequestError(static_cast<int>(kor::Result::kFailure), reply);
  return reply;
}

void RunModemScenario(const std::string& path) {
  const Entry run = Find("kwwan_modem_scenario");
  std::string error = kNotSimulated;
  if (run == nullptr || !run(path.c_str(), error)) throw std::runtime_error("--scenario: " + error);
}

void AddModemMethods(Registry& registry) { registry.Change("modem.run", Run, Lane::kWaiting); }

}  // namespace kor::host
