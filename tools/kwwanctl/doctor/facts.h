// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "common/dns_paths.h"
#include "shared/dns_files.h"

// What the doctor looks at, as it was found: facts without a verdict. gather.h finds them, judge.h judges
// them.
namespace kor::ctl::doctor {

using kor::tools::TextFile;
using kor::wwan::kDnsmasqPidPath;
using kor::wwan::kDnsmasqResolvPath;
using kor::wwan::kPermanentDnsPath;
using kor::wwan::kResolvConfPath;

constexpr char kLocalServer[] = "127.0.0.1";

struct Process {
  pid_t pid = 0;
  std::string name;     // As the kernel has it: at most 15 characters.
  std::string command;  // Its arguments with blanks between; empty for a zombie.
  bool zombie = false;
};

// A socket that takes queries on port 53.
struct Listener {
  std::string protocol;          // "udp", "tcp"
  bool wildcard = false;         // On every address, not on 127.0.0.1 alone.
  std::vector<Process> holders;  // None when they may not be seen.
};

// All processes in one look.
struct Processes {
  std::vector<Process> all;
  std::vector<Listener> listeners;
  std::set<pid_t> watchers;  // Those with an inotify watch on the inode that is at kResolvConfPath now.
  bool complete = true;      // False when some process did not show its descriptors.
};

// The host's own word.
struct Host {
  std::string socket;
  std::string error;                // Why it could not be asked; empty when it answered.
  std::string version;              //
  pid_t pid = 0;                    // In this process's numbers; 0 when it has none there.
  std::optional<bool> own_pids;     // It counts processes in a namespace of its own; not set when it may not be seen.
  std::optional<bool> own_network;  // The same of its network.
  bool dns_running = false;         //
  bool call_up = false;             // Some call is connected.
  std::set<std::string> servers;    // Those of all calls.
  bool answered() const { return error.empty(); }
};

// What came of one question to one server.
struct Reply {
  std::string server;
  std::optional<int> code;  // The answer's RCODE.
  int error = 0;            // Why there is none, as errno has it; ETIMEDOUT when nothing came.
  int took_ms = 0;
};

struct Facts {
  Host host;
  Processes processes;
  TextFile pid_file;
  TextFile resolv_conf;
  std::string resolv_conf_leads_to;  // Where the path ends; empty when it is not a link.
  TextFile server_list;
  TextFile permanent_file;
  std::string name;            // The name that was asked for.
  Reply local;                 // 127.0.0.1's answer.
  std::vector<Reply> servers;  // Those of the list, asked directly.
};

}  // namespace kor::ctl::doctor
