#!/usr/bin/env bash
# A server that is told to stop ends in order: its stations are disconnected, and it ends with 0.
set -euo pipefail
. "$(dirname "$0")/common.sh"
station=$1
shift
for program in "$@"; do
  for signal in TERM INT; do
    start_server_anywhere "$program"
    said=$(mktemp)
    "$station" --port "$port" --id tanaka --pass wrong --expect '[closed by the server]' --timeout 20 >"$said" &
    watcher=$!
    for _ in $(seq 200); do
      grep -q 認証失敗 "$said" && break
      sleep 0.05
    done
    kill -$signal $server
    status=0
    wait $server || status=$?
    [ $status = 0 ] || fail "$program ends with $status after SIG$signal: $(tail -n 5 "$log")"
    wait $watcher || fail "the station was not disconnected: $(cat "$said")"
    grep -q 'socket delete' "$log" || fail "the connection was not closed in order"
    rm -f "$said"
  done
done
