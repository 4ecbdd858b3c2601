// SPDX-License-Identifier: Apache-2.0
// status, monitor, dns, device, version
#include "kwwanctl/commands/commands.h"
#include "kwwanctl/interrupt_watcher.h"
#include "kwwanctl/table.h"

namespace kor::ctl {

namespace {

std::string DnsText(const Json& dns, const Paint& paint) {
  Fields fields;
  const bool running = Member(dns, "running") == true;
  fields.Add("DNS service", Cell(running ? "running" : "stopped", running ? Colour::kGood : Colour::kBad));
  fields.Add("Forwarder", Member(dns, "forwarder_pid").is_null() ? Json("none")
                                                                 : Json("pid " + ToText(Member(dns, "forwarder_pid"))));
  fields.Add("Servers", Member(dns, "servers"));
  fields.Add("Source", Member(dns, "source"));
  const bool ours = Member(dns, "resolv_conf_is_ours") == true;
  fields.Add("resolv.conf", Cell(ours ? "ours" : "not ours", ours ? Colour::kNone : Colour::kWarning));
  const std::string last = ToText(Member(dns, "last_update_s"));
  fields.Add("Updates", ToText(Member(dns, "updates")) + (last == "-" ? "" : ", the last " + last + " s ago"));
  return fields.Text(paint);
}

std::string ReconnectText(const Json& reconnects, const Paint& paint) {
  if (!reconnects.is_array() || reconnects.empty()) return "";
  Table table({"RECONNECT", "FAMILY", "ATTEMPT", "IN"});
  for (const Json& reconnect : reconnects) {
    table.Add({"policy " + ToText(Member(reconnect, "index")), Member(reconnect, "family"),
               Member(reconnect, "attempt"), ToText(Member(reconnect, "next_s")) + " s"});
  }
  return '\n' + table.Text(paint, "");
}

std::string StatusText(const Json& status, const Paint& paint) {
  const Json device = Member(status, "device");
  Fields fields;
  const Json version = Member(device, "package_version");
  fields.Add("Device", ToText(Member(device, "model")) + (version.is_null() ? "" : ", package " + ToText(version)));
  return PoliciesText(status, paint) + ReconnectText(Member(status, "reconnect"), paint) + '\n' +
         DnsText(Member(status, "dns"), paint) + '\n' + fields.Text(paint);
}

constexpr size_t kEventWidth = 22;  // "call disconnect failed"

// One line: the time, what happened, and all else that is known of it.
std::string EventText(const Json& event, const Paint& paint) {
  std::string text =
      paint(Colour::kFaint, ToText(Member(event, "time"))) + "  " + Pad(ToText(Member(event, "name")), kEventWidth);
  for (const auto& [name, value] : event.items()) {
    if (name == "time" || name == "name" || value.is_null()) continue;
    text += "  " + Escape(name) + ' ' + ToText(value);
  }
  return text + '\n';
}

int Monitor(Context& context, const Json&) {
  InterruptWatcher watcher;
  Session& session = context.session();
  (void)session.Call("monitor.start", Json::object());
  do {
    while (const auto notification = session.Next()) {
      if (notification->method == "event") context.out.Show(notification->params, EventText);
    }
  } while (watcher.Wait(session.fd(), std::nullopt) != InterruptWatcher::Woken::kInterrupted);
  return kDone;
}

std::string VersionText(const Json& version, const Paint& paint) {
  Fields fields;
  fields.Add("kwwand", Member(version, "kwwand"));
  fields.Add("libkwwan", Member(version, "library"));
  fields.Add("Process", Member(version, "pid"));
  fields.Add("Runs for", ToText(Member(version, "uptime_s")) + " s");
  return fields.Text(paint);
}

}  // namespace

Object StatusCommand() {
  Verb verb;
  verb.name = "status";
  verb.help = "One screen: policies and their calls, reconnects that are running, the DNS service, the device.";
  verb.examples = {{"status", "the screen"}, {"status --watch 5", "every 5 seconds"}};
  verb.method = "host.status";
  verb.render = StatusText;
  verb.watch = true;
  return Alone(verb);
}

Object MonitorCommand() {
  Verb verb{"monitor", "Shows events as they come, one a line, until Ctrl-C.",
            {},        {{"monitor", "for people"}, {"--json monitor | jq .name", "for programs"}},
            "",        nullptr};
  verb.action = Monitor;
  return Alone(verb);
}

Object DnsCommands() {
  return {"dns",
          "The DNS service: the forwarder on 127.0.0.1 and its servers.",
          {{"show", "The service and its servers.", {}, {}, "dns.show", DnsText},
           {"start", "Starts it.", {}, {}, "dns.start", DnsText},
           {"stop",
            "Stops it. A call that is brought up meanwhile times out waiting for it.",
            {},
            {},
            "dns.stop",
            DnsText}}};
}

Object DeviceCommands() {
  return {
      "device", "The modem itself.", {{"show", "Its model and firmware package.", {}, {}, "device.show", RecordText}}};
}

Object VersionCommand() {
  return Alone({"version",
                "Versions of the host and its library, and since when it runs.",
                {},
                {},
                "host.version",
                VersionText});
}

}  // namespace kor::ctl
