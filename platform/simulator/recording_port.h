// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <list>
#include <string>
#include <tuple>
#include <utility>

#include "common/condition.h"
#include "common/mutex.h"
#include "port/modem_port.h"
#include "simulator/faults.h"

namespace kor::modem {

// A port in front of another one, which records its operations and makes them fail or take their time, as Faults were
// told. An operation is on the record as its name and its arguments without secrets: "StartCall 100 4 1". While nothing
// was ordered no text is made.
//
// Thread safety: as ModemPort.
class RecordingPort final : public ModemPort {
 public:
  using Routes = std::list<kor::wwan::SmsManager::RouteInfo>;

  // Both must outlive this object, which is never destroyed. `limit`: of a round trip.
  RecordingPort(ModemPort& port, Faults& faults, std::chrono::milliseconds limit = kRoundTripLimit);

  ModemState State() override { return port_.State(); }
  void AddStateReport(StateReport report) override { port_.AddStateReport(std::move(report)); }
  kor::Result GetModelId(std::string& model_id) override {
    return RoundTrip("GetModelId", std::tuple(), [&] { return port_.GetModelId(model_id); });
  }
  kor::Result SetSoftwareReady() override {
    return RoundTrip("SetSoftwareReady", std::tuple(), [&] { return port_.SetSoftwareReady(); });
  }
  void SetCallReport(CallReporter report) override { port_.SetCallReport(std::move(report)); }
  kor::Result StartCall(const CallRequest& request) override {
    return HandOver("StartCall", std::forward_as_tuple(request.handle, request.family, request.profile),
                    [&] { return port_.StartCall(request); });
  }
  kor::Result StopCall(int32_t handle, kor::util::IPFamily family, uint64_t serial) override {
    return HandOver("StopCall", std::forward_as_tuple(handle, family),
                    [&] { return port_.StopCall(handle, family, serial); });
  }
  kor::Result GetCalls(std::list<RunningCall>& calls) override {
    return RoundTrip("GetCalls", std::tuple(), [&] { return port_.GetCalls(calls); });
  }
  kor::Result GetCallConfig(int32_t handle, kor::util::IPFamily family, CallConfig& config) override {
    return RoundTrip("GetCallConfig", std::forward_as_tuple(handle, family),
                     [&] { return port_.GetCallConfig(handle, family, config); });
  }
  bool IsRoaming() override { return port_.IsRoaming(); }
  kor::Result GetProfile(kor::wwan::DataManager::ProfileType type, int index,
                         kor::wwan::DataManager::ProfileSetting& setting) override {
    return RoundTrip("GetProfile", std::forward_as_tuple(static_cast<int>(type), index),
                     [&] { return port_.GetProfile(type, index, setting); });
  }
  kor::Result GetProfiles(std::list<kor::wwan::DataManager::ProfileInfo>& profiles) override {
    return RoundTrip("GetProfiles", std::tuple(), [&] { return port_.GetProfiles(profiles); });
  }
  void SetAtReport(AtReport report) override { port_.SetAtReport(std::move(report)); }
  kor::Result RegisterAtNames(const std::list<std::string>& names) override {
    return RoundTrip("RegisterAtNames", std::forward_as_tuple(names), [&] { return port_.RegisterAtNames(names); });
  }
  kor::Result AnswerAtCommand(const kor::wwan::AtManager::Command& command, bool ok, const std::string& text) override {
    return RoundTrip("AnswerAtCommand", std::forward_as_tuple(command.name, ok, text),
                     [&] { return port_.AnswerAtCommand(command, ok, text); });
  }
  kor::Result ShowAtText(const std::string& text) override {
    return RoundTrip("ShowAtText", std::forward_as_tuple(text), [&] { return port_.ShowAtText(text); });
  }
  // No PIN and no PUK is ever on the record.
  kor::Result SetPinLock(int pin_id, bool enable, const std::string& pin) override {
    return RoundTrip("SetPinLock", std::forward_as_tuple(pin_id, enable),
                     [&] { return port_.SetPinLock(pin_id, enable, pin); });
  }
  kor::Result ChangePin(int pin_id, const std::string& old_pin, const std::string& new_pin) override {
    return RoundTrip("ChangePin", std::forward_as_tuple(pin_id),
                     [&] { return port_.ChangePin(pin_id, old_pin, new_pin); });
  }
  kor::Result VerifyPin(int pin_id, const std::string& pin) override {
    return RoundTrip("VerifyPin", std::forward_as_tuple(pin_id), [&] { return port_.VerifyPin(pin_id, pin); });
  }
  kor::Result UnblockPin(int pin_id, const std::string& puk, const std::string& new_pin) override {
    return RoundTrip("UnblockPin", std::forward_as_tuple(pin_id),
                     [&] { return port_.UnblockPin(pin_id, puk, new_pin); });
  }
  kor::Result GetPinStatus(int slot, int pin_id, PinStatus& status) override {
    return RoundTrip("GetPinStatus", std::forward_as_tuple(slot, pin_id),
                     [&] { return port_.GetPinStatus(slot, pin_id, status); });
  }
  kor::Result SetSimPower(int slot, bool on) override {
    return RoundTrip("SetSimPower", std::forward_as_tuple(slot, on), [&] { return port_.SetSimPower(slot, on); });
  }
  void SetSmsReport(EventReport report) override { port_.SetSmsReport(std::move(report)); }
  kor::Result GetSmsRoutes(Routes& routes) override {
    return RoundTrip("GetSmsRoutes", std::tuple(), [&] { return port_.GetSmsRoutes(routes); });
  }
  kor::Result SetSmsRoutes(const Routes& routes) override {
    return RoundTrip("SetSmsRoutes", std::forward_as_tuple(routes), [&] { return port_.SetSmsRoutes(routes); });
  }
  kor::Result ModifySmsTags() override {
    return HandOver("ModifySmsTags", std::tuple(), [&] { return port_.ModifySmsTags(); });
  }
  kor::Result AcknowledgeSms(uint32_t id) override {
    return HandOver("AcknowledgeSms", std::forward_as_tuple(id), [&] { return port_.AcknowledgeSms(id); });
  }
  void SetRadioReport(EventReport report) override { port_.SetRadioReport(std::move(report)); }
  kor::Result StartScan(Answer<kor::wwan::NetworkManager::ScanResult> answer) override {
    return HandOver("StartScan", std::tuple(), [&] { return port_.StartScan(std::move(answer)); });
  }
  kor::Result GetSignalInfo(Answer<kor::wwan::NetworkManager::SignalInfo> answer) override {
    return HandOver("GetSignalInfo", std::tuple(), [&] { return port_.GetSignalInfo(std::move(answer)); });
  }
  kor::Result GetErrorRate(Answer<kor::wwan::NetworkManager::ErrorRate> answer) override {
    return HandOver("GetErrorRate", std::tuple(), [&] { return port_.GetErrorRate(std::move(answer)); });
  }
  kor::Result GetCellLocation(Answer<kor::wwan::NetworkManager::CellLocationInfo> answer) override {
    return HandOver("GetCellLocation", std::tuple(), [&] { return port_.GetCellLocation(std::move(answer)); });
  }
  kor::Result GetSystemInfo(Answer<kor::wwan::NetworkManager::SystemInfo> answer) override {
    return HandOver("GetSystemInfo", std::tuple(), [&] { return port_.GetSystemInfo(std::move(answer)); });
  }

