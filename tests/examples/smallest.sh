#!/usr/bin/env bash
# The smallest host serves two stations: one changes the lamp, the other sees it.
set -euo pipefail
. "$(dirname "$0")/common.sh"
host=$1
station=$2
script/port-is-free
start_server "$host"
"$station" --id two --pass secret --dialog panel --expect '"Value":"ON","Name":"lamp"' --timeout 20 >/dev/null &
watcher=$!
# The watcher is in the dialog once the server has sent it the whole panel.
for _ in $(seq 200); do
  grep -q ' dname=panel .*"title"' "$log" && break
  sleep 0.05
done
"$station" --id one --pass secret --dialog panel 'expect "Name":"lamp"' 'set lamp Value ON' --linger 0.2 >/dev/null ||
  fail "the first station"
wait $watcher || fail "the second station did not see the lamp go on"
"$station" --id one --pass wrong --expect 認証失敗 >/dev/null || fail "a wrong password was not refused"
! grep -q '"Pass":"[^*]' "$log" || fail "the console shows a password: $(grep -m1 '"Pass":"[^*]' "$log")"
! grep -qE 'sid=[0-9a-f]{9}' "$log" || fail "the console shows a whole session id"
