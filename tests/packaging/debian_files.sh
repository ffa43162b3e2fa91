#!/usr/bin/env bash
# debian_files.sh SOURCE WORK
# What debian/ says again is what is said elsewhere, and its services are locked in.
set -uo pipefail
cd "$1" || exit 1
work=$2
failed=0
fail() {
  echo "$1" >&2
  failed=1
}

version=$(sed -nE 's/^#define DORN_VERSION "(.*)"/\1/p' dorn/base/Version.h)
packaged=$(sed -nE '1s/^dorn \(([^)]*)\).*/\1/p' debian/changelog)
[[ "$packaged" = "$version" || "$packaged" = "$version"[+-]* ]] || fail "debian/changelog is about $packaged, not $version"

for library in libdorn libdorn-site; do
  list=tests/packaging/exported-symbols${library#libdorn}.txt
  tests/packaging/debian_symbols.sh "$list" "debian/${library}1.symbols" || fail "see above"
done

# What builds the tree builds the packages; the compiler is at hand wherever packages are built.
installed=$(. <(sed -nE '/^demo=\(/,/\)$/p; /^gateway=\(/,/\)$/p; /^sitelib=\(/,/\)$/p' script/setup) && printf '%s\n' "${gateway[@]}" "${sitelib[@]}" | grep -vx 'g++' | sort -u)
declared=$(sed -n '/^Build-Depends:/,/^[A-Z]/p' debian/control | sed -nE 's/^ ([a-z0-9.+-]+)( \(.*\))?,$/\1/p' | grep -v '^debhelper' | sort)
diff <(echo "$installed") <(echo "$declared") || fail "debian/control builds with other packages than script/setup gateway and site install"

rm -rf "$work"
mkdir -p "$work"
shopt -s nullglob
units=(debian/*.service)
[ ${#units[@]} -ge 2 ] || fail "services are missing"
for file in "${units[@]}"; do
  # A template is judged by its name after installation.
  unit=$(basename "$file" | sed -E 's/^dorn-tools\.//')
  cp "$file" "$work/$unit"
  said=$(cd "$work" && LC_ALL=C.UTF-8 systemd-analyze security --offline=true "./$unit" 2>&1)
  level=$(sed -nE 's/.*exposure level for .*: ([0-9.]+) .*/\1/p' <<<"$said")
  echo "$unit: exposure ${level:-unknown}"
  [ -n "$level" ] && awk -v level="$level" 'BEGIN { exit level > 2.5 }' || fail "$unit: exposure ${level:-unknown}, 2.5 is allowed: $said"
  # Programs and manual pages that are not installed here are no fault of the unit.
  faults=$(cd "$work" && systemd-analyze verify "./${unit/@/@name}" 2>&1 | grep -F "${unit%%[@.]*}" | grep -vE 'is not executable|Command .man')
  [ -z "$faults" ] || fail "$faults"
done

# What the manual says to put beside a host's unit is what systemd knows.
mkdir "$work/dorn-host@.service.d"
awk '/^```ini$/ { inside = 1; next } /^```$/ { inside = 0 } inside' docs/manual/guides/operator.md >"$work/dorn-host@.service.d/own.conf"
grep -q '^\[Service\]$' "$work/dorn-host@.service.d/own.conf" || fail "the operator's guide has no drop-in"
faults=$(SYSTEMD_UNIT_PATH=$(realpath "$work"): systemd-analyze verify --man=no dorn-host@name.service 2>&1 | grep -F own.conf)
[ -z "$faults" ] || fail "$faults"
exit $failed
