#!/usr/bin/env bash
# What the panel of the pumping station refuses, asks for and tells.
set -euo pipefail
. "$(dirname "$0")/common.sh"
start_server_anywhere "$1"
hello='{"Command":"HELLO","Id":"tanaka","Pass":"water"}'
enter='{"Command":"CHANGE","DialogName":"panel"}'
touch_it() { # NAME [TYPE [MEMBERS]]
  printf '{"Command":"CONDITION","ActionName":"%s","ActionType":"%s","Objects":[{"Name":"%s"%s}]}' "$1" "${2:-CLICK}" "$1" "${3:-}"
}
choose() { touch_it "$1" CLICK ',"Attr":"ON"'; }
says() { # TEXT WHAT: $said holds it
  grep -qF -e "$1" <<<"$said" || fail "$2: ${said:0:2000}"
}

# Alarms come by themselves when nobody pumps, which takes half a minute.
speak 60 "$hello" "$enter" >/dev/null &
watching=$!

said=$(ask '{"Command":"HELLO","Id":"visitor","Pass":"look"}')
says '"DialogName":"panel","File":"panel.json","FileSource":"SERVER","Interval":2,"Menu":["panel","notes","help@pumps"]' "OPEN"

said=$(ask "$hello" "$enter" "$(choose mode_auto)" "$(touch_it pump1_start)" "$(choose mode_off)")
says '{"Enabled":"OFF","Name":"pump1_start"}' "the buttons are not disabled in AUTO"
says '{"Attr":"OFF","Name":"mode_off"}' "OFF can be chosen without being asked"
! grep -qE '"Value":"RUNNING"[^}]*"Name":"pump1_state"' <<<"$said" || fail "a disabled button starts a pump: $said"
said=$(ask "$hello" "$enter" "$(choose mode_manual)" "$(touch_it pump2_start)" "$(touch_it off)")
says '{"State":"NORMAL","Value":"RUNNING","Name":"pump2_state"}' "the pump does not start"
says '{"Attr":"ON","Name":"mode_off"}' "nothing is switched off"
says '{"State":"OFF","Value":"STOPPED","Name":"pump2_state"}' "the pump goes on"

said=$(ask "$hello" '{"Command":"GETFILE","File":"help/pumps.png"}')
says "\"Length\":$(stat -c %s examples/pumphouse/resources/help/pumps.png)" "the picture of the help page"
said=$(ask "$hello" '{"Command":"CHANGE","DialogName":"notes"}' \
  '{"Command":"CONDITION","ActionName":"note","ActionType":"CHANGE","Objects":[{"Name":"note","Value":"3/4\" pipe"}]}')
says '"Value":"9 characters","Name":"saved"' "a note with a quote"

for _ in $(seq 100); do
  grep -q '"Rows":\[\["1",' "$log" && break
  sleep 0.5
done
said=$(grep -m1 '"Rows":\[\["1",' "$log") || fail "no alarm"
grep -qE '"Rows":\[\["1","[0-9:]{8}","ALARM","high water",""\]\]' <<<"$said" || fail "another alarm: $said"
said=$(ask "$hello" "$enter" "$(touch_it alarms ACK ',"Row":"1"')")
grep -qE '\["1","[0-9:]{8}","ALARM","high water","tanaka [0-9:]{8}"\]' <<<"$said" || fail "not acknowledged: $said"
kill $watching 2>/dev/null || true
