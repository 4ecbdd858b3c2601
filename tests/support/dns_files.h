// SPDX-License-Identifier: Apache-2.0
// The DNS service's files as others see them: their paths, and the text of a resolv.conf that is right.
#pragma once

namespace kor::test {

constexpr char kResolvConf[] = "/etc/resolv.conf";
constexpr char kPermanentFile[] = "/data/permanent-dns.conf";
constexpr char kRunDir[] = "/var/run/netctld-dnsmasq";
constexpr char kServerList[] = "/var/run/netctld-dnsmasq/dnsmasq_resolv.conf";
constexpr char kDnsmasqPidFile[] = "/var/run/netctld-dnsmasq/dnsmasq.pid";
constexpr char kRepaired[] = "#AUTOMATICALLY EDITED BY NETCTLD\nnameserver 127.0.0.1\n";

}  // namespace kor::test
