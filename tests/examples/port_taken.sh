#!/usr/bin/env bash
# A host that cannot have the port says so, ends with a failure, and the scripts say so as well.
set -euo pipefail
. "$(dirname "$0")/common.sh"
smallest=$1
pumphouse=$2
script/port-is-free
start_server "$smallest"
if said=$("$pumphouse" 2>&1); then fail "the second server did not end with a failure"; fi
grep -q '5000' <<<"$said" || fail "the second server does not name the port: $said"
for name in demo test; do
  if said=$(script/$name 2>&1 </dev/null); then fail "script/$name went on"; fi
  [ "$(wc -l <<<"$said")" = 1 ] || fail "script/$name does not say it in one line: $said"
  grep -q "port 5000 is taken by smallest (process $server)" <<<"$said" || fail "script/$name does not say why: $said"
done
