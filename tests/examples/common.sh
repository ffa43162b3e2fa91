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

# Starts a server at a port that the system chooses, $port, keeping its output in $log. Needs no port
# of its own, so that several tests may run at once.
start_server_anywhere() { # PROGRAM
  log=$(mktemp)
  local file
  file=$(mktemp -u)
  DORN_STATION=127.0.0.1:0 DORN_STATION_FILE=$file "$1" >"$log" 2>&1 &
  server=$!
  trap 'kill $server 2>/dev/null || true; wait $server 2>/dev/null || true; rm -f "$log"' EXIT
  for _ in $(seq 200); do
    [ -e "$file" ] && break
    kill -0 $server 2>/dev/null || fail "the server ended: $(cat "$log")"
    sleep 0.05
  done
  [ -e "$file" ] || fail "the server does not listen"
  port=$(sed 's/.*://' "$file")
  rm -f "$file"
}

# speak MESSAGE...: sends messages over one connection to $port and prints, one a line, what comes
# back until the server closes, or for as long as $1 says.
speak() { # SECONDS MESSAGE...
  local seconds=$1 message
  shift
  exec {wire}<>"/dev/tcp/127.0.0.1/$port"
  for message in "$@"; do printf '\002%s\003' "$message" >&$wire; done
  timeout "$seconds" cat <&$wire | tr '\003' '\n' | tr -d '\002' || true
  exec {wire}>&-
}
