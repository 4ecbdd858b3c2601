// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <string>
#include <utility>

namespace kor::wwan {

// Logs, as an error, that the `what` of command `name` threw `text`.
void LogThrown(const char* what, const char* name, const char* text);

// Runs a client's callable on the service thread: what it throws is logged and goes no further.
template <typename Call>
void RunClientCode(const char* what, const std::string& name, Call&& call) {
  try {
    std::forward<Call>(call)();
  } catch (const std::exception& e) {
    LogThrown(what, name.c_str(), e.what());
  } catch (...) {
    LogThrown(what, name.c_str(), "something that is no exception");
  }
}

}  // namespace kor::wwan
