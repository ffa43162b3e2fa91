#!/usr/bin/env bash
# man_page.sh PAGE [PROGRAM]
# man formats the page without a warning, and the options that it describes are those that the
# program's --help names.
set -euo pipefail
page=$1
export LC_ALL=C.UTF-8
fail() {
  echo "$1" >&2
  exit 1
}

warnings=$(man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 >/dev/null)
[ -z "$warnings" ] || fail "man warns: $warnings"
text=$(MANWIDTH=100 man -l "$page" | sed 's/.\x08//g')
for heading in NAME SYNOPSIS DESCRIPTION 'SEE ALSO'; do
  grep -qx "$heading" <<<"$text" || fail "there is no $heading"
done
[ $# -gt 1 ] || exit 0

options() { grep -oE '(^|[ ,[])--[a-z][a-z-]*' | grep -oE -- '--[a-z-]+' | sort -u; }
# What begins a line of that section describes an option, at most with another one before it.
described=$(sed -n '/^OPTIONS$/,/^[A-Z]/p' <<<"$text" | grep -E '^ {7}-' | options)
known=$("$2" --help | sed -n '/^Options:/,/^$/p' | grep -E '^  -' | options)
[ -n "$known" ] || fail "$(basename "$2") --help names no options"
diff <(echo "$known") <(echo "$described") || fail "$(basename "$page") does not describe what $(basename "$2") --help names (left: --help)"
