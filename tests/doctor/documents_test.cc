// SPDX-License-Identifier: Apache-2.0
// The programs are what is written about them: every example of docs/host-interface.md is sent to a host and its answer
// compared, every verb and option stands in kwwanctl(1), and the completion offers them.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <list>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "doctor/programs.h"
#include "host/client.h"
#include "support/files.h"

namespace kor::test {

namespace {

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream all(text);
  for (std::string line; std::getline(all, line);) lines.push_back(line);
  return lines;
}

// One line that goes to the host ("-> ") or comes from it ("<- "), its continuation lines joined.
struct Line {
  bool sent;
  std::string text;
};

std::vector<Line> LinesOf(const std::string& path) {
  std::vector<Line> lines;
  std::ifstream file(path);
  bool in_line = false;
  for (std::string line; std::getline(file, line);) {
    const std::string mark = line.substr(0, 3);
    if (mark == "-> " || mark == "<- ") {
      lines.push_back({mark == "-> ", line.substr(3)});
    } else if (in_line && mark == "   ") {
      lines.back().text += line.substr(2);
    }
    in_line = mark == "-> " || mark == "<- " || (in_line && mark == "   ");
  }
  return lines;
}

// Where two values differ in keys or types; empty when they do not. An empty list is like any other.
std::string Difference(const Json& expected, const Json& got, const std::string& at = "") {
  if (expected.is_array() && got.is_array()) {
    return expected.empty() || got.empty() ? "" : Difference(expected.front(), got.front(), at + "[0]");
  }
  if (!expected.is_object() || !got.is_object()) {
    const bool same = expected.type() == got.type() || (expected.is_number() && got.is_number());
    return same ? "" : std::string(at).append(": ").append(got.dump()).append("\n");
  }
  std::string difference;
  for (const auto& [key, member] : got.items()) {
    if (!expected.contains(key)) difference.append(at).append(".").append(key).append(" is not documented\n");
  }
  for (const auto& [key, member] : expected.items()) {
    const std::string place = std::string(at).append(".").append(key);
    difference += got.contains(key) ? Difference(member, got[key], place) : place + " is missing\n";
  }
  return difference;
}

Json MemberOf(const Json& object, const char* key) {
  return object.is_object() && object.contains(key) ? object[key] : Json();
}

// An answer is found by its id, an event by its code, a progress by being one.
bool Matches(const Json& expected, const Json& got) {
  return MemberOf(expected, "id") == MemberOf(got, "id") && MemberOf(expected, "method") == MemberOf(got, "method") &&
         MemberOf(MemberOf(expected, "params"), "event") == MemberOf(MemberOf(got, "params"), "event");
}

// The first message like `documented` of those that have come or will come; discarded when there is none.
Json Take(const Json& documented, Client& host, std::list<Json>& kept) {
  const auto matches = [&](const Json& got) { return Matches(documented, got); };
  auto found = std::find_if(kept.begin(), kept.end(), matches);
  while (found == kept.end()) {
    Json got = host.Read();
    if (got.is_discarded() || matches(got)) return got;
    kept.push_back(std::move(got));
  }
  Json got = *found;
  kept.erase(found);
  return got;
}

TEST(DocumentsTest, EveryExampleOfTheInterface) {
  StartHost();
  Client host;
  std::list<Json> kept;
  std::set<std::string> shown;
  for (const Line& line : LinesOf(KWWAN_SOURCE "/docs/host-interface.md")) {
    const Json documented = Json::parse(line.text, nullptr, false);
    ASSERT_TRUE(documented.is_object()) << line.text;
    if (line.sent) {
      shown.insert(documented.value("method", ""));
      ASSERT_TRUE(host.Send(line.text + "\n"));
      continue;
    }
    const Json got = Take(documented, host, kept);
    ASSERT_FALSE(got.is_discarded()) << "did not come: " << line.text;
    EXPECT_EQ("", Difference(documented, got)) << "documented: " << line.text << "\nanswered:   " << got;
  }

  // No method is left out.
  for (const std::string& name :
       Lines(Output("grep -rhoE '\"[a-z]+\\.[a-z]+\", Access' " KWWAN_SOURCE "/tools/kwwand | cut -d '\"' -f 2")))
    EXPECT_EQ(1u, shown.count(name)) << name;
}

// The names that a help text lists: "up" of "  up    Brings a call up."
std::vector<std::string> EntriesOf(const std::string& words) {
  return Lines(
      Output(std::string(KWWANCTL) + " " + words + " --help | sed -n '/^Examples:/q; s/^  \\([^ ]*\\) .*/\\1/p'"));
}

// What the completion offers behind `words`, of which the last one is being typed.
std::vector<std::string> Offered(const std::string& words) {
  const std::string script =
      "PATH=" + std::filesystem::path(KWWANCTL).parent_path().string() +
      ":$PATH; . " KWWAN_SOURCE "/packaging/bash-completion/kwwanctl; COMP_WORDS=(kwwanctl " + words +
      "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _kwwanctl; printf \"%s\\n\" \"${COMPREPLY[@]}\"";
  return Lines(Output("bash -c '" + script + "' 2>&1"));
}

TEST(DocumentsTest, TheManualAndTheCompletionKnowEveryVerb) {
  const std::string manual = ReadFile(KWWAN_SOURCE "/docs/man/kwwanctl.1");
  const auto has = [&](const std::string& text) { return manual.find(text) != std::string::npos; };
  const std::vector<std::string> objects = EntriesOf("");
  EXPECT_EQ(objects, Offered("\"\""));
  for (const std::string& object : objects) {
    const std::vector<std::string> entries = EntriesOf(object);
    const bool stands_alone =
        Output(std::string(KWWANCTL) + " " + object + " --help").find(" VERB ") == std::string::npos;
    EXPECT_TRUE(has(stands_alone ? "Ic " + object : ".Ss " + object + "\n")) << object;
    if (stands_alone) continue;
    EXPECT_EQ(entries, Offered(object + " \"\""));
    for (const std::string& verb : entries) {
      EXPECT_TRUE(has("Ic " + verb)) << object << " " << verb;
      for (const std::string& argument : EntriesOf(std::string(object).append(" ").append(verb))) {
        const bool option = argument[0] == '-';
        EXPECT_TRUE(!option || has("Fl " + argument.substr(1))) << object << " " << verb << " " << argument;
      }
    }
  }
  const std::string host_manual = ReadFile(KWWAN_SOURCE "/docs/man/kwwand.8");
  for (const std::string& option :
       Lines(Output(KWWAND " --help | grep -oE '^ +(-h,)?--[a-z-]+' | tr -d ' ' | sed s/^-h,//")))
    EXPECT_NE(std::string::npos, host_manual.find("Fl " + option.substr(1))) << option;
}

// Without a host nothing is offered, and nothing is said; with one, what it has.
TEST(DocumentsTest, TheCompletionAsksTheHost) {
  EXPECT_EQ(Lines("\n"), Offered("call up \"\""));
  StartHost();
  EXPECT_EQ(Lines("0\n"), Offered("call up \"\""));
  EXPECT_EQ(Lines("1\n2\n3\n"), Offered("call up --cid \"\""));
  Ctl("vlan add 100");
  EXPECT_EQ(Lines("100\n"), Offered("vlan remove \"\""));
}

}  // namespace

}  // namespace kor::test
