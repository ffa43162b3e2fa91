#!/usr/bin/env bash
# The gallery answers what stations send as its dialogs say, and tells a station what to show first.
set -euo pipefail
. "$(dirname "$0")/common.sh"
start_server_anywhere "$1"
hello() { printf '{"Command":"HELLO","Id":"%s","Pass":"%s"}' "$1" "$2"; }
enter() { printf '{"Command":"CHANGE","DialogName":"%s"}' "$1"; }
set_value() { # NAME VALUE: as a station sends it that does not escape what is typed
  printf '{"Command":"CONDITION","ActionName":"%s","ActionType":"CHANGE","Objects":[{"Name":"%s","Value":"%s"}]}' "$1" "$1" "$2"
}
touch_it() { # NAME [TYPE [MEMBERS]]
  printf '{"Command":"CONDITION","ActionName":"%s","ActionType":"%s","Objects":[{"Name":"%s"%s}]}' "$1" "${2:-CLICK}" "$1" "${3:-}"
}
says() { # TEXT WHAT: $said holds it
  grep -qF -e "$1" <<<"$said" || fail "$2: ${said:0:2000}"
}

said=$(ask "$(hello yamada yama)")
says '"DialogName":"gallery","File":"gallery.json","FileSource":"SERVER","Interval":600,"Language":"ja","Menu":["gallery","changes","tables","mine","many","sub@page"]' "OPEN"
said=$(ask "$(hello guest guest)")
! grep -q Language <<<"$said" || fail "a language that nobody chose: $said"
said=$(ask "$(hello guest yama)")
says 認証失敗 "the password of somebody else"

said=$(ask "$(hello guest guest)" "$(enter gallery)" "$(set_value even 21)" "$(set_value code 12a4)" "$(set_value disabled x)")
says '"Objects":[{"Value":"20","Name":"even"}]' "an odd number is not put right"
says '"Error":"four digits","Error:ja":"数字四つです","Name":"code"' "a wrong code is not refused"
said=$(ask "$(hello guest guest)" "$(enter gallery)" "$(set_value name 'x\"},{\"Value\":\"999')" "$(touch_it plain)" "$(set_value fixed other)")
says '"Value":"x\"},{\"Value\":\"999","Name":"name"' "quotes are not stored escaped"
says '"Objects":[{"Value":1,"Name":"touches"}]' "a touch is not counted"
says '"Value":"cannot be changed","Name":"fixed"' "what cannot be changed is not put right"

said=$(ask "$(hello guest guest)" "$(enter tables)" "$(touch_it raise)" "$(touch_it alarms ACK ',"Row":"3"')" "$(touch_it measure)")
says '"ALARM","Alarm 3",""],["2","08:15:00","WARN","Alarm 2",""]' "no alarm is raised"
grep -qE '\["3","[0-9:]{8}","ALARM","Alarm 3","[0-9:]{8}"\],\["2",[^]]*,""\]' <<<"$said" || fail "the alarm is not acknowledged: $said"
says '"Data":,"Name":"measured"' "the new table is not told"

said=$(ask "$(hello guest guest)" "$(enter changes)" "$(touch_it add)" "$(touch_it add_group)" "$(touch_it remove)" "$(touch_it clear)")
says '"Command":"ADD","Name":"items", "Objects":[{"Label":"Item 1"' "nothing is added"
says '{"Name":"group2","Title":"Group 2","Type":"GROUP","Objects":[{"Label":"Item 3"' "no group is added"
says '"Command":"DELETE","Delete":"THIS","Name":"group2"' "the newest is not removed"
says '"Command":"DELETE","Delete":"CHILD","Name":"items"' "not all are removed"
said=$(ask "$(hello guest guest)" "$(enter changes)" "$(touch_it hide)" "$(touch_it lock)" "$(touch_it disable_group)" "$(set_value in_group x)" "$(touch_it lock)")
says '[{"Visible":"OFF","Name":"subject"}]' "nothing is hidden"
says '[{"ReadOnly":"ON","Name":"subject"}]' "nothing is locked"
says '[{"Value":"","Name":"in_group"}]' "what is in a disabled group can be changed"
says '[{"ReadOnly":"OFF","Name":"subject"}]' "nothing is unlocked"

said=$(ask "$(hello guest guest)" "$(enter mine)" "$(set_value text 'say \"hi\"')")
says '{"Value":"8","Name":"length"}]' "the characters are not counted as typed"
said=$(speak 3 "$(hello guest guest)" "$(enter many)" "$(set_value rate 1000)")
says '{"Name":"n1000","Type":"LABEL","Value":0}' "there are no thousand numbers"
says '"Name":"n50"}]' "the numbers do not change"
said=$(ask "$(hello guest guest)" "$(enter sub@page)")
says '"Value":"as in the file"' "the page in a folder"
