#!/usr/bin/env bash
# configurations.sh EXAMPLE HAPROXY NATS-SERVER: the programs can read what the example of a site gives them, and its three
# brokers differ in their number alone.
set -euo pipefail
cd "$1"
haproxy=$2
nats=$3
fail() { echo "FAILED: $1" >&2; exit 1; }

SITE_PROXY_USER=$(id -un) SITE_PROXY_GROUP=$(id -gn) "$haproxy" -c -q -f haproxy.cfg || fail "haproxy.cfg"

set -a
. ./broker.env
set +a
for number in 1 2 3; do
  "$nats" -t -c "nats-$number.conf" >/dev/null || fail "nats-$number.conf"
  sed "s/broker-$number/broker-1/; s/broker $number/broker 1/; s/10\.0\.0\.2$number:/10.0.0.21:/" "nats-$number.conf" | cmp - nats-1.conf || fail "nats-$number.conf differs from nats-1.conf"
done
sed 's/machine 2, 10.0.0.32/machine 1, 10.0.0.31/; s/10.0.0.32:8443/10.0.0.31:8443/' gateway-2.env | cmp - gateway-1.env || fail "gateway-2.env differs from gateway-1.env"
