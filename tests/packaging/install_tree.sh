#!/usr/bin/env bash
# install_tree.sh SOURCE BUILD WORK COMPILER
# Installs what was built, component by component, looks at what each holds, and builds the smallest
# example by itself against it, in the two ways that the README gives.
set -euo pipefail
source=$1
build=$2
work=$3
compiler=$4
fail() {
  echo "$1" >&2
  exit 1
}

rm -rf "$work"
mkdir -p "$work"
files() { (cd "$1" && find . ! -type d | sed 's,^\./,,' | LC_ALL=C sort); }

components=(runtime development tools gateway documentation)
[ ! -f "$build/site/dorn-site.pc" ] || components+=(site)
cmake --install "$build" --prefix "$work/all" >/dev/null
for component in "${components[@]}"; do
  cmake --install "$build" --prefix "$work/$component" --component "$component" >/dev/null
done
diff <(for component in "${components[@]}"; do files "$work/$component"; done | LC_ALL=C sort) \
  <(files "$work/all") || fail "a file belongs to no component or to two"

lib=$(dirname "$(files "$work/runtime" | head -n 1)")
holds() { # COMPONENT PATTERN... : every file of it matches one of the patterns, and each pattern some file
  local component=$1 pattern others
  shift
  others=$(files "$work/$component")
  for pattern in "$@"; do
    grep -qxE "$pattern" <<<"$others" || fail "$component has no $pattern"
    others=$(grep -vxE "$pattern" <<<"$others" || true)
  done
  [ -z "$others" ] || fail "$component has what does not belong there: $others"
}
holds runtime "$lib/libdorn\.so\.1" "$lib/libdorn\.so\.1\.8\.7"
holds development "$lib/libdorn\.so" 'include/dorn/dorn\.h' 'include/dorn/(base|loop|net|json|model|server)/[A-Za-z]+\.h' \
  'share/man/man7/libdorn\.7' \
  "$lib/cmake/dorn/(dorn(Config|ConfigVersion|Targets|Targets-[a-z]+)|Dorn(Run)?HostTest)\.cmake" "$lib/pkgconfig/dorn\.pc"
holds tools 'bin/dorn-(station|lint|load|terminal|top)' 'share/man/man1/dorn-(station|lint|load|terminal|top)\.1' \
  'share/dorn/resource\.schema\.json' 'share/dorn/dorn\.lua'
holds gateway 'bin/dorn-gateway' 'share/man/man1/dorn-gateway\.1'
[ ! -d "$work/site" ] || holds site "$lib/libdorn-site\.so" "$lib/libdorn-site\.so\.1" "$lib/libdorn-site\.so\.1\.8\.7" \
  'include/dorn-site/site/(Archive|Export|SharedDialog|Site)\.h' "$lib/pkgconfig/dorn-site\.pc" \
  "$lib/cmake/dorn-site/dorn-site(Config|ConfigVersion|Targets|Targets-[a-z]+)\.cmake"
holds documentation 'share/doc/dorn/(README|CHANGELOG)\.md' 'share/doc/dorn/docs/[a-z-]+\.md' \
  'share/doc/dorn/docs/images/[a-z]+\.png' 'share/doc/dorn/docs/manual/.+'

for program in "$work"/all/bin/*; do
  page=$work/all/share/man/man1/$(basename "$program").1
  [ -f "$page" ] || fail "$(basename "$program") has no man page in docs/man"
done

# The tool finds the library beside which it was installed, also when the folder has moved.
mkdir "$work/moved"
cp -a "$work/runtime/." "$work/tools/." "$work/moved"
for tool in dorn-station dorn-terminal dorn-load dorn-top; do
  env -u LD_LIBRARY_PATH "$work/moved/bin/$tool" --help >/dev/null || fail "the installed $tool does not start"
done

for line in 'cmake -S examples/smallest -B build/smallest -G Ninja && cmake --build build/smallest' \
  'g++ -std=c++17 main.cc -o smallest $(pkg-config --cflags --libs dorn)'; do
  grep -qxF "$line" "$source/README.md" || fail "README.md does not say: $line"
done
export PKG_CONFIG_PATH=$work/all/$lib/pkgconfig
cd "$source/examples/smallest"
cmake -S . -B "$work/smallest" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$work/all" >/dev/null
cmake --build "$work/smallest" >"$work/smallest.log" || { cat "$work/smallest.log"; fail "the smallest example does not build by itself"; }
# Its scenes, played by the installed dorn-station; without that, a word on what is missing.
cmake -S . -B "$work/smallest" -DBUILD_TESTING=ON >/dev/null
ctest --test-dir "$work/smallest" >"$work/scenes.log" || { cat "$work/scenes.log"; fail "the scenes do not hold"; }
grep -q '100% tests passed, 0 tests failed out of 1' "$work/scenes.log" || fail "no scenes are played: $(cat "$work/scenes.log")"
rm -rf "$work/without"
cmake --install "$build" --prefix "$work/without" --component development >/dev/null
cmake --install "$build" --prefix "$work/without" --component runtime >/dev/null
if said=$(cmake -S . -B "$work/no-tools" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$work/without" \
  -DBUILD_TESTING=ON 2>&1); then fail "scenes without dorn-station"; fi
grep -q 'needs dorn-station' <<<"$said" || fail "no word on the missing dorn-station: $said"
# shellcheck disable=SC2046
"$compiler" -std=c++17 main.cc -o "$work/one-line" $(pkg-config --cflags --libs dorn)
cp -r resources "$work/resources"
cd "$source"

# A host of a site, in the same two ways. No broker is there: it starts and waits for one.
a_host_of_a_site() {
  local host=$source/tests/packaging/site-host program said
  [ "$(pkg-config --modversion dorn-site)" = "$(pkg-config --modversion dorn)" ] || fail "dorn-site.pc has another version than dorn.pc"
  cmake -S "$host" -B "$work/site-host" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$work/all" >/dev/null
  cmake --build "$work/site-host" >"$work/site-host.log" || { cat "$work/site-host.log"; fail "a host of a site does not build through CMake"; }
  # shellcheck disable=SC2046
  "$compiler" -std=c++17 "$host/main.cc" -o "$work/site-one-line" $(pkg-config --cflags --libs dorn-site)
  for program in "$work/site-host/site_host" "$work/site-one-line"; do
    said=$(DORN_SITE=plant DORN_SITE_BROKERS=nats://127.0.0.1:1 DORN_STATION=127.0.0.1:0 LD_LIBRARY_PATH=$work/all/$lib \
      "$program") || fail "$program fails with $?: $said"
    grep -qx 'a host of the site "plant" has started' <<<"$said" || fail "$program says: $said"
  done
}
[ ! -d "$work/site" ] || a_host_of_a_site

for program in "$work/smallest/smallest" "$work/one-line"; do
  LD_LIBRARY_PATH=$work/all/$lib tests/examples/smallest.sh "$program" "$work/all/bin/dorn-station" || fail "$program does not serve"
done
