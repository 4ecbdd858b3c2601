// SPDX-License-Identifier: Apache-2.0
// The words of a scenario line, taken for each kind of argument: what reaches the modem is in range, and a refusal says
// why.
#include <arpa/inet.h>

#include <cstdint>
#include <string>

#include "require.h"
#include "simulator/scenario_arguments.h"
#include "simulator/scenario_words.h"

namespace {

using kor::modem::Arguments;
using kor::util::IPFamily;

// The first argument, taken by `take`, is one that is `good`, or refused.
template <typename Take, typename Good>
void Check(const std::vector<std::string>& words, Take take, Good good) {
  Arguments arguments(words);
  const auto value = take(arguments);
  arguments.End();
  kor::fuzz::Require(!arguments.error().empty() || good(value), "what is taken is in range");
}

bool IsServer(const std::string& text, IPFamily family) {
  in6_addr address;
  return text.empty() || inet_pton(family == IPFamily::kIpv4 ? AF_INET : AF_INET6, text.c_str(), &address) == 1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const auto words = kor::modem::SplitWords({reinterpret_cast<const char*>(bytes), size});
  if (!words || words->empty()) return 0;
  const auto up_to = [](int64_t most) { return [most](int64_t number) { return 0 <= number && number <= most; }; };
  Check(
      *words, [](auto& a) { return a.Count("N"); }, up_to(1'000'000));
  Check(
      *words, [](auto& a) { return a.template Choice<int>("N", "on off"); }, up_to(1));
  Check(
      *words, [](auto& a) { return a.Handle("N"); }, up_to(INT32_MAX));
  Check(
      *words, [](auto& a) { return static_cast<int>(a.Failure("N")) - 1; }, up_to(65534));
  Check(
      *words, [](auto& a) { return static_cast<int>(a.Family("N")) - 1; }, up_to(1));
  for (const IPFamily family : {IPFamily::kIpv4, IPFamily::kIpv6}) {
    Check(
        *words, [=](auto& a) { return a.Server("N", family); }, [=](auto& text) { return IsServer(text, family); });
  }
  Check(
      *words, [](auto& a) { return a.Operation("N"); },
      [](auto& text) { return !text.empty() && text.find_first_of(" \t\r\n\"#/") == std::string::npos; });
  Check(
      *words, [](auto& a) { return a.Line("N"); }, [](auto& text) { return !text.empty(); });
  return 0;
}