 private:
  // How an argument is written: a family as 4 or 6; a text cut, and of one line; a route as "CLASS:STORAGE:ACTION";
  // what a list holds one after the other.
  static std::string Text(int64_t number) { return std::to_string(number); }
  static std::string Text(kor::util::IPFamily family) { return family == kor::util::IPFamily::kIpv4 ? "4" : "6"; }
  static std::string Text(const std::string& text);
  static std::string Text(const Routes::value_type& route);
  template <typename T>
  static std::string Text(const std::list<T>& list) {
    std::string text;
    for (const T& item : list) text += (text.empty() ? "" : " ") + Text(item);
    return text;
  }

  // Asks the modem, unless the operation is to fail; `args` go on the record.
  template <typename Args, typename Ask>
  kor::Result HandOver(const char* name, const Args& args, const Ask& ask) {
    if (!faults_.any()) return ask();
    if (faults_.recording()) {
      faults_.Note(std::apply([&](const auto&... arg) { return (std::string(name) + ... + (" " + Text(arg))); }, args));
    }
    const kor::Result result = faults_.TakeFailure(name);
    return result == kor::Result::kSuccess ? ask() : result;
  }

  // The same after the time that a round trip takes.
  template <typename Args, typename Ask>
  kor::Result RoundTrip(const char* name, const Args& args, const Ask& ask) {
    return HandOver(name, args, [&] {
      const kor::Result result = faults_.any() ? Travel(name) : kor::Result::kSuccess;
      return result == kor::Result::kSuccess ? ask() : result;
    });
  }

  // kTimeout when the operation takes too long, kNotReady as soon as the modem goes.
  kor::Result Travel(const char* name) KOR_EXCLUDES(mutex_);

  // Constant after construction.
  ModemPort& port_;
  Faults& faults_;
  const std::chrono::milliseconds limit_;

  kor::util::Mutex mutex_{rank::kModemQueue};
  kor::util::Condition gone_;  // Signalled when the modem goes; a waiter that sees it wakes the next one.
};

}  // namespace kor::modem
