#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
#
# footprint.sh BUILD_FOLDER [PEER_LIBRARY...]: what libkwwan takes on a device, beside the least that a C++ library
# takes, and peers. The figures of loading are medians of 31 processes, taken in turns; the host is a C++ program that
# has the platform's libraries already, as a device's daemons do.
#
#   footprint bytes B relocs R libs L load_us T floor_us F rss_kb K private_kb P
#   footprint whole load_us T rss_kb K private_kb P     with the platform's libraries (here: the simulated modem's)
#   footprint needed NAME...                            what it names, but for the platform's libraries
#   footprint peer NAME bytes B relocs R libs L load_us T rss_kb K private_kb P
set -euo pipefail

build=$1
peers=("${@:2}")
processes=31
probe=$build/bench/load_probe
library=$build/lib/libkwwan.so.0
floor=$build/lib/libload_floor.so
platform=("$build"/lib/lib{kutil,tzm_qcmap,tzm_qmi}.so)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

bytes() {
  strip --strip-unneeded -o "$work/stripped" "$1"
  stat -c %s "$work/stripped"
}
relocs() { readelf --relocs --wide "$1" | grep -cE '^[0-9a-f]{8,} '; }
needed() {
  readelf --dynamic --wide "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | grep -vE '^lib(kutil|tzm_qcmap|tzm_qmi)\.so'
}
libs() { needed "$1" | wc -l; }

# One more process: `probe_once NAME LIBRARY [LOADED_BEFORE...]` adds its figures to those of NAME.
probe_once() { "$probe" "${@:2}" >>"$work/$1"; }

# The medians of NAME's figures: "TIME RSS PRIVATE".
medians() {
  local column
  for column in 1 2 3; do
    cut -d ' ' -f "$column" "$work/$1" | sort -n | sed -n "$((processes / 2 + 1))p"
  done | paste -sd ' '
}

for ((i = 0; i < processes; ++i)); do
  probe_once floor "$floor" "${platform[@]}"
  probe_once ours "$library" "${platform[@]}"
  probe_once whole "$library"
  for n in "${!peers[@]}"; do probe_once "peer$n" "${peers[n]}"; done
done

read -r floor_us _ <<<"$(medians floor)"
read -r load_us rss private <<<"$(medians ours)"
echo "footprint bytes $(bytes "$library") relocs $(relocs "$library") libs $(libs "$library")" \
  "load_us $load_us floor_us $floor_us rss_kb $rss private_kb $private"
read -r load_us rss private <<<"$(medians whole)"
echo "footprint whole load_us $load_us rss_kb $rss private_kb $private"
echo "footprint needed $(needed "$library" | paste -sd ' ')"
for n in "${!peers[@]}"; do
  read -r load_us rss private <<<"$(medians "peer$n")"
  name=${peers[n]##*/}
  echo "footprint peer ${name%%.so*} bytes $(bytes "${peers[n]}") relocs $(relocs "${peers[n]}")" \
    "libs $(libs "${peers[n]}") load_us $load_us rss_kb $rss private_kb $private"
done
