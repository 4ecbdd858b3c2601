// SPDX-License-Identifier: Apache-2.0
#include "kwwand/host/results.h"

#include "kwwand/wire/method.h"
#include "wwan/device_manager.h"

namespace kor::host {

namespace {

using kor::wwan::DeviceManager;

struct Meaning {
  kor::Result result;
  const char* text;
};

constexpr Meaning kMeanings[] = {
    {kor::Result::kSuccess, "done"},
    {kor::Result::kFailure, "the modem refused or does not answer"},
    {kor::Result::kTimeout, "no answer came in time"},
    {kor::Result::kPreconditionFailed, "the state that this needs is not there"},
    {kor::Result::kNotSupported, "not supported"},
    {kor::Result::kNotReady, "not ready yet"},
    {DeviceManager::kPinBlocked, "the PIN is blocked, the PUK is wanted"},
    {DeviceManager::kPinPermanentlyBlocked, "the PIN is blocked for good"},
    {DeviceManager::kPinIncorrect, "the PIN is wrong"},
    {DeviceManager::kSimNotReady, "the SIM card is not there or not ready"},
};

}  // namespace

std::string ResultText(kor::Result result) {
  for (const Meaning& meaning : kMeanings) {
    if (meaning.result == result) return meaning.text;
  }
  return "the modem refused with its code " + std::to_string(static_cast<int>(result));
}

void Check(kor::Result result, const std::string& what) {
  if (result == kor::Result::kSuccess) return;
  throw RequestError(static_cast<int>(result), what.empty() ? ResultText(result) : what + ": " + ResultText(result));
}

void Check(bool done, const std::string& what) { Check(done ? kor::Result::kSuccess : kor::Result::kFailure, what); }

}  // namespace kor::host
