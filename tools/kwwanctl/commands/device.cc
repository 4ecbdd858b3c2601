// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/commands.h"
#include "kwwanctl/screens.h"
#include "kwwanctl/table.h"
#include "kwwanctl/verb.h"

namespace kor::ctl {

namespace {

std::string VersionText(const Json& version, const Paint& paint) {
  Fields fields;
  fields.Add("kwwand", Member(version, "kwwand"));
  fields.Add("libkwwan", Member(version, "library"));
  fields.Add("Process", Member(version, "pid"));
  fields.Add("Runs for", ToText(Member(version, "uptime_s")) + " s");
  return fields.Text(paint);
}

}  // namespace

void AddDevice(CLI::App& app, Context& context) {
  AddObject(app, context, "device", "The modem itself.",
            {{"show", "Its model and firmware package.", {}, {}, "device.show", RecordText}});
}

void AddVersion(CLI::App& app, Context& context) {
  AddVerb(app, context,
          {"version",
           "Versions of the host and its library, and since when it runs.",
           {},
           {},
           "host.version",
           VersionText});
}

}  // namespace kor::ctl
