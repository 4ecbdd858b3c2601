// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/command_error.h"

namespace kor::ctl {

CommandError NotUnderstood(const std::string& why) {
  constexpr size_t kShown = 200;
  return {kErrorFailure, "the host's answer is not understood: " + why.substr(0, kShown)};
}

CommandError UsageError(const std::string& argument, const std::string& takes, const std::string& given,
                        const std::string& nearest) {
  Json data{{"argument", argument}, {"takes", takes}};
  if (!nearest.empty()) data["nearest"] = nearest;
  const std::string found = given.empty() ? "; none given" : ", not \"" + given + '"';
  return {kErrorUsage, argument + ": takes " + takes + found, data};
}

ExitStatus StatusOf(const CommandError& error) {
  switch (error.code()) {
    case kErrorTimeout:
      return kTimedOut;
    case kErrorUnsupported:
      return kUnsupported;
    case kErrorUsage:
      return kUsage;
    case kErrorUnreachable:
    case kErrorShuttingDown:
      return kUnreachable;
    default:
      return kFailed;
  }
}

Json ToJson(const CommandError& error) {
  Json json{{"code", error.code()}, {"message", error.what()}};
  if (!error.data().is_null()) json["data"] = error.data();
  return json;
}

}  // namespace kor::ctl
