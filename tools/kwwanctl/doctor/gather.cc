// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/doctor/gather.h"

#include <sys/socket.h>

#include <filesystem>
#include <system_error>
#include <vector>

#include "kwwanctl/doctor/judge.h"
#include "kwwanctl/doctor/query.h"
#include "kwwanctl/session.h"

namespace kor::ctl::doctor {

namespace {

constexpr std::chrono::milliseconds kAnswerLimit{2000};
constexpr std::chrono::milliseconds kHostLimit{5000};

std::string EndOfLink(const char* path) {
  std::error_code error;
  if (!std::filesystem::is_symlink(path, error)) return "";
  return std::filesystem::weakly_canonical(path, error).string();
}

// The process at the other end, in this process's numbers.
pid_t PeerOf(int fd) {
  ucred peer{};
  socklen_t size = sizeof(peer);
  return getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 ? peer.pid : 0;
}

void NoteCall(const Json& call, Host& host) {
  if (call.value("state", "") == "connected") host.call_up = true;
  for (const Json& server : call.value("dns", Json::array())) host.servers.insert(server.get<std::string>());
}

Host AskHost(Session& session) {
  Host host;
  host.socket = session.path();
  try {
    host.version = session.Call("host.version", Json::object(), kHostLimit).value("kwwand", "");
    host.pid = PeerOf(session.fd());
    host.dns_running = session.Call("dns.show", Json::object(), kHostLimit).value("running", false);
    const Json calls = session.Call("call.list", Json::object(), kHostLimit);
    for (const Json& policy : calls.at("policies")) {
      for (const Json& call : policy.at("calls")) NoteCall(call, host);
    }
  } catch (const CommandError& error) {
    host.error = error.what();
  } catch (const Json::exception& error) {
    host.error = NotUnderstood(error.what()).what();
  }
  if (host.pid > 0) host.own_pids = HasOwnNamespace(host.pid, "pid");
  if (host.pid > 0) host.own_network = HasOwnNamespace(host.pid, "net");
  return host;
}

void AskServers(Facts& facts) {
  std::vector<std::string> servers{kLocalServer};
  for (const std::string& server : ServersOf(facts.server_list.text.value_or(""))) servers.push_back(server);
  std::vector<Reply> replies = AskAll(servers, facts.name, kAnswerLimit);
  facts.local = replies.front();
  facts.servers.assign(replies.begin() + 1, replies.end());
}

}  // namespace

Facts Gather(Session& session, const std::string& name) {
  Facts facts;
  facts.name = name;
  facts.host = AskHost(session);
  facts.processes = LookAtProcesses();
  facts.pid_file = kor::tools::ReadTextFile(kDnsmasqPidPath);
  facts.resolv_conf = kor::tools::ReadTextFile(kResolvConfPath);
  facts.resolv_conf_leads_to = EndOfLink(kResolvConfPath);
  facts.server_list = kor::tools::ReadTextFile(kDnsmasqResolvPath);
  facts.permanent_file = kor::tools::ReadTextFile(kPermanentDnsPath);
  AskServers(facts);
  return facts;
}

}  // namespace kor::ctl::doctor
