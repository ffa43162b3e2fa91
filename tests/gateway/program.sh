#!/usr/bin/env bash
# program.sh GATEWAY: the command line and the signals of the program.
set -euo pipefail
gateway=$1
work=$(mktemp -d)
process=
trap '[ -z "$process" ] || kill -9 "$process" 2>/dev/null || true; rm -rf "$work"' EXIT
fail() {
  echo "$1" >&2
  [ ! -f "$work/err" ] || cat "$work/err" >&2
  exit 1
}

help=$("$gateway" --help) || fail "--help fails"
for option in listen host cert key insecure origin trusted-proxy metrics-from source-address max-pages \
  max-websockets max-per-address quotes reading local menu page log version; do
  grep -qE -- "^ +--$option( |$)" <<<"$help" || fail "--help does not tell of --$option"
done
"$gateway" --version | grep -qE '^dorn-gateway [0-9]+\.[0-9]+\.[0-9]+$' || fail "--version"

# What is wrong is said together with what would be right.
refuses() { # CODE PATTERN ARGUMENTS...
  local code=$1 pattern=$2 status=0
  shift 2
  "$gateway" "$@" >"$work/out" 2>"$work/err" || status=$?
  [ $status = "$code" ] || fail "$*: exit code $status instead of $code"
  grep -qE -- "$pattern" "$work/err" "$work/out" || fail "$*: does not say $pattern"
}
refuses 2 'ADDRESS:PORT, such as 127\.0\.0\.1:8080' --listen 8080
refuses 2 'ADDRESS:PORT' --listen localhost:8080
refuses 2 'ADDRESS:PORT' --listen 127.0.0.1:99999
refuses 2 'HOST:PORT, such as 127\.0\.0\.1:5000' --host 127.0.0.1
refuses 2 'HOST:PORT' --host 127.0.0.1:0
refuses 2 'SCHEME://HOST' --origin panel.example
refuses 2 'SCHEME://HOST' --origin https://panel.example/x
refuses 2 '192\.168\.1\.0/24' --trusted-proxy proxy
refuses 2 '192\.168\.1\.0/24' --metrics-from 1.2.3.4/99
refuses 2 'none of derived, fixed' --source-address mine
refuses 2 'none of escape, replace, raw' --quotes none
refuses 2 'none of strict-first, literal' --reading loose
refuses 2 'none of text, json' --log xml
refuses 2 '1.*999' --max-pages 1000
refuses 2 'does not exist' --cert "$work/nothing.pem"
refuses 2 'does not exist' --page "$work/nothing"
refuses 2 'max-pages|help' --maxpages 5
refuses 1 '--insecure' --listen 0.0.0.0:0
refuses 2 '--cert requires --key' --cert "$gateway"

start() { # ARGUMENTS...
  rm -f "$work/out"
  # Read by another process, so that a line that is not written at once would be missed.
  "$gateway" --listen 127.0.0.1:0 --host 127.0.0.1:1 "$@" >"$work/out" 2>"$work/err" &
  process=$!
  for _ in $(seq 100); do
    [ -s "$work/out" ] && break
    sleep 0.05
  done
  url=$(sed -nE '1s/^dorn-gateway: listening on (http:\/\/127\.0\.0\.1:[0-9]+\/)$/\1/p' "$work/out")
  [ -n "$url" ] || fail "the first line does not tell where it listens"
}
get() { # PATH: by bash alone
  local port=${url##*:}
  exec 3<>"/dev/tcp/127.0.0.1/${port%/}"
  printf 'GET %s HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n' "$1" >&3
  cat <&3
  exec 3>&-
}
ends() { # SIGNAL
  local status=0
  kill "-$1" "$process"
  wait "$process" || status=$?
  process=
  [ $status = 0 ] || fail "after SIG$1 it ends with $status"
}

start --log json --menu panel,notes
get / | grep -q '<!doctype html>' || fail "no page"
kill -HUP "$process"
get /healthz | grep -q '{"host":"down"}' || fail "no health"
ends TERM
grep -q '"level":"info","message":"stopped"}' "$work/err" || fail "no JSON in the log"

mkdir "$work/page"
echo '<p>mine' >"$work/page/index.html"
start --page "$work/page"
get / | grep -q '<p>mine' || fail "--page is not served"
ends INT
grep -qE '^[0-9TZ:-]+ info stopped$' "$work/err" || fail "no text in the log"
