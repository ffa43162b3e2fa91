#!/usr/bin/env bash
# The demo that is left running says which address to open when that answers, and ends when told to.
set -euo pipefail
. "$(dirname "$0")/common.sh"
build=$1
said=$(mktemp)
script/demo --serve --listen 127.0.0.1:0 --use "$build" >"$said" 2>&1 &
demo=$!
trap 'kill $demo 2>/dev/null || true; wait $demo 2>/dev/null || true; rm -f "$said"' EXIT
for _ in $(seq 400); do
  grep -q 'Ctrl-C' "$said" && break
  kill -0 $demo 2>/dev/null || fail "the demo ended: $(cat "$said")"
  sleep 0.05
done
address=$(sed -n 's,.*http://\([0-9.:]*\)/ .*,\1,p' "$said")
[ -n "$address" ] || fail "no address is named: $(cat "$said")"
grep -q 'user: tanaka    password: water' "$said" || fail "no user is named: $(cat "$said")"
get() { # PATH
  exec {web}<>"/dev/tcp/${address%:*}/${address##*:}"
  printf 'GET %s HTTP/1.1\r\nHost: %s\r\nConnection: close\r\n\r\n' "$1" "$address" >&$web
  timeout 5 cat <&$web || true
  exec {web}>&-
}
grep -q '^HTTP/1.1 200' <<<"$(get /)" || fail "the page is not served"
grep -q '"host":"up"' <<<"$(get /healthz)" || fail "the server is not behind it"
kill -TERM $demo
status=0
wait $demo || status=$?
[ $status = 0 ] || fail "the demo ends with $status: $(cat "$said")"
script/port-is-free || fail "the server is still there"
