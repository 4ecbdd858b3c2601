// SPDX-License-Identifier: Apache-2.0
#include "kwwand/wire/dispatcher.h"

#include <syslog.h>
#include <unistd.h>

#include <chrono>
#include <limits>
#include <utility>

#include "common/result.h"
#include "shared/suggestions.h"

namespace kor::host {

namespace {

constexpr std::chrono::milliseconds kShortPatience{500};  // Enough for a DNS file to be written, not for a dead modem.

constexpr char kMonitorStart[] = "monitor.start";  // Its answer is followed by events.

void TakesNothing(const Request& request) {
  if (request.params.empty()) return;
  throw NotKnown(kInvalidParams, "argument", request.params.begin().key(), std::nullopt);
}

// The methods of the process itself.
Methods BuiltinMethods() {
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

// Throws nothing. The answer's line.
std::string Answer(const Method& method, const Json& id, const Request& request) {
  try {
    return FormatResult(id, method.run(request));
  } catch (const RequestError& error) {
    return FormatError(id, error);
  } catch (const std::exception& error) {
    syslog(LOG_ERR, "%s: %s", method.name.c_str(), error.what());
    return FormatError(id, RequestError(static_cast<int>(kor::Result::kFailure), error.what()));
  }
}

}  // namespace

Dispatcher::Dispatcher(Methods methods, Mailbox& mailbox)
    : mailbox_(mailbox), short_(1, std::numeric_limits<size_t>::max()), waiting_(kMaxWaiting, kMaxWaiting) {
  for (Method& method : BuiltinMethods()) methods_.emplace(method.name, std::move(method));
  for (Method& method : methods) methods_.emplace(method.name, std::move(method));
}

Dispatcher::~Dispatcher() { mailbox_.Close(); }

const Method& Dispatcher::Find(const std::string& name) const {
  const auto found = methods_.find(name);
  if (found != methods_.end()) return found->second;
  std::vector<std::string> names;
  for (const auto& known : methods_) names.push_back(known.first);
  throw NotKnown(kUnknownMethod, "method", name, kor::tools::Nearest(name, names));
}

void Dispatcher::Start(const Caller& caller, uint64_t request, RpcRequest rpc) {
  const Method& method = Find(rpc.method);
  Require(caller.access, method.access, method.name);
  if (method.access != Access::kRead) {
    syslog(LOG_INFO, "%s for user %u, process %d", method.name.c_str(), caller.peer.uid, caller.peer.pid);
  }
  const uint64_t client = caller.client;
  auto job = [this, &method, client, request, access = caller.access, id = std::move(rpc.id),
              params = std::move(rpc.params)]() mutable {
    const auto progress = [this, client, request, &id](const Json& step) {
      Json told = {{"id", id}};
      told.update(step);
      mailbox_.Post({Mail::Kind::kProgress, FormatNotification("progress", told), client, request});
    };
    std::string answer = Answer(method, id, Request{std::move(params), client, progress, access});
    mailbox_.PostAnswer({Mail::Kind::kAnswer, std::move(answer), client, request, method.name == kMonitorStart});
  };
  Workers& lane = method.lane == Lane::kWaiting ? waiting_ : short_;
  if (lane.Submit(std::move(job))) return;
  throw RequestError(kBusy, "busy: " + std::to_string(kMaxWaiting) + " requests wait already; try again later");
}

bool Dispatcher::Stop() {
  mailbox_.Close();  // Nobody fetches answers any more.
  const bool none_waits = waiting_.Stop(std::chrono::microseconds(0));
  return short_.Stop(kShortPatience) && none_waits;
}

}  // namespace kor::host
