// SPDX-License-Identifier: Apache-2.0
#include "kwwand/host/words.h"

#include <algorithm>
#include <iterator>

#include "kwwand/wire/method.h"
#include "wwan/device_manager.h"

namespace kor::host {

namespace {

using kor::wwan::DeviceManager;

constexpr kor::wwan::Tech kTechnologies[] = {kor::wwan::Tech::kUmts, kor::wwan::Tech::kLte, kor::wwan::Tech::kNr5g};
constexpr std::string_view kTechnologyTexts[] = {"umts", "lte", "nr5g"};

struct Meaning {
  kor::Result result;
  const char* text;
};

constexpr Meaning kMeanings[] = {
    {kor::Result::kSuccess, "done"},
    {kor::Result::kFailure, "the modem refused or does not answer"},
    {kor::Result::kTimeout, "no answer came in time"},
    {kor::Result::kPreconditionFailed, "not possible in the present state"},
    {kor::Result::kNotSupported, "not supported"},
    {kor::Result::kNotReady, "not ready yet"},
    {DeviceManager::kPinBlocked, "the PIN is blocked, the PUK is required"},
    {DeviceManager::kPinPermanentlyBlocked, "the PIN is permanently blocked"},
    {DeviceManager::kPinIncorrect, "the PIN is wrong"},
    {DeviceManager::kSimNotReady, "the SIM card is absent or not ready"},
};

}  // namespace

std::string TechnologyText(kor::wwan::Tech technology) {
  if (technology == kor::wwan::Tech::kAny) return "any";
  std::string text;
  for (size_t i = 0; i < std::size(kTechnologies); ++i) {
    if ((static_cast<uint32_t>(technology) & static_cast<uint32_t>(kTechnologies[i])) == 0) continue;
    text.append(text.empty() ? "" : "+").append(kTechnologyTexts[i]);
  }
  return text.empty() ? "unknown" : text;
}

std::optional<kor::wwan::Tech> ParseTechnology(std::string_view text) {
  if (text == "any") return kor::wwan::Tech::kAny;
  uint32_t bits = 0;
  for (bool more = true; more;) {
    const size_t plus = text.find('+');
    more = plus != std::string_view::npos;
    const auto* const found = std::find(std::begin(kTechnologyTexts), std::end(kTechnologyTexts), text.substr(0, plus));
    if (found == std::end(kTechnologyTexts)) return std::nullopt;
    bits |= static_cast<uint32_t>(kTechnologies[found - std::begin(kTechnologyTexts)]);
    if (more) text.remove_prefix(plus + 1);
  }
  return static_cast<kor::wwan::Tech>(bits);
}

std::string ResultText(kor::Result result) {
  for (const Meaning& meaning : kMeanings) {
    if (meaning.result == result) return meaning.text;
  }
  return "the modem refused with code " + std::to_string(static_cast<int>(result));
}

void Check(kor::Result result, const std::string& what) {
  if (result == kor::Result::kSuccess) return;
  throw RequestError(static_cast<int>(result), what.empty() ? ResultText(result) : what + ": " + ResultText(result));
}

void Check(bool done, const std::string& what) { Check(done ? kor::Result::kSuccess : kor::Result::kFailure, what); }

}  // namespace kor::host
