# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
#
# A clean root filesystem of a Debian release, for checks that run as root. It is made once by mmdebstrap
# (build/roots/RELEASE.tar), and so are the packages kept that are installed in it later (build/roots/RELEASE).

roots=$project/build/roots

# As root, or with a sudo that asks nothing: `become_root "$@"` begins the script again.
become_root() { [[ $EUID == 0 ]] || exec sudo -n "$0" "$@"; }

# clean_root RELEASE FOLDER: unpacks it there. What `enter` needs is set.
clean_root() {
  release=$1 root=$2
  mkdir -p "$roots/$release" "$root"
  if [[ ! -e $roots/$release.tar ]]; then
    mmdebstrap --quiet --variant=apt --dpkgopt=force-unsafe-io "$release" "$roots/$release.new.tar"
    mv "$roots/$release.new.tar" "$roots/$release.tar"
  fi
  tar -C "$root" --exclude='./dev/*' -xf "$roots/$release.tar"
  cp /etc/resolv.conf "$root/etc/resolv.conf"
}

# enter [OPTION...] -- COMMAND...: inside that root, with its own processes and devices; the options are bwrap's. /proc
# comes from unshare: bwrap's own is half covered, and the kernel then lets no sandbox in there have another.
enter() {
  unshare --mount --pid --fork --kill-child --mount-proc bwrap --bind "$root" / --dev /dev --bind /proc /proc \
    --bind "$roots/$release" /var/cache/apt/archives --unshare-ipc --die-with-parent --clearenv \
    ${http_proxy:+--setenv http_proxy "$http_proxy"} --setenv PATH /usr/sbin:/usr/bin:/sbin:/bin \
    --setenv DEBIAN_FRONTEND noninteractive --setenv HOME /root "$@"
}
