#!/usr/bin/env bash
# The host in the README is the one that is compiled.
set -euo pipefail
. "$(dirname "$0")/common.sh"
diff <(sed -n '/^```cpp$/,/^```$/p' README.md | sed '1d;$d') examples/smallest/main.cc || fail "README.md shows another host"
lines=$(wc -l <examples/smallest/main.cc)
[ "$lines" -le 55 ] || fail "the smallest host has grown to $lines lines"
