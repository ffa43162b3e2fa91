#!/usr/bin/env bash
# What `dorn-station run` takes, prints and ends with.
set -uo pipefail
station=$1
host=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "FAILED: $1" >&2
  exit 1
}
ends_with() { # CODE ARGUMENTS...: the output is in $said then
  local wanted=$1
  shift
  said=$("$station" run "$@" 2>&1)
  local code=$?
  [ $code = "$wanted" ] || fail "run $*: $code instead of $wanted: $said"
}
says() { # TEXT
  grep -qF -e "$1" <<<"$said" || fail "not said: $1: $said"
}

printf 'a: login user right\na: click touch\na: expect count Value 1\n' >"$work/good.scene"
printf 'a: login user right\na: expect count Value 9 within 50ms\n' >"$work/bad.scene"
printf 'a: login user right\n\na: clik touch\nb: enter page\n' >"$work/wrong.scene"

ends_with 0 --help
says 'expect NAME KEY'
says '--patience'
ends_with 2
ends_with 2 --start '' "$work/good.scene"
ends_with 2 --start '"open' "$work/good.scene"
ends_with 2 "$work/nowhere.scene"
says 'nowhere.scene:1: cannot be read'
ends_with 2 --timeout 0 "$work/good.scene"

ends_with 0 --start "$host" "$work/good.scene"
says "held  $work/good.scene (3 steps"
ends_with 0 --quiet --start "\"$host\"" "$work/good.scene"
[ -z "$said" ] || fail "not quiet: $said"
ends_with 0 --verbose --start "$host" "$work/good.scene"
says '   2  a: click touch'

ends_with 1 --junit "$work/result.xml" --start "$host" "$work/bad.scene" "$work/good.scene"
says "bad.scene:2: failed"
says "expected  count Value is 9 within 50ms"
says "got       0"
says "held  $work/good.scene"
grep -q 'tests="2" failures="1" errors="0"' "$work/result.xml" || fail "the JUnit file: $(cat "$work/result.xml")"
python3 -c 'import sys, xml.dom.minidom; xml.dom.minidom.parse(sys.argv[1])' "$work/result.xml" || fail "that is no XML"
ends_with 2 --junit "$work/nowhere/result.xml" --start "$host" "$work/good.scene"

ends_with 2 --start "$host" "$work/wrong.scene"
says 'wrong.scene:3: unknown word "clik"; do you mean click?'
says 'wrong.scene:4: there is no station b yet'
ends_with 2 --check "$work/wrong.scene"
ends_with 0 --check "$work/good.scene" "$work/bad.scene"

ends_with 3 --start "$host short" "$work/good.scene"
says 'the host ended with exit code 4'
ends_with 3 --port 1 "$work/good.scene"

# What somebody types is played at once; what held becomes a scene.
said=$(printf '# mine\na: login user right\na: clik touch\na: click touch\na: expect count Value 7 within 50ms\na: expect count Value 1' |
  "$station" record --start "$host" "$work/mine.scene" 2>&1)
code=$?
[ $code = 1 ] || fail "record: $code instead of 1: $said"
says 'do you mean click?'
says 'expected  count Value is 7'
[ "$(cat "$work/mine.scene")" = "$(printf '# mine\na: login user right\na: click touch\na: expect count Value 1')" ] ||
  fail "another scene was recorded: $(cat "$work/mine.scene")"
ends_with 0 --start "$host" "$work/mine.scene"
"$station" record --start "$host" "$work/nowhere/mine.scene" </dev/null 2>/dev/null
[ $? = 2 ] || fail "a file that cannot be written"
echo 'wait 1ms' | "$station" record --start "$host" "$work/mine.scene" 2>/dev/null
[ $? = 2 ] || fail "a file that is there already"
ends_with 0 --start "$host" "$work/mine.scene"
says '(3 steps'
"$station" record --start "$host short" "$work/never.scene" </dev/null 2>/dev/null
[ $? = 3 ] || fail "a host that does not start"
[ ! -e "$work/never.scene" ] || fail "a scene of nothing"
"$station" record --help | grep -q 'expect NAME KEY' || fail "record has no help"

# Whoever is ended in the middle leaves no host behind.
printf 'a: login user right\nwait 60s\n' >"$work/long.scene"
"$station" run --start "$host" "$work/long.scene" >/dev/null 2>&1 &
running=$!
for _ in $(seq 200); do
  child=$(tr -d ' ' <"/proc/$running/task/$running/children")
  [ -n "$child" ] && break
  sleep 0.05
done
[ -n "$child" ] || fail "there is no host"
kill -KILL $running
wait $running 2>/dev/null
for _ in $(seq 200); do
  kill -0 "$child" 2>/dev/null || break
  sleep 0.05
done
! kill -0 "$child" 2>/dev/null || fail "the host is still there"
