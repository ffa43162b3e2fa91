#!/usr/bin/env bash
# Whoever guesses passwords gets five answers and then waits; somebody else does not.
set -euo pipefail
. "$(dirname "$0")/common.sh"
hello() { printf '{"Command":"HELLO","Id":"%s","Pass":"%s","DialogName":"panel"}' "$1" "$2"; }
start_server_anywhere "$1"
name=$2
password=$3
guesses=()
for i in $(seq 200); do guesses+=("$(hello victim "wrong$i")"); done
answers=$(speak 3 "${guesses[@]}" | grep -c 認証失敗 || true)
# Five at once; the sixth after a second, the seventh two seconds later, which may just be seen.
[ "$answers" -ge 5 ] && [ "$answers" -le 7 ] || fail "$answers guesses were answered within 3 s"
asked=$(grep -c 'Command=HELLO' "$log")
[ "$asked" -le 8 ] || fail "$asked guesses were looked at"
started=$(date +%s%N)
grep -q '"Command":"UPDATE"' <<<"$(ask "$(hello "$name" "$password")")" || fail "the right password of somebody else was refused"
# The password of the victim itself waits its turn, and is then asked for.
speak 10 "$(hello victim "$password")" >/dev/null
