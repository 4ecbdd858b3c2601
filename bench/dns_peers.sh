#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
#
# dns_peers.sh FOLDER INTERFACES...: what other helpers take to put the servers of one interface into the resolver's
# files, while so many interfaces have servers. Runs in the sandbox. FOLDER holds openresolv as its package unpacks;
# when it does not, the system's is measured, if it has one.
#
#   dns peer NAME interfaces=N ms T          processor time of all its processes, mean of 21 runs with other servers each
#   dns peer NAME skipped: WHY
set -euo pipefail

root=$1
interfaces=("${@:2}")
runs=21

# The unpacked script names its parts by their installed place.
unpacked_resolvconf() {
  local parts=$root/lib/resolvconf
  mkdir -p /tmp/openresolv
  cp -r "$parts/." /tmp/openresolv
  sed "s#^LIBEXECDIR=.*#LIBEXECDIR=/tmp/openresolv#" "$root/sbin/resolvconf" >/tmp/resolvconf
  sed -i "s#^LIBEXECDIR=.*#LIBEXECDIR=/tmp/openresolv#" /tmp/openresolv/libc /tmp/openresolv/dnsmasq
  chmod +x /tmp/resolvconf
}

servers() { printf 'nameserver 10.64.%d.%d\nnameserver fd64:%d::%d\n' "$1" "$2" "$1" "$2"; }

bring() {
  servers 0 "$1" | "$command" -a rmnet_data0
  grep -q "10.64.0.$1\$" /run/dnsmasq_resolv.conf || { echo "$command did not write" >&2; exit 1; }
}

measure() {
  local name=$1 count=$2 i user system us
  for ((i = 0; i < count; ++i)); do servers "$i" 1 | "$command" -a "rmnet_data$i"; done
  TIMEFORMAT='%3U %3S'
  read -r user system < <({ time for ((i = 2; i < runs + 2; ++i)); do bring "$i"; done; } 2>&1)
  us=$((10#${user/./}000 + 10#${system/./}000))
  printf 'dns peer %s interfaces=%d ms %d.%02d\n' "$name" "$count" $((us / runs / 1000)) $((us / runs % 1000 / 10))
}

printf '%s\n' 'resolv_conf=/etc/resolv.conf' 'name_servers=127.0.0.1' 'dnsmasq_resolv=/run/dnsmasq_resolv.conf' \
  'dnsmasq_conf=/run/dnsmasq_names.conf' >/etc/resolvconf.conf
command=$(command -v resolvconf || true)
if [[ -x $root/sbin/resolvconf ]]; then
  unpacked_resolvconf
  command=/tmp/resolvconf
elif [[ -n $command ]] && ! grep -q openresolv "$command"; then
  command=
fi
if [[ -n $command ]]; then
  for count in "${interfaces[@]}"; do measure openresolv "$count"; done
else
  echo 'dns peer openresolv skipped: it is not here'
fi
if command -v resolvectl >/dev/null; then
  echo 'dns peer resolved skipped: it needs a system bus of its own'
else
  echo 'dns peer resolved skipped: it is not here'
fi
