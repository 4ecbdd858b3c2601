// SPDX-License-Identifier: Apache-2.0
// A scenario line: what reaches the modem is in range. In the modem's place stands one that only looks.
#include "simulator/scenario.h"

#include <arpa/inet.h>

#include <cstdint>
#include <string>

#include "require.h"
#include "simulator/faults.h"

namespace kor::modem {

namespace {

using kor::fuzz::Require;
using kor::util::IPFamily;

bool g_asked = false;  // The line has reached the modem.

void Asked() { g_asked = true; }

void AskedFor(SimModem::Milliseconds time) {
  Require(time.count() >= 0 && time.count() <= 3'600'000, "a time of an hour at most");
  Asked();
}

void AskedFor(int count) {
  Require(count >= 0 && count <= 1'000'000, "a count of a million at most");
  Asked();
}

void AskedFor(IPFamily family, const std::string& dns_1, const std::string& dns_2) {
  in6_addr address;
  const int domain = family == IPFamily::kIpv4 ? AF_INET : AF_INET6;
  for (const std::string& dns : {dns_1, dns_2}) {
    Require(dns.empty() || inet_pton(domain, dns.c_str(), &address) == 1, "an address of the family");
  }
  Asked();
}

}  // namespace

SimModem& SimModem::Get() {
  static SimModem modem;
  return modem;
}

void SimModem::SetConnectDelay(Milliseconds delay) { AskedFor(delay); }
void SimModem::SetDisconnectDelay(Milliseconds delay) { AskedFor(delay); }
void SimModem::SetSimDelay(Milliseconds delay) { AskedFor(delay); }
void SimModem::SetAnswerDelay(Milliseconds delay) { AskedFor(delay); }
void SimModem::SetScanDelay(Milliseconds delay) { AskedFor(delay); }
void SimModem::SetAnswerLimit(Milliseconds limit) { AskedFor(limit); }
void SimModem::SetNotReadyQueries(int count) { AskedFor(count); }
void SimModem::FailConnects(int count) { AskedFor(count); }
void SimModem::FailDisconnects(int count) { AskedFor(count); }
void SimModem::IgnoreRequests(int count) { AskedFor(count); }
void SimModem::LoseReports(int count) { AskedFor(count); }
void SimModem::FailAnswers(int count) { AskedFor(count); }
void SimModem::SetRoundTrip(Milliseconds time) { AskedFor(time); }
void SimModem::Return(Milliseconds delay) { AskedFor(delay); }
void SimModem::SetRecording(bool /*on*/) { Asked(); }
void SimModem::SetLinks(bool /*enable*/) { Asked(); }
void SimModem::SetRoaming(bool /*roaming*/) { Asked(); }
void SimModem::SetSimPresent(bool /*present*/) { Asked(); }
void SimModem::ClearSms() { Asked(); }
void SimModem::SetTechnology(Technology technology) { AskedFor(static_cast<int>(technology)); }
void SimModem::SetRegistration(wwan::NetworkManager::Registration state) { AskedFor(static_cast<int>(state)); }

void SimModem::SetDnsServers(IPFamily family, const std::string& dns_1, const std::string& dns_2) {
  AskedFor(family, dns_1, dns_2);
}

void SimModem::SetDnsServers(int32_t handle, IPFamily family, const std::string& dns_1, const std::string& dns_2) {
  Require(handle >= 0, "a handle");
  AskedFor(family, dns_1, dns_2);
}

bool SimModem::SetCarrierNamespace(const std::string& path) {
  Asked();
  return path.empty();
}

bool SimModem::EnterPuk(int pin_id, const std::string& puk, const std::string& new_pin) {
  Require(pin_id == 1 || pin_id == 2, "a PIN");
  Asked();
  return puk == new_pin;
}

void SimModem::MoveSignal(int percent, Milliseconds over) {
  Require(percent >= 0 && percent <= 100, "a percentage");
  AskedFor(over);
}

bool SimModem::ReceiveSms(wwan::SmsManager::MessageClass message_class, const std::string& sender,
                          const std::string& text) {
  AskedFor(static_cast<int>(message_class));
  return sender.size() < text.size();
}

void SimModem::SetSmsCapacity(wwan::SmsManager::MessageStorage storage, uint32_t messages) {
  Require(storage != wwan::SmsManager::MessageStorage::kNone, "a storage");
  AskedFor(static_cast<int>(messages));
}

bool SimModem::FailNext(const std::string& operation, int count, kor::Result result, int good) {
  Require(IsOperation(operation), "an operation's name");
  Require(static_cast<int>(result) >= 1 && static_cast<int>(result) <= 65535, "a result that is no success");
  AskedFor(good);
  AskedFor(count);
  return true;
}

bool SimModem::SetRoundTrip(const std::string& operation, Milliseconds time) {
  Require(IsOperation(operation), "an operation's name");
  AskedFor(time);
  return true;
}

bool SimModem::Leave() {
  Asked();
  return true;
}

bool SimModem::AddRunningCall(int32_t handle, IPFamily family, int profile) {
  Require(handle >= 0 && (family == IPFamily::kIpv4 || family == IPFamily::kIpv6), "one call");
  AskedFor(profile);
  return false;
}

bool SimModem::Drop(int32_t handle, IPFamily family) {
  Require(handle >= 0 && (family == IPFamily::kIpv4 || family == IPFamily::kIpv6), "one call");
  Asked();
  return false;
}

std::string SimModem::OpenTerminal() {
  Asked();
  return "";
}

std::string SimModem::Type(const std::string& line) {
  Require(!line.empty(), "a line");
  Asked();
  return line;
}

std::vector<std::string> SimModem::TakeRecord() {
  Asked();
  return {"GetWwanPolicies", "GetWwanPolicies"};
}

bool SimModem::WaitIdle(Milliseconds limit) {
  AskedFor(limit);
  return false;
}

}  // namespace kor::modem

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  using namespace kor::modem;
  g_asked = false;
  const ScenarioReply reply = RunScenarioLine(SimModem::Get(), {reinterpret_cast<const char*>(bytes), size});
  Require(reply.ok || !reply.text.empty(), "a refusal says why");
  return 0;
}
