// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "kwwanctl/context.h"
#include "kwwanctl/takes.h"

namespace kor::ctl {

// One argument of a verb. "INDEX" is told by its place, "--start" and "-4" by their names.
struct Arg {
  std::string name;
  std::string key;  // The member of the request's params that it sets.
  Takes takes;
  std::string help;        // One sentence.
  std::string value = "";  // What stands for an option's value in the help: "ADDRESS". Empty for flags and places.
  bool required = false;
};

struct Example {
  std::string command;  // Without "kwwanctl".
  std::string what;
};

// What a verb does when it does more than to ask the host and show the answer. `params` is what the arguments set.
using Action = std::function<int(Context& context, const Json& params)>;

// A verb as a table entry: its words, the request that they make, the screen of the answer. A word that is wrong is a
// usage error that names the argument and what it takes; arguments that set the same member exclude each other.
struct Verb {
  std::string name;
  std::string help;  // The first sentence is the verb's line in its object's help.
  std::vector<Arg> args = {};
  std::vector<Example> examples = {};
  std::string method = "";
  Render render = nullptr;
  std::vector<std::string> one_of = {};  // Names of arguments of which exactly one must be there.
  bool watch = false;                    // Takes --watch [SECONDS].
  Session::Milliseconds limit = Session::kAnswerLimit;
  Action action = nullptr;  // Instead of `method` and `render`.
};

// Adds an object with verbs ("policy list"), or a verb that stands alone ("status").
void AddObject(CLI::App& app, Context& context, const std::string& name, const std::string& help,
               const std::vector<Verb>& verbs);
void AddVerb(CLI::App& parent, Context& context, const Verb& verb);

// Asks the host and shows the answer.
int AskAndShow(Context& context, const Verb& verb, const Json& params);

}  // namespace kor::ctl
