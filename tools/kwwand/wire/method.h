// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace kor::host {

using Json = nlohmann::ordered_json;  // Members come in the order in which they were written.

// Error codes of answers: JSON-RPC 2.0's, the host's own below -32000, and from 1 on libkwwan's results or the modem's.
enum ErrorCode : int {
  kParseError = -32700,
  kInvalidRequest = -32600,
  kUnknownMethod = -32601,
  kInvalidParams = -32602,
  kNotPermitted = -32000,
  kBusy = -32001,
  kShuttingDown = -32002,
};

// What a method throws instead of a result; the message is one sentence for a person.
class RequestError : public std::runtime_error {
 public:
  RequestError(int code, const std::string& message, Json data = nullptr)
      : std::runtime_error(message), code_(code), data_(std::move(data)) {}

  int code() const { return code_; }
  const Json& data() const { return data_; }  // Null when there is nothing to add.

 private:
  int code_;
  Json data_;
};

// What a client may do; each includes those before it. To have commands run is to be the host's user.
enum class Access { kRead, kChange, kRun };

// One request as a method sees it. `client` and `progress` may be used until the method returns.
struct Request {
  Json params;                                // Always an object.
  uint64_t client = 0;                        // Names the connection for its life; never used again.
  std::function<void(const Json&)> progress;  // Sends {"step":...} to the client at once; never blocks.
  Access access = Access::kRead;              // What its client may do.
};

// Throws RequestError when `held` is less than what `what` takes: "call.up", "at.claim with run".
inline void Require(Access held, Access wanted, const std::string& what) {
  if (held >= wanted) return;
  throw RequestError(kNotPermitted,
                     what + (wanted == Access::kRun ? " runs a command: only root, kwwand's own user and members "
                                                      "of its --run-group may"
                                                    : " changes settings: only root, kwwand's own user and members "
                                                      "of its --group or --run-group may"));
}

// Which thread runs it: the one that runs all short methods one after another, or one of those that may wait.
enum class Lane { kShort, kWaiting };

struct Method {
  std::string name;  // "call.up"
  Access access = Access::kRead;
  Lane lane = Lane::kShort;
  std::function<Json(const Request&)> run;
};

using Methods = std::vector<Method>;

}  // namespace kor::host
