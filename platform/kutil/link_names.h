// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "kutil/route_message.h"

namespace kor::util {

// The links' names by index, as the messages tell them: an address's message carries only the index.
//
// Thread safety: one thread at a time.
class LinkNames {
 public:
  // Takes in what a message says and returns the names it concerns: none when the link is unknown, two (the new one
  // first) when it was renamed.
  std::vector<std::string> Learn(const RouteMessage& message);

  const std::map<int, std::string>& known() const { return names_; }

  // Starts anew from `links`. Returns every name known before or after.
  std::set<std::string> Replace(std::map<int, std::string> links);

 private:
  std::map<int, std::string> names_;
};

}  // namespace kor::util
