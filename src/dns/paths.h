// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kor::wwan {

// Where the system's resolver looks; kept pointing at dnsmasq.
constexpr char kResolvConfPath[] = "/etc/resolv.conf";

// Servers that an operator fixes: when it holds a text, it is used instead of those of the calls.
constexpr char kPermanentDnsPath[] = "/data/permanent-dns.conf";

// dnsmasq's run folder and the two files in it, the only state that outlives the service.
#define KOR_DNSMASQ_DIR "/var/run/netctld-dnsmasq"
constexpr char kDnsmasqDir[] = KOR_DNSMASQ_DIR;
constexpr char kDnsmasqResolvPath[] = KOR_DNSMASQ_DIR "/dnsmasq_resolv.conf";
constexpr char kDnsmasqPidPath[] = KOR_DNSMASQ_DIR "/dnsmasq.pid";
#undef KOR_DNSMASQ_DIR

constexpr unsigned kDnsmasqDirMode = 0777;  // Less the umask: helpers of other users put their files there too.

}  // namespace kor::wwan
