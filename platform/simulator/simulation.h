// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <list>
#include <string>
#include <type_traits>

#include "at/at_modem.h"
#include "port/event_thread.h"
#include "port/modem_port.h"
#include "simulator/at_answers.h"
#include "simulator/calls.h"
#include "simulator/faults.h"
#include "simulator/identity.h"
#include "simulator/links.h"
#include "simulator/presence.h"
#include "simulator/profiles.h"
#include "simulator/radio.h"
#include "simulator/sim_card.h"
#include "simulator/sms.h"

namespace kor::modem {

// The simulated modem as a whole: the port that the vendor clients talk to, and the pieces that SimModem sets. It
// answers round trips at once; RecordingPort stands in front of it.
//
// Thread safety: as ModemPort; each piece locks for itself. Never destroyed.
class Simulation final : public ModemPort {
 public:
  static Simulation& Get();

  ModemState State() override { return presence.State(); }
  void AddStateReport(StateReport report) override { presence.AddReport(std::move(report)); }
  kor::Result GetModelId(std::string& model_id) override {
    return Ready([&] { model_id = kModel; });
  }
  kor::Result SetSoftwareReady() override {
    return Ready([&] { software_ready = true; });
  }
  void SetCallReport(CallReporter report) override { calls.SetReport(std::move(report)); }
  kor::Result StartCall(const CallRequest& request) override {
    return Ready([&] {
      const bool served = profiles.Serves(request.profile, request.family) && radio.Serves(request.tech);
      return served ? calls.Start(request) : kor::Result::kFailure;
    });
  }
  kor::Result StopCall(int32_t handle, kor::util::IPFamily family, uint64_t serial) override {
    return Ready([&] { return calls.Stop(handle, family, serial); });
  }
  kor::Result GetCalls(std::list<RunningCall>& list) override {
    return Ready([&] { list = calls.List(); });
  }
  kor::Result GetCallConfig(int32_t handle, kor::util::IPFamily family, CallConfig& config) override {
    return Ready([&] { return calls.GetConfig(handle, family, config); });
  }
  bool IsRoaming() override { return radio.IsRoaming(); }
  kor::Result GetProfile(kor::wwan::DataManager::ProfileType type, int index,
                         kor::wwan::DataManager::ProfileSetting& setting) override {
    return Ready([&] { return profiles.Get(type, index, setting); });
  }
  kor::Result GetProfiles(std::list<kor::wwan::DataManager::ProfileInfo>& list) override {
    return Ready([&] { list = profiles.List(); });
  }
  void SetAtReport(AtReport report) override { at.SetReport(std::move(report)); }
  kor::Result RegisterAtNames(const std::list<std::string>& names) override {
    return Ready([&] { at.RegisterNames(names); });
  }
  kor::Result AnswerAtCommand(const AtCommand& command, bool ok, const std::string& text) override {
    return Ready([&] { return at.Answer(command, ok, text); });
  }
  kor::Result ShowAtText(const std::string& text) override {
    return Ready([&] { at.Notify(text); });
  }
  kor::Result SetPinLock(int pin_id, bool enable, const std::string& pin) override {
    return Ready([&] { return sim.SetPinLock(pin_id, enable, pin); });
  }
  kor::Result ChangePin(int pin_id, const std::string& old_pin, const std::string& new_pin) override {
    return Ready([&] { return sim.ChangePin(pin_id, old_pin, new_pin); });
  }
  kor::Result VerifyPin(int pin_id, const std::string& pin) override {
    return Ready([&] { return sim.VerifyPin(pin_id, pin); });
  }
  kor::Result UnblockPin(int pin_id, const std::string& puk, const std::string& new_pin) override {
    return Ready([&] { return sim.UnblockPin(pin_id, puk, new_pin); });
  }
  kor::Result GetPinStatus(int slot, int pin_id, PinStatus& status) override {
    return Ready([&] { return sim.GetPinStatus(slot, pin_id, status); });
  }
  kor::Result SetSimPower(int slot, bool on) override {
    return Ready([&] { return sim.SetPower(slot, on); });
  }
  void SetSmsReport(EventReport report) override { sms.SetReport(std::move(report)); }
  kor::Result GetSmsRoutes(std::list<Sms::Route>& routes) override {
    return Ready([&] { routes = sms.Routes(); });
  }
  kor::Result SetSmsRoutes(const std::list<Sms::Route>& routes) override {
    return Ready([&] { return sms.SetRoutes(routes); });
  }
  kor::Result ModifySmsTags() override {
    return Ready([&] { sms.ModifyTags(); });
  }
  kor::Result AcknowledgeSms(uint32_t id) override {
    return Ready([&] { return sms.Acknowledge(id); });
  }
  void SetRadioReport(EventReport report) override { radio.SetReport(std::move(report)); }
  kor::Result StartScan(Answer<Radio::Manager::ScanResult> answer) override {
    return Ready([&] { radio.StartScan(std::move(answer)); });
  }
  kor::Result GetSignalInfo(Answer<Radio::Manager::SignalInfo> answer) override {
    return Ready([&] { radio.GetSignal(std::move(answer)); });
  }
  kor::Result GetErrorRate(Answer<Radio::Manager::ErrorRate> answer) override {
    return Ready([&] { radio.GetErrorRate(std::move(answer)); });
  }
  kor::Result GetCellLocation(Answer<Radio::Manager::CellLocationInfo> answer) override {
    return Ready([&] { radio.GetCells(std::move(answer)); });
  }
  kor::Result GetSystemInfo(Answer<Radio::Manager::SystemInfo> answer) override {
    return Ready([&] { radio.GetSystem(std::move(answer)); });
  }

  // Whether there can be calls.
  bool IsInService() { return presence.IsReady() && radio.IsInService(); }

  // To be called when the SIM or the radio has been changed: without service there are no calls.
  void ServiceChanged();

  // The modem goes, and all that was going on in it ends at once. True when it was there.
  bool Leave();

  // It comes back, and is ready after `delay`.
  void Return(std::chrono::milliseconds delay) { presence.Return(delay); }

  Faults faults;
  Links links;
  EventThread events;
  Presence presence{events};
  Calls calls{events, links, faults, [this] { return IsInService(); }};
  Profiles profiles;
  AtModem at{events, [this](const AtCommand& command) { return AnswerAt(command); }};
  SimCard sim{events, [this] { ServiceChanged(); }};
  Radio radio{events, faults, [this] { return sim.IsUsable(); }};
  Sms sms{events};
  std::atomic<bool> software_ready{false};

 private:
  Simulation();

  AtReply AnswerAt(const AtCommand& command);

  // What `ask` results in, or success when it has no result; kNotReady when the modem is not.
  template <typename Ask>
  kor::Result Ready(const Ask& ask) {
    if (!presence.IsReady()) return kor::Result::kNotReady;
    if constexpr (std::is_void_v<decltype(ask())>) {
      ask();
      return kor::Result::kSuccess;
    } else {
      return ask();
    }
  }
};

}  // namespace kor::modem
