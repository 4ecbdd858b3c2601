// SPDX-License-Identifier: Apache-2.0
#include "kutil/link_names.h"

#include <utility>

namespace kor::util {

std::vector<std::string> LinkNames::Learn(const RouteMessage& message) {
  using Kind = RouteMessage::Kind;
  const auto known = names_.find(message.index);
  const std::string before = known == names_.end() ? std::string() : known->second;
  const std::string& now = message.name.empty() ? before : message.name;
  if (message.kind == Kind::kLinkGone) names_.erase(message.index);
  if (message.kind == Kind::kLink && !now.empty()) names_[message.index] = now;

  std::vector<std::string> concerned;
  if (!now.empty()) concerned.push_back(now);
  if (!before.empty() && before != now) concerned.push_back(before);
  return concerned;
}

std::set<std::string> LinkNames::Replace(std::map<int, std::string> links) {
  std::set<std::string> all;
  for (const auto& [index, name] : names_) all.insert(name);
  for (const auto& [index, name] : links) all.insert(name);
  names_ = std::move(links);
  return all;
}

}  // namespace kor::util
