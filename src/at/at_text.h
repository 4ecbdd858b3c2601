// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "wwan/at_manager.h"

namespace kor::wwan {

// The command as it was typed, as far as that is known: "AT+NAME=1,2".
std::string CommandText(const AtManager::Command& cmd);

// What goes to the terminal before the final result: information text or "+CME ERROR: ...", with its line feed, or
// nothing.
std::string ResponseText(const AtManager::Command& cmd, const AtManager::CmdResponse& resp);

}  // namespace kor::wwan
