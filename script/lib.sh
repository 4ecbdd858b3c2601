# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
#
# What the project's scripts share. Sourced by bash scripts under `set -euo pipefail`.

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
cores=$(nproc)

bold='' green='' red='' dim='' plain=''
if [[ -t 1 && ${TERM-dumb} != dumb && -z ${NO_COLOR-} ]]; then
  bold=$'\e[1m' green=$'\e[32m' red=$'\e[31m' dim=$'\e[2m' plain=$'\e[0m'
fi

# The time since $1, a moment as now_us told it, in seconds.
now_us() { printf '%s\n' "${EPOCHREALTIME//[!0-9]/}"; }
seconds_since() {
  local us=$((${EPOCHREALTIME//[!0-9]/} - $1))
  printf '%d.%d s' $((us / 1000000)) $((us / 100000 % 10))
}

fail() {
  printf '%s%s: %s%s\n' "$red" "${0##*/}" "$*" "$plain" >&2
  exit 1
}

# What a check goes on after: tells it, and counts it.
faults=0
fault() {
  printf '%s\n' "$*" >&2
  faults=$((faults + 1))
}

# step NAME COMMAND...: runs the command under a heading and says how it ended and how long it took.
step() {
  local name=$1 start status=0
  start=$(now_us)
  printf '%s== %s%s\n' "$bold" "$name" "$plain"
  "${@:2}" || status=$?
  if [[ $status == 0 ]]; then
    printf '%s   ok%s %s %s(%s)%s\n' "$green" "$plain" "$name" "$dim" "$(seconds_since "$start")" "$plain"
  else
    printf '%s   FAILED%s %s (%s)\n' "$red" "$plain" "$name" "$(seconds_since "$start")"
  fi
  return "$status"
}

# Configure, and build, a preset of CMakePresets.json in build/PRESET. Where KWWAN_WERROR is set, as CI does, warnings
# are errors.
configure() { (cd "$project" && cmake --preset "$1" "-DKWWAN_WERROR=${KWWAN_WERROR:-OFF}" "${@:2}"); }
compile() { cmake --build "$project/build/$1" --parallel "$cores" "${@:2}"; }

# The source files of the project, one a line, relative to its folder.
own_sources() {
  (cd "$project" && find . -path ./build -prune -o -type f '(' -name '*.cc' -o -name '*.h' ')' -print | sort)
}
