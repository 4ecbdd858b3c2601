// SPDX-License-Identifier: Apache-2.0
#include "simulator/recording_port.h"

#include <algorithm>
#include <type_traits>
#include <utility>

namespace kor::modem {

namespace {

using kor::util::IPFamily;
using kor::wwan::NetworkManager;

// How an argument is written: a family as 4 or 6, a text as it is, all else as a number.
template <typename T>
std::string ArgumentText(T value) {
  if constexpr (std::is_enum_v<T>) {
    return std::to_string(static_cast<std::underlying_type_t<T>>(value));
  } else {
    return std::to_string(value);
  }
}

std::string ArgumentText(IPFamily family) { return family == IPFamily::kIpv4 ? "4" : "6"; }

// A text from the host's side: cut, and of one line.
std::string ArgumentText(const std::string& text) {
  constexpr size_t kMost = 500;
  std::string cut = text.substr(0, kMost);
  for (char& c : cut) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '.';
  }
  return cut;
}

// "CLASS:STORAGE:ACTION".
std::string ArgumentText(const kor::wwan::SmsManager::RouteInfo& route) {
  return ArgumentText(route.message_class) + ":" + ArgumentText(route.storage) + ":" + ArgumentText(route.action);
}

template <typename T>
std::string ArgumentText(const std::list<T>& list) {
  std::string text;
  for (const T& item : list) text += (text.empty() ? "" : " ") + ArgumentText(item);
  return text;
}

}  // namespace

RecordingPort::RecordingPort(ModemPort& port, Faults& faults, std::chrono::milliseconds limit)
    : port_(port), faults_(faults), limit_(limit) {
  port_.AddStateReport([this](ModemState) {
    kor::util::MutexLock lock(mutex_);
    gone_.Signal();
  });
}

template <typename Ask, typename... Args>
kor::Result RecordingPort::HandOver(const char* name, const Ask& ask, const Args&... args) {
  if (!faults_.any()) return ask();
  if (faults_.recording()) faults_.Note((std::string(name) + ... + (" " + ArgumentText(args))));
  const kor::Result result = faults_.TakeFailure(name);
  return result == kor::Result::kSuccess ? ask() : result;
}

template <typename Ask, typename... Args>
kor::Result RecordingPort::RoundTrip(const char* name, const Ask& ask, const Args&... args) {
  const auto travel_and_ask = [&] {
    const kor::Result result = faults_.any() ? Travel(name) : kor::Result::kSuccess;
    return result == kor::Result::kSuccess ? ask() : result;
  };
  return HandOver(name, travel_and_ask, args...);
}

kor::Result RecordingPort::Travel(const char* name) {
  const std::chrono::milliseconds delay = faults_.DelayOf(name);
  if (delay.count() <= 0) return kor::Result::kSuccess;
  const auto end = std::chrono::steady_clock::now() + std::min(delay, limit_);
  kor::util::MutexLock lock(mutex_);
  while (port_.State() == ModemState::kReady) {
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(end - std::chrono::steady_clock::now());
    if (left.count() <= 0) return delay > limit_ ? kor::Result::kTimeout : kor::Result::kSuccess;
    (void)gone_.WaitUntil(mutex_, left.count());
  }
  gone_.Signal();
  return kor::Result::kNotReady;
}

kor::Result RecordingPort::GetModelId(std::string& model_id) {
  return RoundTrip("GetModelId", [&] { return port_.GetModelId(model_id); });
}

kor::Result RecordingPort::SetSoftwareReady() {
  return RoundTrip("SetSoftwareReady", [&] { return port_.SetSoftwareReady(); });
}

kor::Result RecordingPort::StartCall(const CallRequest& request) {
  return HandOver(
      "StartCall", [&] { return port_.StartCall(request); }, request.handle, request.family, request.profile);
}

kor::Result RecordingPort::StopCall(int32_t handle, IPFamily family, uint64_t serial) {
  return HandOver(
      "StopCall", [&] { return port_.StopCall(handle, family, serial); }, handle, family);
}

kor::Result RecordingPort::GetCalls(std::list<RunningCall>& calls) {
  return RoundTrip("GetCalls", [&] { return port_.GetCalls(calls); });
}

kor::Result RecordingPort::GetCallConfig(int32_t handle, IPFamily family, CallConfig& config) {
  return RoundTrip(
      "GetCallConfig", [&] { return port_.GetCallConfig(handle, family, config); }, handle, family);
}

