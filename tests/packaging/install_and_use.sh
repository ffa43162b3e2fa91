#!/usr/bin/env bash
# install_and_use.sh SOURCE WORK COMPILER TYPE
# Builds the library alone, installs it into an empty prefix, looks at what lies there, and builds
# and runs a host against it. A release goes into a staging folder instead, with its libraries in
# Debian's deeper folder, as a package is made.
set -euo pipefail
source=$1
work=$2
compiler=$3
type=$4
if [ "$type" = Release ]; then
  export DESTDIR=$work/stage
  installed=/usr
  lib=lib/x86_64-linux-gnu
else
  installed=$work/prefix
  lib=lib
fi
prefix=${DESTDIR:-}$installed

fail() {
  echo "$1" >&2
  exit 1
}

rm -rf "$work"
mkdir -p "$work"
cmake -S "$source" -B "$work/library" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE="$type" \
  -DBUILD_TESTING=OFF -DDORN_UNITY=ON -DDORN_WERROR=ON -DCMAKE_INSTALL_PREFIX="$installed" -DCMAKE_INSTALL_LIBDIR=$lib >/dev/null
cmake --build "$work/library" >"$work/build.log" || { cat "$work/build.log"; fail "the library does not build"; }
cmake --install "$work/library" >/dev/null
unset DESTDIR

library=$prefix/$lib/libdorn.so.1.8.7
[ -f "$library" ] && [ ! -L "$library" ] || fail "libdorn.so.1.8.7 is not there"
[ "$(readlink "$prefix/$lib/libdorn.so.1")" = libdorn.so.1.8.7 ] || fail "libdorn.so.1 does not lead to the library"
[ "$(readlink "$prefix/$lib/libdorn.so")" = libdorn.so.1 ] || fail "libdorn.so does not lead to libdorn.so.1"
readelf -d "$library" | grep -q 'SONAME.*\[libdorn.so.1\]' || fail "the SONAME is not libdorn.so.1"
# libgcc_s comes with libstdc++, and the loader (for thread-local storage) with libc.
foreign=$(readelf -d "$library" | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p' | grep -vE '^(libstdc\+\+\.so\.6|libc\.so\.6|libgcc_s\.so\.1|ld-linux[^]]*)$' || true)
[ -z "$foreign" ] || fail "the library needs more than libstdc++ and libc: $foreign"
[ -f "$prefix/include/dorn/dorn.h" ] || fail "dorn/dorn.h is not installed"
for internal in base/Clock.h base/Check.h server/App.h; do
  [ ! -e "$prefix/include/dorn/$internal" ] || fail "internal header dorn/$internal is installed"
done

host=$source/tests/packaging/host
export LD_LIBRARY_PATH=$prefix/$lib
cmake -S "$host" -B "$work/cmake-host" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE="$type" \
  -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake-host" >"$work/host.log" || { cat "$work/host.log"; fail "the host does not build through CMake"; }
"$work/cmake-host/host" || fail "the host built through CMake failed"

export PKG_CONFIG_PATH=$prefix/$lib/pkgconfig
[ "$(pkg-config --modversion dorn)" = 1.8.7 ] || fail "dorn.pc has another version"
for variable in "prefix $prefix" "libdir $prefix/$lib" "includedir $prefix/include"; do
  told=$(pkg-config --variable="${variable% *}" dorn)
  [ "$(realpath "$told")" = "$(realpath "${variable#* }")" ] || fail "dorn.pc says that ${variable% *} is $told"
done
for flags in -O0 -O2; do
  # shellcheck disable=SC2046
  "$compiler" -std=c++17 $flags "$host"/*.cc $(pkg-config --cflags --libs dorn) -o "$work/pkg-config-host$flags"
  "$work/pkg-config-host$flags" || fail "the host built through pkg-config with $flags failed"
done
