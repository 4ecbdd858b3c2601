// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kwwanctl/arg_type.h"
#include "kwwanctl/output.h"
#include "kwwanctl/session.h"

namespace kor::ctl {

// What the commands of one run share. The options are read once the command line has been parsed.
struct Context {
  GlobalOptions options;
  Output out{options};

  Session& session() {
    if (!session_) session_ = std::make_unique<Session>(options.socket);
    return *session_;
  }

  // Asks the host and shows the answer.
  int Ask(const std::string& method, const Json& params, const Render& render,
          Session::Milliseconds limit = Session::kAnswerLimit) {
    out.Show(session().Call(method, params, limit), render);
    return kDone;
  }

 private:
  std::unique_ptr<Session> session_;
};

// One argument of a verb. "INDEX" is told by its place, "--start" and "-4" by their names.
struct Arg {
  std::string name;
  std::string key;  // The member of the request's params that it sets.
  ArgType type;
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
  bool all_words = false;                // Whatever follows is its own, options too; params is {"words":[..]}.
  Session::Milliseconds limit = Session::kAnswerLimit;
  Action action = nullptr;  // Instead of `method` and `render`.
};

// What stands first on the command line: an object with verbs ("policy list"), or a verb alone ("status"), which is
// then the only one and has the object's name.
struct Object {
  std::string name;
  std::string help;
  std::vector<Verb> verbs;
};

inline Object Alone(const Verb& verb) { return {verb.name, verb.help, {verb}}; }

}  // namespace kor::ctl
