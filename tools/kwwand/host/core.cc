// SPDX-License-Identifier: Apache-2.0
#include "kwwand/host/core.h"

#include <syslog.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>

#include "common/dns_paths.h"
#include "shared/dns_files.h"

namespace kor::host {

namespace {

// The service watches it, also while there is no permanent file; a fresh system has no /data.
void MakePermanentFolder() {
  std::error_code error;
  const auto folder = std::filesystem::path(kor::wwan::kPermanentDnsPath).parent_path();
  std::filesystem::create_directory(folder, error);
  if (error) syslog(LOG_ERR, "%s: %s\n", folder.c_str(), error.message().c_str());
}

}  // namespace

Core::Core(const Options& options, std::function<void(const Json& event)> sink_function)
    : sink(std::move(sink_function)), calls(log, sink), lan_journal_(options.lan_journal) {}

Core::~Core() { Stop(); }

void Core::Start() {
  try {
    StartManagers();
  } catch (const std::exception& e) {
    throw std::runtime_error(std::string("the modem cannot be reached: ") + e.what());
  }
}

void Core::StartManagers() {
  dns = std::make_unique<kor::wwan::DnsCtrlManager>();
  dns->SetEventCb([this](kor::util::EventDic& event) {
    log.Append(Source::kDns, event,
               kor::tools::ForwarderServers());  // As they stand: nobody writes before this has returned.
  });
  try {
    StartDns();
  } catch (const RequestError& e) {
    syslog(LOG_ERR, "%s\n", e.what());
  }
  data = std::make_unique<kor::wwan::DataManager>();
  at = std::make_unique<kor::wwan::AtManager>();
  network = std::make_unique<kor::wwan::NetworkManager>();
  device = std::make_unique<kor::wwan::DeviceManager>();
  sim = std::make_unique<kor::wwan::SimManager>();
  sms = std::make_unique<kor::wwan::SmsManager>();
  mobileap = std::make_unique<kor::wwan::MobileapManager>();
  lan = std::make_unique<LanGuard>(sink, lan_journal_);
  lan->Recover();
  Subscribe();
  at->StartService();
  if (at->NotifyRegistrationDone() != 0) syslog(LOG_WARNING, "the modem was not told that the host is ready\n");
  calls.Start(*data);
}

void Core::Subscribe() {
  data->SetEventCb([this](kor::util::EventDic& event) { log.Append(Source::kData, event); });
  network->SetEventCb([this](kor::util::EventDic& event) { log.Append(Source::kNetwork, event); });
  sms->SetEventCb([this](kor::util::EventDic& event) { log.Append(Source::kSms, event); });
}

void Core::Unsubscribe() {
  if (sms) sms->UnsetEventCb();  // Its destructor does not.
  if (network) network->UnsetEventCb();
  if (data) data->UnsetEventCb();
  if (dns) dns->UnsetEventCb();
}

void Core::Stop() {
  calls.Stop();
  if (lan) lan->Close();
  at_claims.Cancel();
  if (at) at->StopService();
  Unsubscribe();
  {
    kor::util::MutexLock lock(dns_mutex_);
    if (dns && !stopped_) dns->StopService();
    dns_running_ = false;
    stopped_ = true;
  }
  sink.Close();
}

void Core::StartDns() {
  kor::util::MutexLock lock(dns_mutex_);
  if (stopped_) throw RequestError(kShuttingDown, "the host is shutting down");
  MakePermanentFolder();
  dns_running_ = dns->StartService();
  if (!dns_running_) {
    (void)dns->StopService();  // Half started, it would say at the next start that it runs.
    throw RequestError(static_cast<int>(kor::Result::kFailure),
                       "the DNS service cannot start: /etc/resolv.conf or the folder /data cannot be watched");
  }
  if (kor::tools::ForwarderPid()) return;
  throw RequestError(
      static_cast<int>(kor::Result::kFailure),
      "the DNS service runs, but names are not resolved: dnsmasq did not start; the log says how it ended, "
      "kwwanctl doctor what prevents it");
}

void Core::StopDns() {
  kor::util::MutexLock lock(dns_mutex_);
  (void)dns->StopService();  // False only says that there was no forwarder to stop.
  dns_running_ = false;
}

}  // namespace kor::host
