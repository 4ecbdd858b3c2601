// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "kwwanctl/context.h"

namespace kor::ctl {

// Each adds its object, with its verbs, to the command line. `context` outlives `app`.
void AddStatus(CLI::App& app, Context& context);
void AddCall(CLI::App& app, Context& context);
void AddPolicy(CLI::App& app, Context& context);
void AddProfile(CLI::App& app, Context& context);
void AddDns(CLI::App& app, Context& context);
void AddAt(CLI::App& app, Context& context);
void AddLan(CLI::App& app, Context& context);
void AddVlan(CLI::App& app, Context& context);
void AddPassthrough(CLI::App& app, Context& context);
void AddRadio(CLI::App& app, Context& context);
void AddSim(CLI::App& app, Context& context);
void AddPin(CLI::App& app, Context& context);
void AddSms(CLI::App& app, Context& context);
void AddMonitor(CLI::App& app, Context& context);
void AddModem(CLI::App& app, Context& context);
void AddDevice(CLI::App& app, Context& context);
void AddDoctor(CLI::App& app, Context& context);
void AddVersion(CLI::App& app, Context& context);

}  // namespace kor::ctl
