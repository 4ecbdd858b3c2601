// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <iterator>
#include <string_view>

namespace kor::test {

// What the tests use as secrets: figures and words that nothing else in a log line has.
constexpr char kPin[] = "40317295";
constexpr char kOtherPin[] = "86620413";
constexpr char kWrongPin[] = "57739168";
constexpr char kPuk[] = "12345678";  // The simulated modem's own.
constexpr char kPassword[] = "hush-9f3b51";

inline bool HoldsASecret(std::string_view text) {
  constexpr std::string_view kSecrets[] = {kPin, kOtherPin, kWrongPin, kPuk, kPassword};
  return std::any_of(std::begin(kSecrets), std::end(kSecrets),
                     [&](std::string_view secret) { return text.find(secret) != std::string_view::npos; });
}

}  // namespace kor::test
