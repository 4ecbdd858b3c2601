// SPDX-License-Identifier: Apache-2.0
// The DNS service's files, for the library and for programs that show or check them.
#pragma once

namespace kor::wwan {

// Where the system's resolver looks, and the text that it is kept at: everybody asks dnsmasq.
constexpr char kResolvConfPath[] = "/etc/resolv.conf";
constexpr char kResolvConfText[] = "#AUTOMATICALLY EDITED BY NETCTLD\nnameserver 127.0.0.1\n";

// Servers that an operator fixes: when it holds a text, it is used instead of those of the calls.
constexpr char kPermanentDnsPath[] = "/data/permanent-dns.conf";

// dnsmasq's run folder and the two files in it, the only state that outlives the service.
constexpr char kDnsmasqDir[] = "/var/run/netctld-dnsmasq";
constexpr char kDnsmasqResolvPath[] = "/var/run/netctld-dnsmasq/dnsmasq_resolv.conf";
constexpr char kDnsmasqPidPath[] = "/var/run/netctld-dnsmasq/dnsmasq.pid";
constexpr unsigned kDnsmasqDirMode = 0777;  // Less the umask: helpers of other users put their files there too.

}  // namespace kor::wwan
