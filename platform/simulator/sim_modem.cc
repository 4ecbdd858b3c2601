// SPDX-License-Identifier: Apache-2.0
#include "simulator/sim_modem.h"

#include <string>

#include "simulator/simulation.h"

namespace kor::modem {

// Leaked on purpose: the event thread may be at work while exit() destroys what is static.
SimModem& SimModem::Get() {
  static SimModem* const modem = new SimModem;
  return *modem;
}

void SimModem::SetConnectDelay(Milliseconds delay) { Simulation::Get().calls.SetConnectDelay(delay); }

void SimModem::SetDisconnectDelay(Milliseconds delay) { Simulation::Get().calls.SetDisconnectDelay(delay); }

void SimModem::SetNotReadyQueries(int count) { Simulation::Get().calls.SetNotReadyQueries(count); }

void SimModem::SetDnsServers(kor::util::IPFamily family, const std::string& dns_1, const std::string& dns_2) {
  Simulation::Get().calls.SetDnsServers(family, {dns_1, dns_2});
}

void SimModem::SetDnsServers(int32_t handle, kor::util::IPFamily family, const std::string& dns_1,
                             const std::string& dns_2) {
  Simulation::Get().calls.SetDnsServers(handle, family, {dns_1, dns_2});
}

void SimModem::SetLinks(bool enable) { Simulation::Get().links.SetEnabled(enable); }

bool SimModem::SetCarrierNamespace(const std::string& path) { return Simulation::Get().links.SetCarrier(path); }

void SimModem::SetRoaming(bool roaming) { Simulation::Get().radio.SetRoaming(roaming); }

void SimModem::SetSimPresent(bool present) { Simulation::Get().sim.SetPresent(present); }

void SimModem::SetSimDelay(Milliseconds delay) { Simulation::Get().sim.SetStartDelay(delay); }

bool SimModem::EnterPuk(int pin_id, const std::string& puk, const std::string& new_pin) {
  return Simulation::Get().sim.UnblockPin(pin_id, puk, new_pin) == kor::Result::kSuccess;
}

void SimModem::SetTechnology(Technology technology) {
  Simulation::Get().radio.SetTechnology(technology);
  Simulation::Get().ServiceChanged();
}

void SimModem::SetRegistration(kor::wwan::NetworkManager::Registration registration) {
  Simulation::Get().radio.SetRegistration(registration);
  Simulation::Get().ServiceChanged();
}

void SimModem::MoveSignal(int percent, Milliseconds over) { Simulation::Get().radio.MoveSignal(percent, over); }

void SimModem::SetAnswerDelay(Milliseconds delay) { Simulation::Get().radio.SetAnswerDelay(delay); }

void SimModem::SetScanDelay(Milliseconds delay) { Simulation::Get().radio.SetScanDelay(delay); }

bool SimModem::ReceiveSms(kor::wwan::SmsManager::MessageClass message_class, const std::string& sender,
                          const std::string& text) {
  return Simulation::Get().IsInService() && Simulation::Get().sms.Receive(message_class, sender, text);
}

void SimModem::SetSmsCapacity(kor::wwan::SmsManager::MessageStorage storage, uint32_t messages) {
  Simulation::Get().sms.SetCapacity(storage, messages);
}

void SimModem::ClearSms() { Simulation::Get().sms.Clear(); }

void SimModem::FailAnswers(int count) { Simulation::Get().faults.Set(Faults::kAnswerFails, count); }

bool SimModem::FailNext(const std::string& operation, int count, kor::Result result, int good) {
  return Simulation::Get().faults.FailNext(operation, count, result, good);
}

void SimModem::SetRoundTrip(Milliseconds time) { Simulation::Get().faults.SetDelay(time); }

bool SimModem::SetRoundTrip(const std::string& operation, Milliseconds time) {
  return Simulation::Get().faults.SetDelay(operation, time);
}

bool SimModem::Leave() { return Simulation::Get().Leave(); }

void SimModem::Return(Milliseconds delay) { Simulation::Get().Return(delay); }

bool SimModem::AddRunningCall(int32_t handle, kor::util::IPFamily family, int profile) {
  return Simulation::Get().calls.AddRunning(handle, family, profile);
}

void SimModem::FailConnects(int count) { Simulation::Get().faults.Set(Faults::kConnectFails, count); }

void SimModem::FailDisconnects(int count) { Simulation::Get().faults.Set(Faults::kDisconnectFails, count); }

void SimModem::IgnoreRequests(int count) { Simulation::Get().faults.Set(Faults::kIgnoredRequest, count); }

void SimModem::LoseReports(int count) { Simulation::Get().faults.Set(Faults::kLostReport, count); }

bool SimModem::Drop(int32_t handle, kor::util::IPFamily family) { return Simulation::Get().calls.Drop(handle, family); }

std::string SimModem::OpenTerminal() { return Simulation::Get().at.OpenTerminal(); }

std::string SimModem::Type(const std::string& line) { return Simulation::Get().at.Type(line); }

void SimModem::SetAnswerLimit(Milliseconds limit) { Simulation::Get().at.SetAnswerLimit(limit); }

bool SimModem::IsSoftwareReady() { return Simulation::Get().software_ready; }

void SimModem::SetRecording(bool on) { Simulation::Get().faults.SetRecording(on); }

std::vector<std::string> SimModem::TakeRecord() { return Simulation::Get().faults.TakeRecord(); }

bool SimModem::WaitIdle(Milliseconds limit) { return Simulation::Get().events.WaitIdle(limit); }

}  // namespace kor::modem
