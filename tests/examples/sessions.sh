#!/usr/bin/env bash
# One user of the pumping station has at most 20 sessions, and a page has one dialog however its name
# is spelt.
set -euo pipefail
. "$(dirname "$0")/common.sh"
start_server_anywhere "$1"
hello='{"Command":"HELLO","Id":"tanaka","Pass":"water"}'
first=$(speak 1 "$hello" | sed -n 's/.*"SessionId":"\([0-9a-f]*\)".*/\1/p')
[ ${#first} = 32 ] || fail "the session id is \"$first\""
speak 1 "{\"Command\":\"HELLO\",\"SessionId\":\"$first\"}" | grep -q OPEN || fail "the session does not re-attach"
for _ in $(seq 20); do speak 0.1 "$hello" >/dev/null; done
speak 1 "{\"Command\":\"HELLO\",\"SessionId\":\"$first\"}" | grep -q InvalidSessionId || fail "the oldest session is still there"
ended=$(grep -c 'Remove sessionid=' "$log")
[ "$ended" = 1 ] || fail "$ended sessions were ended"

spellings=()
for name in help@pumps help@.@pumps help@@pumps help/pumps help@x@..@pumps help@./pumps; do
  spellings+=("{\"Command\":\"CHANGE\",\"Id\":\"tanaka\",\"Pass\":\"water\",\"DialogName\":\"$name\"}")
done
speak 1 "${spellings[@]}" >/dev/null
loads=$(grep -c 'Load:.*pumps.json' "$log")
[ "$loads" = 1 ] || fail "one page was loaded $loads times"
