#!/usr/bin/env bash
# Compares what a library exports with the checked-in list. Inline functions and template
# instantiations (weak symbols) come and go with the optimiser and are left out; virtual tables and
# type information are not.
#   exported_symbols.sh LIBRARY LIST            compares
#   exported_symbols.sh LIBRARY LIST --update   writes the list anew, and the symbols file of its package after it
set -euo pipefail
library=$1
list=$2
exported() {
  nm -D --defined-only "$library" | awk '$2 ~ /^[TDBR]$/ || $3 ~ /^_ZT[VIS](N4dorn(4site)?)?[0-9]/ { print $3 }' | c++filt | LC_ALL=C sort -u
}
if [ "${3:-}" = --update ]; then
  exported > "$list"
  here=$(dirname "$0")
  package=$(basename "$library" | sed 's/\.so.*//')1
  "$here/debian_symbols.sh" "$list" "$here/../../debian/$package.symbols" --update
  exit
fi
if ! diff -u "$list" <(exported); then
  echo "The exported symbols are not those of $(basename "$list"). If the change is meant, run:"
  echo "  tests/packaging/exported_symbols.sh $library tests/packaging/$(basename "$list") --update"
  exit 1
fi
