#!/usr/bin/env bash
# Who is at the panel of the pumping station is shown there, until the station goes.
set -euo pipefail
. "$(dirname "$0")/common.sh"
start_server_anywhere "$1"
hello='{"Command":"HELLO","Id":"tanaka","Pass":"water"}'
enter='{"Command":"CHANGE","DialogName":"panel"}'
watcher=$(mktemp)
converse "" "$hello" "$enter" >"$watcher" &
watching=$!
until_it() { # COMMAND...
  for _ in $(seq 600); do if "$@"; then break; fi; sleep 0.05; done
}
until_it grep -q 'ADD.*"operator1"' "$log"
grep -q '"operator2"' <<<"$(ask '{"Command":"HELLO","Id":"suzuki","Pass":"valve"}' "$enter")" ||
  fail "the second operator is not at the panel"
until_it grep -q 'DELETE.*operator2' "$watcher"
added=$(grep -c 'ADD.*"operator2"' "$watcher") || true
deleted=$(grep -c 'DELETE.*operator2' "$watcher") || true
kill $watching
said=$(cat "$watcher")
rm -f "$watcher"
[ "$added" = 1 ] || fail "the second operator came $added times: $said"
[ "$deleted" = 1 ] || fail "the second operator went $deleted times: $said"
