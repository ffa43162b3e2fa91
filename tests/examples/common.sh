# Helpers of the shell tests beside this file.
fail() {
  echo "FAILED: $1" >&2
  exit 1
}

# Starts a server, keeping its output in $log, and waits until it listens.
start_server() { # PROGRAM
  log=$(mktemp)
  "$1" >"$log" 2>&1 &
  server=$!
  trap 'kill $server 2>/dev/null || true; wait $server 2>/dev/null || true; rm -f "$log"' EXIT
  for _ in $(seq 200); do
    ! script/port-is-free 2>/dev/null && return
    kill -0 $server 2>/dev/null || fail "the server ended: $(cat "$log")"
    sleep 0.05
  done
  fail "the server does not listen"
}
