// SPDX-License-Identifier: Apache-2.0
#include "kwwand/wire/own_methods.h"

#include <unistd.h>

#include <chrono>

#include "kwwand/wire/json_rpc.h"

namespace kor::host {

namespace {

void TakesNothing(const Request& request) {
  if (request.params.empty()) return;
  throw NotKnown(kInvalidParams, "argument", request.params.begin().key(), std::nullopt);
}

}  // namespace

Methods MakeOwnMethods() {
  const auto start = std::chrono::steady_clock::now();
  const auto version = [start](const Request& request) -> Json {
    TakesNothing(request);
    const auto uptime = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - start);
    return {{"kwwand", KWWAN_VERSION}, {"library", KWWAN_VERSION}, {"pid", getpid()}, {"uptime_s", uptime.count()}};
  };
  const auto monitor = [](const Request& request) {
    TakesNothing(request);
    return Json::object();
  };
  return {{"host.version", Access::kRead, Lane::kShort, version},
          {kMonitorStart, Access::kRead, Lane::kShort, monitor}};
}

}  // namespace kor::host
