// SPDX-License-Identifier: Apache-2.0
// at.*: AT commands that clients claim, unsolicited texts.
#include <algorithm>
#include <cctype>
#include <iterator>

#include "kwwand/host/words.h"
#include "kwwand/methods/params.h"
#include "kwwand/methods/registry.h"

namespace kor::host {

namespace {

constexpr size_t kMaxName = 64;
constexpr size_t kMaxText = 2048;
constexpr Word<AtClaims::Entry::State> kClaimStates[] = {{AtClaims::Entry::kPending, "pending"},
                                                         {AtClaims::Entry::kRegistered, "registered"},
                                                         {AtClaims::Entry::kRefused, "refused"}};

// What every modem answers itself (ITU-T V.250, 3GPP TS 27.007); a terminal is lost when +CMEE says something else.
constexpr const char* kModemsOwn[] = {"+CGMI", "+CGMM", "+CGMR", "+CGSN", "+CMEE", "+COPS",
                                      "+CREG", "+CSQ",  "+GMI",  "+GMM",  "+GMR",  "+GSN"};

// Their parameters are PINs and passwords, and the library logs the parameters of every command that is forwarded.
// So are the card's commands in +CSIM.
constexpr const char* kSecret[] = {"+CACM", "+CAMM", "+CGAUTH", "+CLCK", "+CPIN", "+CPUC", "+CPWD", "+CSIM"};

template <size_t kCount>
bool Holds(const char* const (&names)[kCount], const std::string& name) {
  return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

// ITU-T V.250 extended syntax: a sign, a letter, then letters, digits and these.
bool IsName(const std::string& name) {
  constexpr std::string_view kSigns = "+*^$%#!";
  constexpr std::string_view kMarks = "!%-./:_";
  if (name.size() < 2 || name.size() > kMaxName || kSigns.find(name[0]) == std::string_view::npos) return false;
  if (name[1] < 'A' || name[1] > 'Z') return false;
  for (const char c : name.substr(2)) {
    const bool plain = (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (!plain && kMarks.find(c) == std::string_view::npos) return false;
  }
  return true;
}

// In upper case, as names are looked up.
std::string NameOf(const Params& params) {
  std::string name = params.Text("name", kMaxName);
  for (char& c : name) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  if (!IsName(name)) params.Refuse("name", "a name such as +MYCMD");
  return name;
}

Json EntryJson(const AtClaims::Entry& entry) {
  return {{"name", entry.name},
          {"state", TextOf(kClaimStates, entry.state)},
          {"run", entry.run ? Json(*entry.run) : Json()},
          {"answer", entry.answer ? Json(*entry.answer) : Json()},
          {"served", entry.served}};
}

Json ListClaims(Core& core, const Request& request) {
  const Params params(request, {});
  Json commands = Json::array();
  for (const auto& entry : core.at_claims.List()) commands.push_back(EntryJson(entry));
  return {{"commands", commands}};
}

Json Claim(Core& core, const Request& request) {
  const Params params(request, {"name", "run", "answer"});
  AtClaims::Entry entry;
  entry.name = NameOf(params);
  if (Holds(kModemsOwn, entry.name)) params.Refuse("name", "a name that no modem answers itself");
  if (Holds(kSecret, entry.name))
    params.Refuse("name", "a name without PINs or passwords as parameters, which the log would show");
  if (params.Has("run") && params.Has("answer")) params.Refuse("answer", "no value together with run");
  if (params.Has("run")) Require(request.access, Access::kRun, "at.claim with run");
  if (params.Has("answer")) {
    entry.answer = params.Text("answer", kMaxText);
  } else {
    entry.run = params.Text("run", kMaxText);
  }
  return EntryJson(core.at_claims.Claim(*core.at, entry));
}

Json Release(Core& core, const Request& request) {
  const Params params(request, {"name"});
  if (!core.at_claims.Release(NameOf(params))) params.Refuse("name", "the name of a claimed command");
  return Json::object();
}

Json Notify(Core& core, const Request& request) {
  const Params params(request, {"text"});
  Check(static_cast<kor::Result>(core.at->SendNotification(params.Text("text", kMaxText))), "showing the text");
  return Json::object();
}

Json Ready(Core& core, const Request& request) {
  const Params params(request, {});
  Check(static_cast<kor::Result>(core.at->NotifyRegistrationDone()), "telling the modem");
  return Json::object();
}

}  // namespace

void AddAtMethods(Registry& registry) {
  registry.Read("at.list", ListClaims);
  registry.Change("at.claim", Claim);
  registry.Change("at.release", Release);
  registry.Change("at.notify", Notify);
  registry.Change("at.ready", Ready);
}

}  // namespace kor::host
