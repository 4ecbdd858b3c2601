// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <list>
#include <string>

#include "at/at_modem.h"
#include "port/event_thread.h"
#include "port/modem_port.h"
#include "simulator/at_answers.h"
#include "simulator/calls.h"
#include "simulator/faults.h"
#include "simulator/identity.h"
#include "simulator/links.h"
#include "simulator/profiles.h"
#include "simulator/radio.h"
#include "simulator/sim_card.h"
#include "simulator/sms.h"

namespace kor::modem {

// The simulated modem as a whole: the port that the vendor clients talk to, and the pieces that SimModem sets.
//
// Thread safety: as ModemPort; each piece locks for itself. Never destroyed.
class Simulation final : public ModemPort {
 public:
  static Simulation& Get();

  kor::Result Admit(const std::string& operation) override { return faults.Admit(operation); }
  void SetCallReport(CallReport report) override { calls.SetReport(std::move(report)); }
  kor::Result StartCall(const CallRequest& request) override {
    return profiles.Serves(request.profile, request.family) ? calls.Start(request) : kor::Result::kFailure;
  }
  kor::Result StopCall(int32_t handle, kor::util::IPFamily family, uint64_t serial) override {
    return calls.Stop(handle, family, serial);
  }
  kor::Result GetCallConfig(int32_t handle, kor::util::IPFamily family, CallConfig& config) override {
    return calls.GetConfig(handle, family, config);
  }
  bool IsRoaming() override { return radio.IsRoaming(); }
  kor::Result GetProfile(kor::wwan::DataManager::ProfileType type, int index,
                         kor::wwan::DataManager::ProfileSetting& setting) override {
    return profiles.Get(type, index, setting);
  }
  kor::Result GetProfiles(std::list<kor::wwan::DataManager::ProfileInfo>& list) override {
    list = profiles.List();
    return kor::Result::kSuccess;
  }
  void SetAtReport(AtReport report) override { at.SetReport(std::move(report)); }
  kor::Result RegisterAtNames(const std::list<std::string>& names) override {
    at.RegisterNames(names);
    return kor::Result::kSuccess;
  }
  kor::Result AnswerAtCommand(const AtCommand& command, bool ok, const std::string& text) override {
    return at.Answer(command, ok, text);
  }
  kor::Result ShowAtText(const std::string& text) override {
    at.Notify(text);
    return kor::Result::kSuccess;
  }
  kor::Result SetSoftwareReady() override {
    software_ready = true;
    return kor::Result::kSuccess;
  }
  kor::Result GetModelId(std::string& model_id) override {
    model_id = kModel;
    return kor::Result::kSuccess;
  }
  kor::Result SetPinLock(int pin_id, bool enable, const std::string& pin) override {
    return sim.SetPinLock(pin_id, enable, pin);
  }
  kor::Result ChangePin(int pin_id, const std::string& old_pin, const std::string& new_pin) override {
    return sim.ChangePin(pin_id, old_pin, new_pin);
  }
  kor::Result GetPinStatus() override { return sim.GetPinStatus(); }
  kor::Result SetSimPower(int slot, bool on) override { return sim.SetPower(slot, on); }
  void SetSmsReport(EventReport report) override { sms.SetReport(std::move(report)); }
  kor::Result GetSmsRoutes(std::list<Sms::Route>& routes) override {
    routes = sms.Routes();
    return kor::Result::kSuccess;
  }
  kor::Result SetSmsRoutes(const std::list<Sms::Route>& routes) override { return sms.SetRoutes(routes); }
  kor::Result ModifySmsTags() override {
    sms.ModifyTags();
    return kor::Result::kSuccess;
  }
  void SetRadioReport(EventReport report) override { radio.SetReport(std::move(report)); }
  kor::Result StartScan(Answer<Radio::Manager::ScanResult> answer) override {
    radio.StartScan(std::move(answer));
    return kor::Result::kSuccess;
  }
  kor::Result GetSignalInfo(Answer<Radio::Manager::SignalInfo> answer) override {
    radio.GetSignal(std::move(answer));
    return kor::Result::kSuccess;
  }
  kor::Result GetErrorRate(Answer<Radio::Manager::ErrorRate> answer) override {
    radio.GetErrorRate(std::move(answer));
    return kor::Result::kSuccess;
  }
  kor::Result GetCellLocation(Answer<Radio::Manager::CellLocationInfo> answer) override {
    radio.GetCells(std::move(answer));
    return kor::Result::kSuccess;
  }
  kor::Result GetSystemInfo(Answer<Radio::Manager::SystemInfo> answer) override {
    radio.GetSystem(std::move(answer));
    return kor::Result::kSuccess;
  }

  // To be called when the SIM or the radio has been changed: without service there are no calls.
  void ServiceChanged() {
    radio.ReportChanges();
    if (!radio.IsInService()) calls.DropAll();
  }

  Faults faults;
  Links links;
  EventThread events;
  Calls calls{events, links, faults, [this] { return radio.IsInService(); }};
  Profiles profiles;
  AtModem at{events, [this](const AtCommand& command) {
               return AnswerOf(command, radio.State(), {sim.IsStarting(), sim.GetPinStatus()});
             }};
  SimCard sim{events, [this] { ServiceChanged(); }};
  Radio radio{events, faults, [this] { return sim.IsUsable(); }};
  Sms sms{events};
  std::atomic<bool> software_ready{false};

 private:
  Simulation() = default;
};

}  // namespace kor::modem
