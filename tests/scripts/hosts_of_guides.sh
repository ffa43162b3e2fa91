#!/usr/bin/env bash
# hosts_of_guides.sh SOURCE SHEETS GAUGES DORN-STATION: what the guides say of hosts and no scene can
# see: datagrams, the socket of the statistics, and what is said of a port that cannot be had.
. "$(dirname "$0")/common.sh"
sheets=$2
gauges=$3
station=$4
host=
trap '[ -z "$host" ] || kill "$host" 2>/dev/null; wait; rm -rf "$work"' EXIT

start() { # PROGRAM RESOURCES: a copy of the host at a port of its own; its address goes into $address
  mkdir -p "$work/$2/run"
  cp "$1" "$work/$2/host"
  cp -r "$source/docs/manual/examples/$2/resources" "$work/$2"
  DORN_STATION=127.0.0.1:0 DORN_STATION_FILE=$work/$2/station RUNTIME_DIRECTORY=$work/$2/run \
    "$work/$2/host" >"$work/$2/out" 2>"$work/$2/err" &
  host=$!
  until_it "$2 does not listen" [ -s "$work/$2/station" ]
  address=$(<"$work/$2/station")
}
stop() {
  kill "$host"
  wait "$host" || fail "the host did not end in order: $?"
  host=
}
until_it() { # WHAT COMMAND...
  local what=$1
  shift
  for _ in $(seq 200); do
    if "$@" 2>/dev/null; then return; fi
    sleep 0.1
  done
  fail "$what"
}

start "$gauges" gauges
until_it "no port for instruments is told" grep -q '^gauges: instruments at ' "$work/gauges/out"
# The panel is made when the first station enters it.
"$station" --port "${address#*:}" --id me --pass brass --dialog panel --timeout 60 --expect '"hot"' >"$work/seen" 2>&1 &
seeing=$!
until_it "no station enters" grep -q Gauges "$work/seen"
printf 'boiler=hot' >"/dev/udp/127.0.0.1/$(sed -n 's/^gauges: instruments at //p' "$work/gauges/out")"
wait $seeing || fail "the datagram is not shown: $(<"$work/seen")"
stop

start "$sheets" sheets
socket=$work/sheets/run/statistics
[ "$(stat -c %a "$socket")" = 600 ] || fail "others may connect to the statistics: $(stat -c %a "$socket")"
python3 - "$socket" >"$work/statistics" <<'EOT'
import socket, sys
peer = socket.socket(socket.AF_UNIX)
peer.connect(sys.argv[1])
while text := peer.recv(4096):
    sys.stdout.write(text.decode())
EOT
diff <(sed -nE 's/^(dorn_[a-z_]+).*/\1/p' "$work/statistics" | sort -u) \
  <(sed -n '/^### Of a host/,/^### Of the gateway/p' "$source/docs/manual/guides/operator.md" | sed -n '/^|/p' |
    grep -oE '`dorn_[a-z_]+' | tr -d '`' | sort -u) || fail "the guide has other metrics than a host"

# Another host at the same port, and variables that say nothing.
refused() { # DORN_STATION LINE
  if said=$(DORN_STATION=$1 "$work/sheets/host" 2>&1); then fail "a host runs at $1"; fi
  grep -qxF "$2" <<<"$said" || fail "not '$2', but: $said"
  kind=$(sed "s/${address#*:}/NUMBER/; s/\"[^\"]*\"/\"TEXT\"/" <<<"$2")
  grep -qF "| \`$kind\` |" "$source/docs/manual/guides/operator.md" || fail "the guide does not have: $kind"
}
refused "$address" "dorn: not listening on TCP port ${address#*:}; is another process using it?"
refused "here" 'dorn: DORN_STATION is "here"; write it as address:port'
stop
[ ! -e "$socket" ] || fail "the socket of the statistics stays"