kor::Result RecordingPort::GetProfile(kor::wwan::DataManager::ProfileType type, int index,
                                      kor::wwan::DataManager::ProfileSetting& setting) {
  return RoundTrip(
      "GetProfile", [&] { return port_.GetProfile(type, index, setting); }, type, index);
}

kor::Result RecordingPort::GetProfiles(std::list<kor::wwan::DataManager::ProfileInfo>& profiles) {
  return RoundTrip("GetProfiles", [&] { return port_.GetProfiles(profiles); });
}

kor::Result RecordingPort::RegisterAtNames(const std::list<std::string>& names) {
  return RoundTrip(
      "RegisterAtNames", [&] { return port_.RegisterAtNames(names); }, names);
}

kor::Result RecordingPort::AnswerAtCommand(const kor::wwan::AtManager::Command& command, bool ok,
                                           const std::string& text) {
  return RoundTrip(
      "AnswerAtCommand", [&] { return port_.AnswerAtCommand(command, ok, text); }, command.name, ok, text);
}

kor::Result RecordingPort::ShowAtText(const std::string& text) {
  return RoundTrip(
      "ShowAtText", [&] { return port_.ShowAtText(text); }, text);
}

// No PIN and no PUK is ever on the record.
kor::Result RecordingPort::SetPinLock(int pin_id, bool enable, const std::string& pin) {
  return RoundTrip(
      "SetPinLock", [&] { return port_.SetPinLock(pin_id, enable, pin); }, pin_id, enable);
}

kor::Result RecordingPort::ChangePin(int pin_id, const std::string& old_pin, const std::string& new_pin) {
  return RoundTrip(
      "ChangePin", [&] { return port_.ChangePin(pin_id, old_pin, new_pin); }, pin_id);
}

kor::Result RecordingPort::VerifyPin(int pin_id, const std::string& pin) {
  return RoundTrip(
      "VerifyPin", [&] { return port_.VerifyPin(pin_id, pin); }, pin_id);
}

kor::Result RecordingPort::UnblockPin(int pin_id, const std::string& puk, const std::string& new_pin) {
  return RoundTrip(
      "UnblockPin", [&] { return port_.UnblockPin(pin_id, puk, new_pin); }, pin_id);
}

kor::Result RecordingPort::GetPinStatus(int slot, int pin_id, PinStatus& status) {
  return RoundTrip(
      "GetPinStatus", [&] { return port_.GetPinStatus(slot, pin_id, status); }, slot, pin_id);
}

kor::Result RecordingPort::SetSimPower(int slot, bool on) {
  return RoundTrip(
      "SetSimPower", [&] { return port_.SetSimPower(slot, on); }, slot, on);
}

kor::Result RecordingPort::GetSmsRoutes(std::list<kor::wwan::SmsManager::RouteInfo>& routes) {
  return RoundTrip("GetSmsRoutes", [&] { return port_.GetSmsRoutes(routes); });
}

kor::Result RecordingPort::SetSmsRoutes(const std::list<kor::wwan::SmsManager::RouteInfo>& routes) {
  return RoundTrip(
      "SetSmsRoutes", [&] { return port_.SetSmsRoutes(routes); }, routes);
}

kor::Result RecordingPort::ModifySmsTags() {
  return HandOver("ModifySmsTags", [&] { return port_.ModifySmsTags(); });
}

kor::Result RecordingPort::AcknowledgeSms(uint32_t id) {
  return HandOver(
      "AcknowledgeSms", [&] { return port_.AcknowledgeSms(id); }, id);
}

kor::Result RecordingPort::StartScan(Answer<NetworkManager::ScanResult> answer) {
  return HandOver("StartScan", [&] { return port_.StartScan(std::move(answer)); });
}

kor::Result RecordingPort::GetSignalInfo(Answer<NetworkManager::SignalInfo> answer) {
  return HandOver("GetSignalInfo", [&] { return port_.GetSignalInfo(std::move(answer)); });
}

kor::Result RecordingPort::GetErrorRate(Answer<NetworkManager::ErrorRate> answer) {
  return HandOver("GetErrorRate", [&] { return port_.GetErrorRate(std::move(answer)); });
}

kor::Result RecordingPort::GetCellLocation(Answer<NetworkManager::CellLocationInfo> answer) {
  return HandOver("GetCellLocation", [&] { return port_.GetCellLocation(std::move(answer)); });
}

kor::Result RecordingPort::GetSystemInfo(Answer<NetworkManager::SystemInfo> answer) {
  return HandOver("GetSystemInfo", [&] { return port_.GetSystemInfo(std::move(answer)); });
}

}  // namespace kor::modem
