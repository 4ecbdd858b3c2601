// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "kwwand/wire/method.h"

namespace kor::host {

class Core;

// The host's inside: the library's managers, the services they start, the reconnects, and the methods over them.
//
// Thread safety: Start and Stop are called by one thread, once each; a method may run on any thread, any number at once
// (those of Lane::kShort are meant to run one after another).
//
// Ownership: methods share the inside with the host, so a method that is still waiting in the library (up to 10
// seconds; a scan 3 minutes) outlives the host and its Methods safely. A process that does not want to wait for it ends
// with _exit() after Stop().
//
//   Host host({}, [&](const Json& event) { server.Publish(event); });
//   std::string why;
//   if (!host.Start(why)) ...
//   server.Serve(host.MakeMethods());
//   host.Stop();
class Host {
 public:
  struct Options {
    std::chrono::milliseconds backoff_min{1000};   // The wait before the first reconnect; it doubles from there on ...
    std::chrono::milliseconds backoff_max{60000};  // ... up to this.
    std::string lan_journal{};                     // See LanJournal.
  };

  // `sink` hears every event as the params of an "event" notification, on any thread, from Start() until Stop() has
  // returned; it does not block and calls no method.
  Host(Options options, std::function<void(const Json& event)> sink);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  // Makes the managers, starts the DNS and the AT service, connects what is to be connected by itself. False with the
  // reason when the modem cannot be reached. A DNS service that cannot start is no reason: dns.show tells, the log
  // tells why, dns.start tries again.
  bool Start(std::string& why);

  // Ends all that: no event and no reconnect comes any more, an unconfirmed LAN change is rolled back, both services
  // are stopped. Does not wait for methods, which may still be in the library. Without effect before Start().
  void Stop();

  // Every method but host.version and monitor.start. Requires: none runs before Start() has returned true.
  Methods MakeMethods();

 private:
  std::shared_ptr<Core> core_;
};

}  // namespace kor::host
