#!/usr/bin/env bash
# The packages in a root where nothing else is: installed, used as their documents say, purged.
set -euo pipefail
cd /packages
fail() {
  tail -n 20 /tmp/*.log >&2
  echo "$1" >&2
  exit 1
}
# Which files there are, without what dpkg, apt and the loader keep of every package.
files() {
  find / -xdev \( -path /packages -o -path /tmp -o -path /var/lib/dpkg -o -path /var/lib/apt -o -path /var/cache \
    -o -path /var/log -o -path /root \) -prune -o -print | grep -vE '^/etc/(\.pwd\.lock|(passwd|group|shadow|gshadow)-?)$' | sort
  find /run -path /run/systemd -prune -o -print
}
quietly() { "$@" >/tmp/step.log 2>&1 || fail "$* failed"; }

# Compares with what is there before the first package, and makes what comes with any.
mkdir -p /srv /run/lock
files >/tmp/before

say() { echo "$((SECONDS / 60))m$((SECONDS % 60))s $1"; }

until_there() { # WHAT COMMAND...
  local what=$1
  shift
  for _ in $(seq 300); do
    if "$@" >/dev/null 2>&1; then return; fi
    sleep 0.1
  done
  fail "$what"
}
ask() { # PATH: the answer of the gateway
  local line
  exec {http}<>/dev/tcp/127.0.0.1/8080
  printf 'GET %s HTTP/1.1\r\nHost: 127.0.0.1:8080\r\nConnection: close\r\n\r\n' "$1" >&$http
  timeout 10 cat <&$http
  exec {http}>&-
}
health_is() { ask /healthz | grep -qF "$1"; }
send_text() { printf '\x81'"\\x$(printf %x $((128 + ${#1})))"'\0\0\0\0%s' "$1" >&$page; }
# log_in_as_a_page USER PASSWORD DIALOG SEEN: a page that logs in and enters a dialog: the handshake,
# and frames whose mask is all zero. It sees what matches SEEN.
log_in_as_a_page() {
  exec {page}<>/dev/tcp/127.0.0.1/8080
  printf 'GET /station HTTP/1.1\r\nHost: 127.0.0.1:8080\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n' >&$page
  printf 'Sec-WebSocket-Key: AAAAAAAAAAAAAAAAAAAAAA==\r\nSec-WebSocket-Protocol: dorn.1\r\n\r\n' >&$page
  timeout 20 cat <&$page >/tmp/page.log &
  local reader=$!
  until_there "a page did not get its greeting" grep -aqF '"t":"hello"' /tmp/page.log
  send_text '{"Command":"HELLO","Id":"'"$1"'","Pass":"'"$2"'"}'
  until_there "a page was not logged in" grep -aqF '"SessionId"' /tmp/page.log
  send_text '{"Command":"CHANGE","DialogName":"'"$3"'"}'
  until_there "a page did not see $4" grep -aqE "$4" /tmp/page.log
  kill $reader
  exec {page}>&-
}

# As its service does, which nobody starts in here.
start_gateway() {
  # shellcheck disable=SC1091,SC2086
  (. /etc/default/dorn-gateway && exec setpriv --reuid dorn-gateway --clear-groups dorn-gateway $DORN_GATEWAY_OPTIONS) >/tmp/gateway.log 2>&1 &
}

# The quick start, to the letter: its blocks of commands one after the other in one shell, and a page
# wherever it has the reader open his browser. The first one installs the packages.
quick_start() {
  declare -f fail until_there ask health_is send_text log_in_as_a_page start_gateway
  cat <<'END'
# In a shell of its own, where $! does not become another's.
the_browser_shows() (
  start_gateway
  gateway=$!
  until_there "the gateway does not find the host of the quick start" health_is '{"host":"up"}'
  log_in_as_a_page tanaka fill filler "$1"
  kill $gateway
  wait $gateway || fail "the gateway did not end in order"
)
END
  awk '/^```sh$/ { inside = 1; next } /^```$/ { inside = 0; next } inside
    !inside && /<http:\/\/127\.0\.0\.1:8080\/>/ { print "the_browser_shows " (seen++ ? "215" : "\"ready for bottles\"") }' quick-start.md
}

say "following the quick start"
quick_start >/tmp/quick-start.sh
bash -eu /tmp/quick-start.sh >/tmp/step.log 2>&1 || fail "the quick start does not hold"
ldconfig -p | grep -q 'libdorn\.so\.1 ' || fail "the loader does not know libdorn.so.1"
ldconfig -p | grep -q 'libdorn-site\.so\.1 ' || fail "the loader does not know libdorn-site.so.1"
getent passwd dorn-gateway >/dev/null || fail "there is no user dorn-gateway"
getent group dorn >/dev/null || fail "there is no group dorn"
[ "$(stat -c '%U:%G %a' /run/dorn)" = 'root:dorn 750' ] || fail "/run/dorn is not for hosts: $(stat -c '%U:%G %a' /run/dorn)"
[ -L /etc/systemd/system/multi-user.target.wants/dorn-gateway.service ] || fail "the gateway's service is not enabled"
quietly systemd-analyze verify --man=no dorn-gateway.service

say "building a host with pkg-config and with CMake"
source=/usr/share/doc/libdorn-dev/examples/smallest
mkdir -p /srv/dorn/panel
cp -r $source/resources /srv/dorn/panel
# shellcheck disable=SC2046
quietly g++ -std=c++17 $source/main.cc -o /srv/dorn/panel/host $(pkg-config --cflags --libs dorn)
quietly cmake -S $source -B /tmp/smallest -G Ninja
quietly cmake --build /tmp/smallest
quietly systemd-analyze verify --man=no dorn-host@panel.service

say "building a host of a site, which waits for its broker"
quietly cmake -S /usr/share/doc/libdorn-site-dev/examples/site/host -B /tmp/site-host -G Ninja -DCMAKE_UNITY_BUILD=ON
quietly cmake --build /tmp/site-host
quietly pkg-config --exists dorn-site
DORN_SITE=plant DORN_SITE_BROKERS=nats://127.0.0.1:4222 DORN_STATION=127.0.0.1:0 /tmp/site-host/host >/tmp/host.log 2>&1 &
running=$!
until_there "the host of a site does not start" grep -q '^host: serving on port' /tmp/host.log
kill $running
wait $running || fail "the host of a site did not end in order"

say "building and testing the last host of the tutorial"
quietly cmake -S /usr/share/doc/dorn/docs/manual/tutorial/step6 -B /tmp/step6 -G Ninja -DBUILD_TESTING=ON
quietly cmake --build /tmp/step6
quietly ctest --test-dir /tmp/step6 --output-on-failure --no-tests=error

say "serving it to a station and to a page"
start_gateway
gateway=$!
until_there "the gateway does not say that there is no host" health_is '{"host":"down"}'
for host in /srv/dorn/panel/host /tmp/smallest/smallest; do
  DORN_STATION=127.0.0.1:5000 DORN_STATION_FILE=/tmp/station "$host" >/tmp/host.log 2>&1 &
  running=$!
  until_there "$host does not listen" test -s /tmp/station
  quietly dorn-station --id me --pass secret --dialog panel 'expect "Name":"lamp"' 'set lamp Value ON' --linger 0.2 --timeout 20
  until_there "the gateway does not find $host" health_is '{"host":"up"}'
  log_in_as_a_page me secret panel '"lamp".*"ON"|"ON".*"lamp"'
  kill $running
  wait $running || fail "$host did not end in order"
  rm -f /tmp/station
  until_there "the gateway still finds $host" health_is '{"host":"down"}'
done
kill $gateway
wait $gateway || fail "the gateway did not end in order"

say "purging"
rm -r /srv/dorn
quietly apt-get purge -y $(dpkg-query -W -f '${Package}\n' | grep -E '^(lib)?dorn')
files >/tmp/after
diff /tmp/before /tmp/after >/tmp/left || fail "purging leaves: $(cat /tmp/left)"
