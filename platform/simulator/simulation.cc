// SPDX-License-Identifier: Apache-2.0
#include "simulator/simulation.h"

#include <cstring>
#include <stdexcept>

#include "port/backend.h"
#include "simulator/recording_port.h"

namespace kor::modem {

// Leaked on purpose: the event thread may be at work while exit() destroys what is static.
Simulation& Simulation::Get() {
  static Simulation* const simulation = new Simulation;
  return *simulation;
}

Simulation::Simulation() {
  presence.AddReport([this](ModemState state) {
    if (state == ModemState::kReady) sms.Redeliver();
  });
}

void Simulation::ServiceChanged() {
  radio.ReportChanges();
  if (!IsInService()) calls.DropAll({0, "no service"});
}

bool Simulation::Leave() {
  return presence.Leave([this] {
    calls.DropAll({0, "the modem is gone"});
    radio.GiveUp();
    at.Reset();
    sim.Restart();
    software_ready = false;
  });
}

AtReply Simulation::AnswerAt(const AtCommand& command) {
  if (!presence.IsReady()) return {"", AtError{1, "no connection to phone"}};
  return AnswerOf(command, radio.State(), {sim.IsStarting(), sim.State()});
}

}  // namespace kor::modem

kor::modem::ModemPort* kwwan_modem_open(const char* argument) {
  using kor::modem::Simulation;
  if (strcmp(argument, "absent") == 0) {
    Simulation::Get().presence.BeginAbsent();
  } else if (*argument != '\0') {
    throw std::runtime_error(std::string("the simulated modem is there or \"absent\", not ") + argument);
  }
  return new kor::modem::RecordingPort(Simulation::Get(), Simulation::Get().faults);
}
