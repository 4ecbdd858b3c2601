// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/commands.h"
#include "kwwanctl/progress_line.h"
#include "kwwanctl/screens.h"
#include "kwwanctl/table.h"
#include "kwwanctl/verb.h"

namespace kor::ctl {
namespace {

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

Action Change(const std::string& method) {
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

const Arg kIndex{"INDEX", "index", Number(0, 254), "The policy; 0 unless said otherwise"};
const Arg kCid{"--cid", "cid", Number(1, 24), "The policy that carries this profile instead", "N"};
const Arg kIpv4{"-4", "family", Flag("ipv4"), "The IPv4 call; so unless said otherwise"};
const Arg kIpv6{"-6", "family", Flag("ipv6"), "The IPv6 call"};
const Arg kNoWait{"--no-wait", "wait", Flag(false), "Ask for it and do not wait for the outcome"};

Verb ChangeVerb(const std::string& name, const std::string& help) {
  Verb verb{name, help, {kIndex, kCid, kIpv4, kIpv6, kNoWait}, {}};
  verb.examples = {{"call " + name, "policy 0, IPv4"},
                   {"call " + name + " 1 -6", "policy 1, IPv6"},
                   {"call " + name + " --cid 5", "the policy with profile 5"}};
  verb.action = Change("call." + name);
  return verb;
}

int ShowCall(Context& context, Json params) {
  params = WithDefaults(std::move(params));
  params.erase("family");
  context.out.Show(context.session().Call("call.show", params), PolicyText);
  return kDone;
}

}  // namespace

void AddCall(CLI::App& app, Context& context) {
  Verb list{"list",      "Every call: profile, family, state, interface, address, DNS servers.",
            {},          {{"call list --watch", "every 2 seconds"}},
            "call.list", PoliciesText};
  list.watch = true;
  Verb show{"show", "One policy with its two calls.", {kIndex, kCid}, {{"call show 0", "policy 0"}}};
  show.action = ShowCall;
  AddObject(
      app, context, "call", "Data calls: brings them up and down, shows them.",
      {list, show,
       ChangeVerb("up",
                  "Brings a call up. Waits up to 10 seconds until the modem has confirmed it and the name servers "
                  "are in\nplace; when that fails or is slow, says why."),
       ChangeVerb("down", "Takes a call down. It stays down, auto-connect or not, until it is brought up again.")});
}

}  // namespace kor::ctl
