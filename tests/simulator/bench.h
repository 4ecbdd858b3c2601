// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "common/mutex.h"
#include "common/vendor/qcmap_wrapper.h"
#include "simulator/sim_modem.h"
#include "support/inbox.h"

namespace kor::test {

using kor::modem::SimModem;
using kor::util::IPFamily;
using kor::vendor::qcom::qcmap::QcmapWrapper;
using ConnectStatus = QcmapWrapper::ConnectStatus;
using NetworkConfig = QcmapWrapper::NetworkConfig;
using Milliseconds = SimModem::Milliseconds;

constexpr IPFamily kIpv4 = IPFamily::kIpv4;
constexpr IPFamily kIpv6 = IPFamily::kIpv6;
constexpr IPFamily kBoth = IPFamily::kBoth;
constexpr kor::Result kSuccess = kor::Result::kSuccess;
constexpr kor::Result kFailure = kor::Result::kFailure;
constexpr kor::Result kNotReady = kor::Result::kNotReady;

// A subscriber of the wrapper: keeps its events as texts, "connected 100 4".
class Listener {
 public:
  explicit Listener(QcmapWrapper* qcmap);
  ~Listener();

  // The oldest event not yet taken, waited for; "nothing" when none comes.
  std::string Next() { return heard_.Next("nothing"); }

  // Runs `look` on the modem's thread with each event; what it returns is put behind the event's text.
  void Observe(std::function<std::string()> look);

 private:
  void Hear(const std::string& text);

  QcmapWrapper* const qcmap_;
  Inbox<std::string> heard_;
  kor::util::Mutex mutex_;
  std::function<std::string()> look_ KOR_GUARDED_BY(mutex_);
};

// A bench with the simulated modem, its wrapper and a listener; calls have events only.
class BenchTest : public testing::Test {
 protected:
  void SetUp() override { modem.SetLinks(false); }

  // "connected disconnected": states of the two calls; "unknown" when there is no such policy.
  std::string States(uint32_t index);

  // "success 10.64.0.2 10.255.0.53 -": result and texts of one call's configuration.
  std::string Config(uint32_t index, IPFamily family);

  // Asks for a call, or for its end: the event that follows.
  std::string Connect(uint32_t index, IPFamily family);
  std::string Disconnect(uint32_t index, IPFamily family);

  // Brings a call up and takes the event.
  void BringUp(uint32_t index, IPFamily family);

  // Nothing is pending and no event was left untaken.
  void ExpectQuiet();

  SimModem& modem = SimModem::Get();
  QcmapWrapper* const qcmap = QcmapWrapper::GetInstance();
  Listener listener{qcmap};
};

// The IPv4 and global IPv6 addresses of an interface in the order of the system, "10.64.0.2 fd64::2"; "none" without
// any, "absent" when there is no such interface.
std::string Addresses(const std::string& interface);

}  // namespace kor::test
