#!/usr/bin/env bash
# embed.sh SOURCE WORK
# Another project takes the library in with add_subdirectory: it gets the library, no tests, no
# package to look for, and nothing that its own installation would carry along.
set -euo pipefail
source=$1
work=$2
fail() {
  echo "$1" >&2
  exit 1
}

rm -rf "$work"
mkdir -p "$work"
cmake -S "$source/tests/packaging/embedding" -B "$work/build" -G Ninja -DDORN_SOURCE="$source" -DDORN_UNITY=ON \
  -DCMAKE_INSTALL_PREFIX="$work/prefix" >"$work/configure.log" 2>&1 || { cat "$work/configure.log"; fail "it cannot be configured"; }
cmake --build "$work/build" >"$work/build.log" || { cat "$work/build.log"; fail "it does not build"; }
"$work/build/host" || fail "the host of the embedding project failed"
cmake --install "$work/build" >/dev/null
[ ! -e "$work/prefix" ] || fail "the library installs itself with the embedding project: $(find "$work/prefix" -type f)"
