// SPDX-License-Identifier: Apache-2.0
// A modem that is ready and does nothing: what a test needs of a port it overrides.
#pragma once

#include "port/modem_port.h"

namespace kor::test {

class DeafPort : public kor::modem::ModemPort {
 public:
  kor::modem::ModemState State() override { return kor::modem::ModemState::kReady; }
  void AddStateReport(StateReport) override {}
  kor::Result GetModelId(std::string&) override { return kNone; }
  kor::Result SetSoftwareReady() override { return kNone; }
  void SetCallReport(CallReporter) override {}
  kor::Result StartCall(const kor::modem::CallRequest&) override { return kNone; }
  kor::Result StopCall(int32_t, kor::util::IPFamily, uint64_t) override { return kNone; }
  kor::Result GetCalls(std::list<kor::modem::RunningCall>&) override { return kNone; }
  kor::Result GetCallConfig(int32_t, kor::util::IPFamily, kor::modem::CallConfig&) override { return kNone; }
  bool IsRoaming() override { return false; }
  kor::Result GetProfile(kor::wwan::DataManager::ProfileType, int, kor::wwan::DataManager::ProfileSetting&) override {
    return kNone;
  }
  kor::Result GetProfiles(std::list<kor::wwan::DataManager::ProfileInfo>&) override { return kNone; }
  void SetAtReport(AtReport) override {}
  kor::Result RegisterAtNames(const std::list<std::string>&) override { return kNone; }
  kor::Result AnswerAtCommand(const kor::wwan::AtManager::Command&, bool, const std::string&) override { return kNone; }
  kor::Result ShowAtText(const std::string&) override { return kNone; }
  kor::Result SetPinLock(int, bool, const std::string&) override { return kNone; }
  kor::Result ChangePin(int, const std::string&, const std::string&) override { return kNone; }
  kor::Result VerifyPin(int, const std::string&) override { return kNone; }
  kor::Result UnblockPin(int, const std::string&, const std::string&) override { return kNone; }
  kor::Result GetPinStatus(int, int, kor::modem::PinStatus&) override { return kNone; }
  kor::Result SetSimPower(int, bool) override { return kNone; }
  void SetSmsReport(EventReport) override {}
  kor::Result GetSmsRoutes(std::list<kor::wwan::SmsManager::RouteInfo>&) override { return kNone; }
  kor::Result SetSmsRoutes(const std::list<kor::wwan::SmsManager::RouteInfo>&) override { return kNone; }
  kor::Result ModifySmsTags() override { return kNone; }
  kor::Result AcknowledgeSms(uint32_t) override { return kNone; }
  void SetRadioReport(EventReport) override {}
  kor::Result StartScan(Answer<kor::wwan::NetworkManager::ScanResult>) override { return kNone; }
  kor::Result GetSignalInfo(Answer<kor::wwan::NetworkManager::SignalInfo>) override { return kNone; }
  kor::Result GetErrorRate(Answer<kor::wwan::NetworkManager::ErrorRate>) override { return kNone; }
  kor::Result GetCellLocation(Answer<kor::wwan::NetworkManager::CellLocationInfo>) override { return kNone; }
  kor::Result GetSystemInfo(Answer<kor::wwan::NetworkManager::SystemInfo>) override { return kNone; }

 private:
  static constexpr kor::Result kNone = kor::Result::kNotSupported;
};

}  // namespace kor::test
