// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>

#include "common/ip_family.h"
#include "common/result.h"
#include "port/modem_port.h"

namespace kor::vendor::qcom {

// How an argument is written in an operation's text: a family as 4, 6 or 46, a text as it is, all else as a number.
template <typename T>
std::string ArgumentText(T value) {
  if constexpr (std::is_enum_v<T>) {
    return std::to_string(static_cast<std::underlying_type_t<T>>(value));
  } else {
    return std::to_string(value);
  }
}

inline std::string ArgumentText(kor::util::IPFamily family) {
  if (family == kor::util::IPFamily::kIpv4) return "4";
  if (family == kor::util::IPFamily::kIpv6) return "6";
  if (family == kor::util::IPFamily::kBoth) return "46";
  return std::to_string(static_cast<uint32_t>(family));
}

// A text from the host's side: cut, and of one line.
inline std::string ArgumentText(const std::string& text) {
  constexpr size_t kMost = 500;
  std::string cut = text.substr(0, kMost);
  for (char& c : cut) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '.';
  }
  return cut;
}

// Asks the modem for an operation, as "ConnectBackhaul 0 4"; anything but kSuccess is the operation's result.
template <typename... Args>
kor::Result Ask(const char* name, const Args&... args) {
  return kor::modem::ModemPort::Get().Admit((std::string(name) + ... + (" " + ArgumentText(args))));
}

// The same for operations that only know yes and no.
template <typename... Args>
bool Admitted(const char* name, const Args&... args) {
  return Ask(name, args...) == kor::Result::kSuccess;
}

}  // namespace kor::vendor::qcom
