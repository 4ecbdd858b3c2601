// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>

#include "common/catch_all.h"
#include "common/log.h"

namespace kor::wwan {

// Logs, as an error, that the `what` of `name` threw `text`.
inline void LogThrown(const char* what, const char* name, const char* text) {
  KOR_LOG(LOG_ERR, "%s of %s threw: %s\n", what, name, text);
}

// Runs on the service thread what may throw, a client's callable above all: that is logged and goes no further. True
// when nothing was thrown.
template <typename Call>
bool RunGuarded(const char* what, const std::string& name, Call&& call) {
  return kor::util::CatchAll(std::forward<Call>(call), [&](const char* text) { LogThrown(what, name.c_str(), text); });
}

}  // namespace kor::wwan
