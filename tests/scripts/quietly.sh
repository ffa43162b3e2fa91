#!/usr/bin/env bash
# A long command shows that it goes on, and what went wrong.
. "$(dirname "$0")/common.sh"
cd "$source" || exit 1
. script/common.sh
log=$work/log

said=$(quietly "$log" Trying echo hidden 2>&1) || fail "a command that succeeds"
[ "$said" = "Trying ..." ] || fail "more than a line: $said"
[ "$(cat "$log")" = hidden ] || fail "the output is not in the log"

refuses quietly "$log" Trying bash -c 'echo the reason; exit 3'
quietly "$log" Trying bash -c 'exit 3' >/dev/null 2>&1
[ $? = 3 ] || fail "the result is not that of the command"
grep -qx 'the reason' <<<"$said" || fail "the reason is not shown: $said"
grep -q "Trying: failed; all of it is in $log" <<<"$said" || fail "the log is not named: $said"

# What a script does at its end is done once, by itself.
said=$(bash -c '. script/common.sh; trap "echo ended >&2" EXIT; for i in {1..100}; do quietly '"$log"' Trying :; done' 2>&1)
[ "$(grep -c ended <<<"$said")" = 1 ] || fail "the script's end was carried out more than once: $(sort <<<"$said" | uniq -c)"

# On a terminal the line is written anew.
said=$(script -qec "bash -c '. script/common.sh; quietly $log Trying bash -c \"echo one step; sleep 2.5\"'" /dev/null </dev/null)
grep -q $'\rTrying: [12] s  one step' <<<"$said" || fail "no progress on a terminal: $said"
