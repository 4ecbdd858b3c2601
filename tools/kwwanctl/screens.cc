// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/screens.h"

#include <cstdint>
#include <cstdio>

#include "kwwanctl/table.h"
#include "kwwanctl/text.h"

namespace kor::ctl {
namespace {

Colour ColourOf(const std::string& state) {
  if (state == "connected") return Colour::kGood;
  return state == "connecting" || state == "disconnecting" ? Colour::kWarning : Colour::kNone;
}

Cell StateCell(const Json& call) {
  const std::string state = ToText(Member(call, "state"));
  const bool enabled = Member(call, "enabled") != false;
  return {enabled ? state : state + " (off)", enabled ? ColourOf(state) : Colour::kFaint};
}

Json OnOffWord(const Json& value) { return value.is_boolean() ? Json(value.get<bool>() ? "on" : "off") : Json(); }

bool HasFamily(const Json& policy, const std::string& family) {
  const std::string families = ToText(Member(policy, "family"));
  return families == family || families == "ipv4v6";
}

// The lines of a policy; only the first says what holds for both families.
void AddRows(Table& table, const Json& policy) {
  bool first = true;
  for (const char* family : {"ipv4", "ipv6"}) {
    if (!HasFamily(policy, family)) continue;
    const Json call = Member(Member(policy, "calls"), family);
    const bool up = Member(call, "state") == "connected";
    table.Add({first ? Cell(Member(policy, "index")) : Cell(" "), Member(Member(policy, "profiles"), family), family,
               StateCell(call), up ? Member(policy, "interface") : Json(), Member(call, "address"), Member(call, "dns"),
               first ? Cell(OnOffWord(Member(policy, "auto_connect"))) : Cell(" "),
               first ? Cell(OnOffWord(Member(policy, "roaming"))) : Cell(" ")});
    first = false;
  }
}

void AddCallFields(Fields& fields, const Json& policy, const std::string& family, const std::string& name) {
  const Json call = Member(Member(policy, "calls"), family);
  if (!call.is_object()) return;
  fields.Add(name, StateCell(call));
  fields.Add("  Profile", Member(Member(policy, "profiles"), family));
  fields.Add("  Address", Member(call, "address"));
  fields.Add("  DNS", Member(call, "dns"));
}

std::string StepsText(const Json& steps, const Paint& paint) {
  Table table({"TIME", "STEP", ""});
  for (const Json& step : steps) {
    table.Add({Seconds(step.value("at_ms", int64_t{0})), Member(step, "step"), Member(step, "text")});
  }
  return table.Text(paint, "No step was seen.");
}

std::string IgnoredText(const Json& ignored, const Paint& paint) {
  if (!ignored.is_array() || ignored.empty()) return "";
  Table table({"TIME", "IGNORED", "HANDLE", "FAMILY", "WHY"});
  for (const Json& event : ignored) {
    table.Add({Seconds(event.value("at_ms", int64_t{0})), Member(event, "event"), Member(event, "handle"),
               Member(event, "family"), Member(event, "why")});
  }
  return table.Text(paint, "");
}

}  // namespace

Json Member(const Json& object, const std::string& name) {
  const auto found = object.is_object() ? object.find(name) : object.end();
  return object.is_object() && found != object.end() ? *found : Json();
}

std::string Seconds(int64_t milliseconds) {
  char text[32];
  (void)snprintf(text, sizeof(text), "%.1f s", static_cast<double>(milliseconds) / 1000);
  return text;
}

std::string Quiet(const Json&, const Paint&) { return ""; }

std::string PoliciesText(const Json& result, const Paint& paint) {
  Table table({"INDEX", "PROFILE", "FAMILY", "STATE", "INTERFACE", "ADDRESS", "DNS", "AUTO", "ROAMING"});
  for (const Json& policy : Member(result, "policies")) AddRows(table, policy);
  return table.Text(paint, "There is no policy.");
}

std::string PolicyText(const Json& policy, const Paint& paint) {
  Fields fields;
  fields.Add("Index", Member(policy, "index"));
  fields.Add("Handle", Member(policy, "handle"));
  fields.Add("Technology", Member(policy, "technology"));
  fields.Add("Families", Member(policy, "family"));
  fields.Add("Auto-connect", OnOffWord(Member(policy, "auto_connect")));
  fields.Add("Roaming", OnOffWord(Member(policy, "roaming")));
  fields.Add("Interface", Member(policy, "interface"));
  AddCallFields(fields, policy, "ipv4", "IPv4 call");
  AddCallFields(fields, policy, "ipv6", "IPv6 call");
  return fields.Text(paint);
}

std::string PolicyLine(const Json& policy, const Paint&) {
  const Json profiles = Member(policy, "profiles");
  return "Policy " + ToText(Member(policy, "index")) + ": technology " + ToText(Member(policy, "technology")) +
         ", families " + ToText(Member(policy, "family")) + ", profiles " + ToText(Member(profiles, "ipv4")) + " and " +
         ToText(Member(profiles, "ipv6")) + ", auto-connect " + ToText(OnOffWord(Member(policy, "auto_connect"))) +
         ", roaming " + ToText(OnOffWord(Member(policy, "roaming"))) + '\n';
}

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

std::string ExplainText(const Json& explain, const Paint& paint) {
  Fields fields;
  fields.Add("State", ToText(Member(explain, "before")) + " -> " + ToText(Member(explain, "after")));
  for (const auto& [name, key] : {std::pair("Modem", "modem"), std::pair("DNS update", "dns")}) {
    const std::string half = ToText(Member(explain, key));
    fields.Add(name, Cell(half, half == "missing" || half == "failed" ? Colour::kBad : Colour::kNone));
  }
  fields.Add("Took", Seconds(explain.value("took_ms", int64_t{0})));
  return fields.Text(paint) + StepsText(Member(explain, "steps"), paint) +
         IgnoredText(Member(explain, "ignored"), paint);
}

}  // namespace kor::ctl
