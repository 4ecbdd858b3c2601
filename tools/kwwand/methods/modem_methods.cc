// SPDX-License-Identifier: Apache-2.0
// modem.run: the simulated modem's scenario commands.
#include "kwwand/methods/params.h"
#include "kwwand/methods/registry.h"
#include "modem/scenario.h"

namespace kor::host {

namespace {

constexpr size_t kMaxLine = 4096;

Json Run(Core&, const Request& request) {
  const Params params(request, {"line"});
  const auto reply = kor::modem::RunScenarioLine(kor::modem::SimModem::Get(), params.Text("line", kMaxLine));
  if (!reply.ok) throw RequestError(static_cast<int>(kor::Result::kFailure), reply.text);
  return {{"text", reply.text}};
}

}  // namespace

void AddModemMethods(Registry& registry) { registry.Change("modem.run", Run, Lane::kWaiting); }

}  // namespace kor::host
