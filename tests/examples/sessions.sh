#!/usr/bin/env bash
# One user of the pumping station has at most 20 sessions, and a page has one dialog however its name
# is spelt.
set -euo pipefail
. "$(dirname "$0")/common.sh"
start_server_anywhere "$1"
hello='{"Command":"HELLO","Id":"tanaka","Pass":"water"}'
first=$(ask "$hello" | sed -n 's/.*"SessionId":"\([0-9a-f]*\)".*/\1/p')
[ ${#first} = 32 ] || fail "the session id is \"$first\""
again="{\"Command\":\"HELLO\",\"SessionId\":\"$first\"}"
grep -q OPEN <<<"$(ask "$again")" || fail "the session does not re-attach"
for _ in $(seq 20); do ask "$hello" >/dev/null; done
grep -q InvalidSessionId <<<"$(ask "$again")" || fail "the oldest session is still there"
ended=$(grep -c 'Remove sessionid=' "$log")
[ "$ended" = 1 ] || fail "$ended sessions were ended"

spellings=()
for name in help@pumps help@.@pumps help@@pumps help/pumps help@x@..@pumps help@./pumps; do
  spellings+=("{\"Command\":\"CHANGE\",\"Id\":\"tanaka\",\"Pass\":\"water\",\"DialogName\":\"$name\"}")
done
ask "${spellings[@]}" >/dev/null
loads=$(grep -c 'Load:.*pumps.json' "$log")
[ "$loads" = 1 ] || fail "one page was loaded $loads times"
