// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <list>
#include <string>

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
  // Both must outlive this object, which is never destroyed. `limit`: of a round trip.
  RecordingPort(ModemPort& port, Faults& faults, std::chrono::milliseconds limit = kRoundTripLimit);

  ModemState State() override { return port_.State(); }
  void AddStateReport(StateReport report) override { port_.AddStateReport(std::move(report)); }
  kor::Result GetModelId(std::string& model_id) override;
  kor::Result SetSoftwareReady() override;
  void SetCallReport(CallReporter report) override { port_.SetCallReport(std::move(report)); }
  kor::Result StartCall(const CallRequest& request) override;
  kor::Result StopCall(int32_t handle, kor::util::IPFamily family, uint64_t serial) override;
  kor::Result GetCalls(std::list<RunningCall>& calls) override;
  kor::Result GetCallConfig(int32_t handle, kor::util::IPFamily family, CallConfig& config) override;
  bool IsRoaming() override { return port_.IsRoaming(); }
  kor::Result GetProfile(kor::wwan::DataManager::ProfileType type, int index,
                         kor::wwan::DataManager::ProfileSetting& setting) override;
  kor::Result GetProfiles(std::list<kor::wwan::DataManager::ProfileInfo>& profiles) override;
  void SetAtReport(AtReport report) override { port_.SetAtReport(std::move(report)); }
  kor::Result RegisterAtNames(const std::list<std::string>& names) override;
  kor::Result AnswerAtCommand(const kor::wwan::AtManager::Command& command, bool ok, const std::string& text) override;
  kor::Result ShowAtText(const std::string& text) override;
  kor::Result SetPinLock(int pin_id, bool enable, const std::string& pin) override;
  kor::Result ChangePin(int pin_id, const std::string& old_pin, const std::string& new_pin) override;
  kor::Result VerifyPin(int pin_id, const std::string& pin) override;
  kor::Result UnblockPin(int pin_id, const std::string& puk, const std::string& new_pin) override;
  kor::Result GetPinStatus(int slot, int pin_id, PinStatus& status) override;
  kor::Result SetSimPower(int slot, bool on) override;
  void SetSmsReport(EventReport report) override { port_.SetSmsReport(std::move(report)); }
  kor::Result GetSmsRoutes(std::list<kor::wwan::SmsManager::RouteInfo>& routes) override;
  kor::Result SetSmsRoutes(const std::list<kor::wwan::SmsManager::RouteInfo>& routes) override;
  kor::Result ModifySmsTags() override;
  kor::Result AcknowledgeSms(uint32_t id) override;
  void SetRadioReport(EventReport report) override { port_.SetRadioReport(std::move(report)); }
  kor::Result StartScan(Answer<kor::wwan::NetworkManager::ScanResult> answer) override;
  kor::Result GetSignalInfo(Answer<kor::wwan::NetworkManager::SignalInfo> answer) override;
  kor::Result GetErrorRate(Answer<kor::wwan::NetworkManager::ErrorRate> answer) override;
  kor::Result GetCellLocation(Answer<kor::wwan::NetworkManager::CellLocationInfo> answer) override;
  kor::Result GetSystemInfo(Answer<kor::wwan::NetworkManager::SystemInfo> answer) override;

 private:
  // Asks the modem, unless the operation is to fail; `args` go on the record.
  template <typename Ask, typename... Args>
  kor::Result HandOver(const char* name, const Ask& ask, const Args&... args);

  // The same after the time that a round trip takes; kTimeout when that is too long, kNotReady when the modem goes.
  template <typename Ask, typename... Args>
  kor::Result RoundTrip(const char* name, const Ask& ask, const Args&... args);

  kor::Result Travel(const char* name) KOR_EXCLUDES(mutex_);

  // Constant after construction.
  ModemPort& port_;
  Faults& faults_;
  const std::chrono::milliseconds limit_;

  kor::util::Mutex mutex_{rank::kModemQueue};
  kor::util::Condition gone_;  // Signalled when the modem goes; a waiter that sees it wakes the next one.
};

}  // namespace kor::modem
