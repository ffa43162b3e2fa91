#!/usr/bin/env bash
# abi.sh BUILD LIBRARY WORK
#   Compares the library, built with -g, with the record of the released one: anything that abidiff says
#   and debian/abi-accepted does not is a fault. abidiff calls a virtual function in another slot
#   compatible; so slots and offsets of every public class stand in class-layout.txt as well.
# abi.sh BUILD LIBRARY WORK --layout  writes class-layout.txt anew
# abi.sh BUILD LIBRARY WORK --record  writes the record anew, for a release
set -euo pipefail
build=$1
library=$(realpath "$2")
work=$3
cd "$(dirname "$0")/../.."
record=debian/abi/libdorn.so.1.abi.gz
layout=tests/packaging/class-layout.txt
fail() {
  echo "$1" >&2
  exit 1
}

rm -rf "$work"
mkdir -p "$work"
# The installed headers tell which types are public.
cmake --install "$build" --prefix "$work/prefix" --component development >/dev/null
abidw --headers-dir "$work/prefix/include" --drop-private-types --exported-interfaces-only --no-show-locs \
  --no-corpus-path --no-comp-dir-path --suppressions debian/abi-suppressions --out-file "$work/now.abi" "$library"
tests/packaging/class_layout.py "$work/now.abi" "$library" >"$work/layout"
[ "$(grep -c slot "$work/layout")" -gt 100 ] || fail "abidw sees no classes; is $library built with -g?"
case "${4:-}" in
  --layout) exec cp "$work/layout" $layout ;;
  --record) exec sh -c 'gzip -9n <"$1" >"$2"' sh "$work/now.abi" $record ;;
esac

failed=0
gzip -dc $record >"$work/released.abi"
abidiff --no-show-locs --no-added-syms "$work/released.abi" "$work/now.abi" >"$work/told" || true
# A summary of nothing is what it says of added functions alone.
grep -vE '^$|changes summary: 0 Removed,( 0 Changed( \(.*\))?,)? 0 Added' "$work/told" >"$work/said" || true
if ! diff <(grep -vE '^(#|$)' debian/abi-accepted) "$work/said"; then
  echo "That is what abidiff says of the released library and this one, beside debian/abi-accepted." >&2
  failed=1
fi
if ! diff -u $layout "$work/layout"; then
  echo "Classes that hosts are compiled with have changed. Only what is new, behind what is there, may be added; then run:" >&2
  echo "  tests/packaging/abi.sh $build $library $work --layout" >&2
  failed=1
fi
exit $failed
