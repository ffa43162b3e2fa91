#!/usr/bin/env bash
# Help and exit codes of the station tool, as far as they need no server.
set -uo pipefail
. "$(dirname "$0")/common.sh"
station=$1
"$station" --help | grep -q 'expect TEXT' || fail "--help does not list what a line may be"
"$station" --port 0 2>/dev/null
[ $? = 2 ] || fail "wrong usage does not end with 2"
"$station" --port 1 --id me 2>/dev/null
[ $? = 3 ] || fail "no server does not end with 3"
said=$("$station" --port 1 --id me 2>&1)
grep -q 'Is the server running' <<<"$said" || fail "no hint what to do: $said"
