#!/usr/bin/env bash
# in_a_root.sh PACKAGES
# Installs the packages of a folder into a minimal Debian of its own, uses them there and purges them
# (inside.sh). That Debian is made once and kept in ${XDG_CACHE_HOME:-~/.cache}/dorn. Its network is a
# loopback of its own. Exit code 77: this machine cannot make such a root, and why.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
packages=$(realpath "$1")
suite=bookworm
# What packages depend on and what builds a host, so that what is left after purging is theirs.
include=g++,cmake,ninja-build,pkgconf,libncursesw6,libnats3.4,libssl3,systemd

cannot() {
  echo "The packages were not tried: $1." >&2
  exit 77
}
[ "$(id -u)" = 0 ] || cannot "a root of their own can be made by root alone"
for program in mmdebstrap unshare chroot; do
  command -v $program >/dev/null || cannot "$program is missing; script/setup package installs it"
done
said=$(unshare --mount --pid --net --fork true 2>&1) || cannot "this machine allows no namespaces: $said"

mirror=$(apt-get indextargets --format '$(CODENAME) $(COMPONENT) $(REPO_URI)' 'Created-By: Packages' 2>/dev/null |
  awk -v suite=$suite '$1 == suite && $2 == "main" { print $3; exit }')
mirror=${mirror:-http://deb.debian.org/debian}
mirror=${mirror%/}
cache=${XDG_CACHE_HOME:-$HOME/.cache}/dorn
kept=$cache/root-$suite-$(dpkg --print-architecture)-$(cksum <<<"$include" | cut -d' ' -f1).tar
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
started=$SECONDS
if [ ! -e "$kept" ]; then
  /usr/lib/apt/apt-helper download-file "$mirror/dists/$suite/InRelease" "$work/InRelease" >/dev/null 2>&1 ||
    cannot "$mirror does not answer, and $kept is not there yet"
  mkdir -p "$cache"
  rm -f "$cache"/root-*.tar
  if ! mmdebstrap --variant=apt --include="$include" --components=main $suite "$work/root.tar" "$mirror" >"$work/log" 2>&1; then
    cat "$work/log" >&2
    echo "mmdebstrap could not make a root" >&2
    exit 1
  fi
  # Whoever else makes one at the same time sees a whole one or none.
  mv "$work/root.tar" "$kept.$$"
  mv "$kept.$$" "$kept"
  echo "made a root in $((SECONDS - started)) s, kept as $kept"
fi

started=$SECONDS
root=$work/root
mkdir "$root"
tar -x -C "$root" --numeric-owner --xattrs -f "$kept"
mkdir "$root/packages"
cp "$packages"/*.deb "$here/inside.sh" "$here/../../docs/manual/quick-start.md" "$root/packages"
rm -f "$root"/packages/*-dbgsym_*.deb
# Mounts and the network are seen in here alone, and all programs end with the first one.
# shellcheck disable=SC2016
unshare --mount --pid --net --fork --kill-child bash -euc '
  ip link set lo up
  mount -t proc proc "$1/proc"
  mount -t tmpfs tmpfs "$1/run"
  mount --rbind /dev "$1/dev"
  exec env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
    chroot "$1" /packages/inside.sh' in-a-root "$root"
echo "installed, used and purged in $((SECONDS - started)) s"
