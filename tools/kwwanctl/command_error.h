// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <utility>

namespace kor::ctl {

using Json = nlohmann::ordered_json;  // Members stay in the host's order.

// What kwwanctl ends with.
enum ExitStatus : int {
  kDone = 0,
  kFailed = 1,
  kUsage = 2,         // A word of the command line is wrong, here or in the host's eyes.
  kTimedOut = 3,      // The modem, or the host, did not answer in time.
  kUnreachable = 4,   // No host, or it went away before it answered.
  kUnsupported = 16,  // Neither the library nor the modem can do that.
};

// Error codes that kwwanctl tells itself; all others are the host's (it has -32768 to -32000, and from 1 on the
// library's and the modem's).
enum ErrorCode : int {
  kErrorFailure = 1,
  kErrorTimeout = 3,
  kErrorUnsupported = 16,
  kErrorUsage = -32602,
  kErrorShuttingDown = -32002,
  kErrorUnreachable = -32003,
};

// Why a command failed: thrown anywhere in a command, told and turned into the exit status by main().
class CommandError : public std::runtime_error {
 public:
  CommandError(int code, const std::string& message, Json data = nullptr)
      : std::runtime_error(message), code_(code), data_(std::move(data)) {}

  int code() const { return code_; }
  const Json& data() const { return data_; }  // An object, or null.

 private:
  int code_;
  Json data_;
};

// The host's answer is no JSON, or not what was asked for; `why` may quote it.
CommandError NotUnderstood(const std::string& why);

// A word of the command line is wrong: "INDEX: takes a number from 0 to 254, not \"x\"". `nearest`: what was probably
// meant, or empty. An empty `given`: the word is missing.
CommandError UsageError(const std::string& argument, const std::string& takes, const std::string& given,
                        const std::string& nearest = "");

ExitStatus StatusOf(const CommandError& error);

// {"code":..,"message":..,"data":..}, as the host tells errors.
Json ToJson(const CommandError& error);

}  // namespace kor::ctl
