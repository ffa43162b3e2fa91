#!/usr/bin/env bash
# Who is at the panel of the pumping station is shown there, until the station goes.
set -euo pipefail
. "$(dirname "$0")/common.sh"
start_server_anywhere "$1"
hello='{"Command":"HELLO","Id":"tanaka","Pass":"water"}'
enter='{"Command":"CHANGE","DialogName":"panel"}'
watcher=$(mktemp)
speak 4 "$hello" "$enter" >"$watcher" &
speaking=$!
for _ in $(seq 100); do
  grep -q 'ADD.*"operator1"' "$log" && break
  sleep 0.05
done
speak 1 '{"Command":"HELLO","Id":"suzuki","Pass":"valve"}' "$enter" | grep -q '"operator2"' ||
  fail "the second operator is not at the panel"
wait $speaking
added=$(grep -c 'ADD.*"operator2"' "$watcher") || true
deleted=$(grep -c 'DELETE.*operator2' "$watcher") || true
said=$(cat "$watcher")
rm -f "$watcher"
[ "$added" = 1 ] || fail "the second operator came $added times: $said"
[ "$deleted" = 1 ] || fail "the second operator went $deleted times: $said"
