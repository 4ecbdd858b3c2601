// SPDX-License-Identifier: Apache-2.0
// call, and the screens of policies and their calls.
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>

#include "kwwanctl/commands/commands.h"
#include "kwwanctl/table.h"

namespace kor::ctl {

namespace {

Colour StateColour(const std::string& state) {
  if (state == "connected") return Colour::kGood;
  return state == "connecting" || state == "disconnecting" ? Colour::kWarning : Colour::kNone;
}

Cell StateCell(const Json& call) {
  const std::string state = ToText(Member(call, "state"));
  const bool enabled = Member(call, "enabled") != false;
  return {enabled ? state : state + " (off)", enabled ? StateColour(state) : Colour::kFaint};
}

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

// How a call went: the states, the halves of the outcome, the time of each step, what was ignored and why.
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

constexpr std::chrono::milliseconds kBudget{10'000};
constexpr int64_t kBarWidth = 20;

const char kStartOfLine[] = "\r\x1b[K";

size_t Columns() {
  winsize size{};
  const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : 80;
}

// A line on standard error that follows a call on its way, against the ten seconds it has; only on a terminal, and gone
// in the end. One thread.
class ProgressLine {
 public:
  explicit ProgressLine(const Output& out) : shown_(!out.json() && isatty(STDERR_FILENO)) {}
  ~ProgressLine() {
    if (shown_) (void)fputs(kStartOfLine, stderr);
  }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  bool shown() const { return shown_; }

  // A step of the call, or nullptr: only the time has gone on.
  void Update(const Session::Notification* progress) {
    if (progress != nullptr && progress->method == "progress") {
      const Json text = Member(progress->params, "text");
      if (text.is_string()) step_ = Escape(text.get<std::string>());
    }
    (void)fputs((kStartOfLine + Text(Columns())).c_str(), stderr);
  }

 private:
  // "[####................]  2.0 s of 10 s  the modem confirms the call", cut to `columns`.
  std::string Text(size_t columns) const {
    const auto now = std::chrono::steady_clock::now();
    const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(now - start_).count();
    const auto done = static_cast<size_t>(std::min(kBarWidth, elapsed * kBarWidth / kBudget.count()));
    const std::string text = '[' + std::string(done, '#') + std::string(kBarWidth - done, '.') + "]  " +
                             Seconds(elapsed) + " of 10 s  " + step_;
    return text.substr(0, std::max<size_t>(columns, 1) - 1);  // The last column would wrap.
  }

  const bool shown_;
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::string step_ = "asked";
};

constexpr int64_t kSlowMs = 3000;  // What takes longer is explained.

std::string OutcomeText(const Json& outcome, const Paint& paint) {
  const std::string state = ToText(Member(outcome, "state"));
  std::string text = "Policy " + ToText(Member(outcome, "index")) + ", " + ToText(Member(outcome, "family")) + ": " +
                     paint(state == "connected" ? Colour::kGood : Colour::kNone, state);
  if (state == "connected") {
    text += ", interface " + ToText(Member(outcome, "interface")) + ", address " + ToText(Member(outcome, "address")) +
            ", DNS " + ToText(Member(outcome, "dns"));
  }
  const Json explain = Member(outcome, "explain");
  const Json took = Member(explain, "took_ms");
  if (!took.is_number() || took.get<int64_t>() <= kSlowMs) return text + '\n';
  return text + "\n\n" + ToText(Member(explain, "summary")) + '\n' + ExplainText(explain, paint);
}

Json WithDefaults(Json params) {
  if (params.contains("index") && params.contains("cid")) {
    throw CommandError(kErrorUsage, "INDEX and --cid exclude each other", Json{{"argument", "--cid"}});
  }
  if (!params.contains("index") && !params.contains("cid")) params["index"] = 0;
  if (!params.contains("family")) params["family"] = "ipv4";
  return params;
}

Json CallWithProgress(Context& context, const std::string& method, Json params) {
  ProgressLine line(context.out);
  if (!line.shown()) return context.session().Call(method, params);
  params["progress"] = true;
  return context.session().Call(method, params, Session::kAnswerLimit,
                                [&line](const Session::Notification* progress) { line.Update(progress); });
}

Action ChangeCall(const std::string& method) {
  return [method](Context& context, const Json& params) -> int {
    try {
      context.out.Show(CallWithProgress(context, method, WithDefaults(params)), OutcomeText);
      return kDone;
    } catch (const CommandError& error) {
      const Json explain = Member(error.data(), "explain");
      if (context.out.json() || !explain.is_object()) throw;
      context.out.Tell(error);
      context.out.Remark(ExplainText(explain, Paint(false)));
      return StatusOf(error);
    }
  };
}

const Arg kCallIndex{"INDEX", "index", Number(0, 254), "The policy (default 0)"};
const Arg kCallCid{"--cid", "cid", Number(1, 24), "The policy that carries this profile instead", "N"};
const Arg kIpv4{"-4", "family", Flag("ipv4"), "The IPv4 call (default)"};
const Arg kIpv6{"-6", "family", Flag("ipv6"), "The IPv6 call"};
const Arg kNoWait{"--no-wait", "wait", Flag(false), "Do not wait for the outcome"};

Verb ChangeCallVerb(const std::string& name, const std::string& help) {
  Verb verb{name, help, {kCallIndex, kCallCid, kIpv4, kIpv6, kNoWait}, {}};
  verb.examples = {{"call " + name, "policy 0, IPv4"},
                   {"call " + name + " 1 -6", "policy 1, IPv6"},
                   {"call " + name + " --cid 5", "the policy with profile 5"}};
  verb.action = ChangeCall("call." + name);
  return verb;
}

int ShowCall(Context& context, Json params) {
  params = WithDefaults(std::move(params));
  params.erase("family");
  return context.Ask("call.show", params, PolicyText);
}

}  // namespace

Json OnOffWord(const Json& value) { return value.is_boolean() ? Json(value.get<bool>() ? "on" : "off") : Json(); }

std::string PoliciesText(const Json& result, const Paint& paint) {
  Table table({"INDEX", "PROFILE", "FAMILY", "STATE", "INTERFACE", "ADDRESS", "DNS", "AUTO", "ROAMING"});
  for (const Json& policy : Member(result, "policies")) AddRows(table, policy);
  return table.Text(paint, "No policies.");
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

Object CallCommands() {
  Verb list{"list",      "Every call: profile, family, state, interface, address, DNS servers.",
            {},          {{"call list --watch", "every 2 seconds"}},
            "call.list", PoliciesText};
  list.watch = true;
  Verb show{"show", "One policy with its two calls.", {kCallIndex, kCallCid}, {{"call show 0", "policy 0"}}};
  show.action = ShowCall;
  return {
      "call",
      "Data calls: brings them up and down, shows them.",
      {list, show,
       ChangeCallVerb("up",
                      "Brings a call up. Waits up to 10 seconds until the modem has confirmed it and the name servers "
                      "are in\nplace; when that fails or is slow, says why."),
       ChangeCallVerb("down", "Takes a call down. It stays down, auto-connect or not, until it is brought up again.")}};
}

}  // namespace kor::ctl
