#!/usr/bin/env bash
# Whoever guesses passwords gets five answers and then waits; somebody else does not.
set -euo pipefail
. "$(dirname "$0")/common.sh"
hello() { printf '{"Command":"HELLO","Id":"%s","Pass":"%s","DialogName":"panel"}' "$1" "$2"; }
asked() { grep -c 'Command=HELLO' "$log" || true; }
start_server_anywhere "$1"
name=$2
password=$3
started=$(date +%s%N)
exec {guessing}<>"/dev/tcp/127.0.0.1/$port"
for i in $(seq 200); do printf '\002%s\003' "$(hello victim "wrong$i")" >&$guessing; done
for i in $(seq 6); do
  IFS= read -r -t 60 -d $'\003' -u $guessing said || fail "guess $i was not answered"
  [[ $said == *認証失敗* ]] || fail "guess $i was answered: $said"
done
exec {guessing}>&-
asked=$(asked)
took=$((($(date +%s%N) - started) / 1000000))
# Five at once; the sixth after a second, the next ones after two, four and eight more, and one more has been read and
# waits. A busy machine sees more of them.
[ $took -ge 1000 ] || fail "six guesses were answered after $took ms"
allowed=7 pause=2000
for ((due = 1000 + pause; due <= took; due += pause)); do
  allowed=$((allowed + 1))
  [ $pause -ge 8000 ] || pause=$((pause * 2))
done
[ "$asked" -le $allowed ] || fail "$asked guesses were looked at within $took ms"
grep -q '"Command":"UPDATE"' <<<"$(ask "$(hello "$name" "$password")")" || fail "the right password of somebody else was refused"
# Whoever is guessed at waits for his turn, and is then asked for his password. Some hosts let in whoever knows it.
before=$(asked)
said=$(converse '*@(認証失敗|"Command":"UPDATE")*' "$(hello victim "$password")")
grep -qE '認証失敗|"Command":"UPDATE"' <<<"$said" || fail "the victim got no answer"
[ "$(asked)" -gt "$before" ] || fail "nobody has asked for the password of the victim"
