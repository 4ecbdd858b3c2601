// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "port/modem_port.h"

namespace kor::vendor::qcom {

// A vendor client as this platform makes it: the declared class, whose layout a device's own has too, and the modem
// port that it was made over.
template <typename Client>
struct OverPort final : Client {
  explicit OverPort(kor::modem::ModemPort& modem) : port(modem) {}

  kor::modem::ModemPort& port;
};

template <typename Client>
kor::modem::ModemPort& PortOf(Client* client) {
  return static_cast<OverPort<Client>*>(client)->port;
}

// The process's one client, made by the first call over the process's modem; `begin` subscribes it to what it
// publishes. Throws what ModemPort::Get() throws, and the next call tries again. Never destroyed: the modem's thread
// may be at work while exit() destroys what is static.
template <typename Client>
Client* OnlyClient(void (*begin)(Client& client, kor::modem::ModemPort& port) = nullptr) {
  static Client* const only = [begin] {
    auto* const client = new OverPort<Client>(kor::modem::ModemPort::Get());
    if (begin != nullptr) begin(*client, client->port);
    return client;
  }();
  return only;
}

}  // namespace kor::vendor::qcom
