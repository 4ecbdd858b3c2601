// SPDX-License-Identifier: Apache-2.0
// "doctor": why is there no DNS?
#include <algorithm>
#include <string>
#include <vector>

#include "kwwanctl/commands/commands.h"
#include "kwwanctl/doctor/gather.h"
#include "kwwanctl/doctor/judge.h"
#include "kwwanctl/doctor/query.h"
#include "kwwanctl/table.h"
#include "kwwanctl/verb.h"

namespace kor::ctl {

namespace {

using doctor::Finding;
using doctor::Verdict;

constexpr char kHarmlessName[] = "example.com";
constexpr size_t kNameWidth = 20;
constexpr size_t kVerdictWidth = 9;
constexpr size_t kTextWidth = 90;

// Process names, files' texts and the socket's path may hold anything.
Json ToJson(const Finding& finding) {
  return {{"name", finding.name},
          {"verdict", doctor::Name(finding.verdict)},
          {"seen", Escape(finding.seen)},
          {"why", Escape(finding.why)},
          {"do", Escape(finding.action)}};
}

Json ToJson(const std::vector<Finding>& findings) {
  Json all = Json::array();
  for (const Finding& finding : findings) all.push_back(ToJson(finding));
  const auto problems = std::count_if(findings.begin(), findings.end(),
                                      [](const Finding& finding) { return finding.verdict == Verdict::kProblem; });
  return {{"problems", problems}, {"findings", all}};
}

Colour VerdictColour(const std::string& verdict) {
  if (verdict == "ok") return Colour::kGood;
  return verdict == "problem" ? Colour::kBad : Colour::kWarning;
}

// `text` under a finding, broken at blanks, every line behind the same margin.
std::string Paragraph(const std::string& label, const std::string& text) {
  const std::string margin(kVerdictWidth, ' ');
  std::string lines;
  std::string line = Pad(label, kNameWidth);
  const size_t empty = line.size();
  for (size_t at = 0; at < text.size();) {
    const size_t end = std::min(text.find(' ', at), text.size());
    const std::string word = text.substr(at, end - at);
    if (line.size() > empty && line.size() + 1 + word.size() > kNameWidth + kTextWidth) {
      lines += margin + line + '\n';
      line = std::string(kNameWidth, ' ');
    }
    line += (line.size() > empty ? " " : "") + word;
    at = end + 1;
  }
  return text.empty() ? "" : lines + margin + line + '\n';
}

std::string Screen(const Json& result, const Paint& paint) {
  std::string text;
  for (const Json& finding : result.at("findings")) {
    const auto verdict = finding.at("verdict").get<std::string>();
    text += paint(VerdictColour(verdict), Pad(verdict, kVerdictWidth)) +
            Pad(finding.at("name").get<std::string>(), kNameWidth);
    text += finding.at("seen").get<std::string>() + '\n';
    text += Paragraph("  why it matters", finding.at("why").get<std::string>());
    text += Paragraph("  what to do", finding.at("do").get<std::string>());
  }
  const auto problems = result.at("problems").get<int>();
  if (problems == 0) return text + "\nNo problem found.\n";
  return text + '\n' + std::to_string(problems) +
         (problems == 1 ? " problem.\n" : " problems; begin with the first.\n");
}

ArgType HostName() {
  return {"a host name", {}, [](const std::string& word) -> std::optional<Json> {
            const auto bad =
                word.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.");
            if (bad != std::string::npos || doctor::QueryFor(word, 0).empty()) return std::nullopt;
            return word;
          }};
}

int Examine(Context& context, const Json& params) {
  const Json result = ToJson(Judge(doctor::Gather(context.session(), params.value("name", kHarmlessName))));
  context.out.Show(result, Screen);
  return result.at("problems") == 0 ? kDone : kFailed;
}

}  // namespace

Object DoctorCommand() {
  Verb verb;
  verb.name = "doctor";
  verb.help =
      "Why is there no DNS? Looks at everything between a program and the name server and changes nothing. "
      "Status 1 when it finds a problem.";
  verb.args = {{"--name", "name", HostName(), std::string("Ask for this name, not for ") + kHarmlessName, "NAME"}};
  verb.examples = {{"doctor", "look, and ask for a harmless name"},
                   {"doctor --name portal.carrier.example", "ask for a name of the network's own"}};
  verb.action = Examine;
  return Alone(verb);
}

}  // namespace kor::ctl
