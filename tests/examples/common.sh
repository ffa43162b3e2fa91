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

# converse LAST MESSAGE...: sends messages over one connection to $port and prints at once, one a line, what comes back
# until something matches the pattern LAST, the server closes, or nothing has come for a minute.
converse() { # LAST MESSAGE...
  local last=$1 message said
  shift
  exec {wire}<>"/dev/tcp/127.0.0.1/$port"
  for message in "$@"; do printf '\002%s\003' "$message" >&$wire; done
  while IFS= read -r -t 60 -d $'\003' -u $wire said; do
    printf '%s\n' "${said#$'\002'}"
    # shellcheck disable=SC2053
    [[ $said != $last ]] || break
  done
  exec {wire}>&-
}
# ask MESSAGE...: until all are answered, as the answer to one behind them tells, or a log-in is refused.
ask() { converse '*@("File":"?behind"|"Command":"ERROR")*' "$@" '{"Command":"GETFILE","File":"?behind"}'; }

# speak SECONDS MESSAGE...: the same for so long, or until the server closes.
speak() { # SECONDS MESSAGE...
  local seconds=$1 message
  shift
  exec {wire}<>"/dev/tcp/127.0.0.1/$port"
  for message in "$@"; do printf '\002%s\003' "$message" >&$wire; done
  timeout "$seconds" cat <&$wire | tr '\003' '\n' | tr -d '\002' || true
  exec {wire}>&-
}
