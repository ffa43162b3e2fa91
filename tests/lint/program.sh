#!/usr/bin/env bash
# program.sh DORN_LINT: what it prints and how it ends.
set -uo pipefail
lint=$1
fail() {
  echo "FAILED: $1" >&2
  exit 1
}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/resources/sub"
cd "$work" || exit 1
good='{"Command": "DIALOG", "Name": "good", "Objects": [{"Name": "a", "Type": "LABEL"}]}'
printf '%s' "$good" >resources/good.json
printf '{"Command": "DIALOG", "Name": "bad",\n "Objects": [{"Name": "あ", "Type": "LABEL", "Value": 1.5}]}' >resources/bad.json

ends_with() { # CODE ARGUMENTS...: keeps what was printed in $out and $err
  local code=$1 got
  shift
  out=$("$lint" "$@" 2>"$work/err")
  got=$?
  err=$(cat "$work/err")
  [ $got = "$code" ] || fail "$* ends with $got and not $code: $out $err"
}
expected='resources/bad.json:2:54: error: あ: the number 1.5 is lost, and there is no Value: put it in quotes, or use a whole number and Scale [lost-value]'

ends_with 0 resources/good.json
[ -z "$out$err" ] || fail "says something of a good file: $out$err"
ends_with 1 resources/good.json resources/bad.json
[ "$out" = "$expected" ] || fail "prints $out"
ends_with 1 resources
[ "$out" = "$expected" ] || fail "prints of a folder $out"

# What cannot be read.
ends_with 2 resources/none.json
[ "$err" = "dorn-lint: resources/none.json: is not there" ] || fail "says of a missing file: $err"
ends_with 2 resources/none.json resources/bad.json
[ "$out" = "$expected" ] || fail "a missing file hides the findings of another"
mkfifo "$work/pipe"
ends_with 2 "$work/pipe"
ends_with 2
ends_with 2 --no-such-option
mkdir -p empty/sub
: >empty/sub/notes.txt
for arguments in empty "--preview empty" "--json empty" "empty resources/good.json"; do
  # shellcheck disable=SC2086
  ends_with 2 $arguments
  [ "$err" = "dorn-lint: empty: has no resource file, which end in .json" ] || fail "says of an empty folder: $err"
done
if [ "$(id -u)" != 0 ]; then
  cp resources/good.json secret.json
  chmod 0 secret.json
  ends_with 2 secret.json
fi

# Whatever the bytes are.
: >nothing.json
ends_with 1 nothing.json
grep -q 'nothing.json:1:1: error: the file is empty: write a dialog \[syntax\]' <<<"$out" || fail "an empty file: $out"
head -c 100000 /dev/urandom >random.json
ends_with 1 random.json
printf '%s\0more' "$good" >good.json
ends_with 1 good.json
grep -q 'trailing-text' <<<"$out" || fail "a zero byte: $out"
{
  printf '{"Command": "DIALOG", "Name": "huge", "Objects": [{"Name": "a"}'
  seq -f ',{"Name": "a%.0f", "Type": "LABEL", "Label": "x", "Value": %.0f}' 200000 2>/dev/null |
    sed -E 's/"Value": [^}]*/"Value": 1/'
  printf ']}'
} >huge.json
[ "$(wc -c <huge.json)" -gt 10000000 ] || {
  for _ in 1 2; do printf '%*s' 8000000 '' >>huge.json; done
}
ends_with 1 huge.json
grep -q 'longer than 10 MiB' <<<"$out" || fail "a huge file: $(head -c 1000 <<<"$out")"
truncate -s 65M long.json
ends_with 2 long.json
[ "$err" = "dorn-lint: long.json: is longer than 64 MiB" ] || fail "a file that is too long: $err"

# --json is JSON, also of names that are none.
printf '{"Command": "DIALOG", "Name": "\\u0007\xff", "Title": null}' >'strange "name".json'
ends_with 1 --json resources/bad.json 'strange "name".json' nothing.json
python3 - "$out" <<'PYTHON' || fail "--json prints $out"
import json, sys
findings = json.loads(sys.argv[1])
first = findings[0]
assert list(first) == ['file', 'line', 'column', 'severity', 'text', 'object', 'rule'], first
assert (first['file'], first['line'], first['column'], first['object']) == ('resources/bad.json', 2, 54, 'あ'), first
assert {each['rule'] for each in findings} >= {'lost-value', 'syntax', 'encoding', 'unsafe-text'}, findings
PYTHON
ends_with 0 --json resources/good.json
[ "$out" = "[]" ] || fail "--json of a good file prints $out"

# Exceptions.
printf '# why\nbad.json lost-value あ # meant\n' >exceptions.txt
ends_with 0 --exceptions exceptions.txt resources
printf 'bad.json lost-value あ\nbad.json goto -\nbad.json\nbad.json no-rule x\nad.json lost-value あ\n' >exceptions.txt
ends_with 1 --exceptions exceptions.txt resources
[ "$out" = "exceptions.txt:2:1: error: nothing needs this exception: take it out [exceptions]
exceptions.txt:5:1: error: nothing needs this exception: take it out [exceptions]
exceptions.txt:3:1: error: no exception: write FILE RULE NAME [exceptions]
exceptions.txt:4:1: error: there is no rule of this name: see --rules [exceptions]" ] || fail "wrong exceptions: $out"
ends_with 2 --exceptions none.txt resources

# --preview is what a terminal shows.
cat >resources/panel.json <<'JSON'
{"Command": "DIALOG", "Name": "panel", "Title": "Panel", "Title:ja": "操作盤", "Objects": [
  {"Name": "g", "Type": "GROUP", "Title": "Basin", "Title:ja": "水槽", "Objects": [
    {"Name": "level", "Type": "LABEL", "Label": "Level", "Label:ja": "水位", "Value": 120, "Unit": "cm"},
    {"Name": "lost", "Type": "LABEL", "Label": "Lost", "Label:ja": "なし", "Value": 1.5},
    {"Name": "no_group", "Type": "LABEL", "Objects": [{"Name": "gone", "Type": "LABEL", "Value": "gone"}]}]},
  {"Name": "b", "Type": "BUTTON", "Label": "Start", "Label:ja": "運転"}
]}
JSON
ends_with 0 --preview resources/panel.json
plain=$out
ends_with 0 --preview 80 resources/panel.json
[ "$out" = "$plain" ] || fail "80 is not the width of a preview"
ends_with 0 --preview 60x5 --language ja resources/panel.json
python3 - "$plain" "$out" <<'PYTHON' || fail "--preview prints $plain $out"
import sys, unicodedata
def width(line): return sum(2 if unicodedata.east_asian_width(c) in 'WF' else 1 for c in line)
english, japanese = (each.split('\n') for each in sys.argv[1:])
assert english[0] == 'Panel' and japanese[0] == '操作盤', (english, japanese)
assert len(japanese) == 5, japanese
for wanted in ('Basin', 'Level', '120 cm', 'Lost', 'Start', '┌', '┘'): assert wanted in sys.argv[1], wanted
for lost in ('1.5', 'gone'): assert lost not in sys.argv[1], lost
for picture, most in ((english, 80), (japanese, 60)):
    assert all(width(line) <= most for line in picture)
frame = [line for line in japanese[1:] if line[0] in '┌│└']
assert len(frame) == 4 and '水槽' in frame[0] and '水位' in frame[1] and '120 cm' in frame[1], japanese
assert len({width(line[:line.rindex(line[-1]) + 1]) for line in frame}) == 1, frame
PYTHON
ends_with 2 --preview nothing.json
[ "$err" = "dorn-lint: nothing.json: is no dialog; dorn-lint without --preview tells why" ] || fail "of no dialog: $err"
# No size that a terminal has is no file either, and nothing is drawn in another.
for size in 0x0 -1x5 99999999x99999999 80x x24 80x24x1 80x-1 19x24 80x4 501 80x501 1e3 5x5; do
  ends_with 2 --preview $size resources/panel.json
  [ "$err" = "dorn-lint: --preview: '$size' is not a size from 20x5 to 500x500, such as 80 or 132x43" ] || fail "says of the size $size: $err"
  [ -z "$out" ] || fail "draws at the size $size: $out"
done
ends_with 0 --preview 20x5 resources/panel.json
ends_with 0 --preview 500x500 resources/panel.json
cp -r resources 2024
ends_with 0 --preview 2024/good.json
ends_with 0 --preview 2024
ends_with 2 --preview
printf '{"Command": "DIALOG", "Name": "deep", "Objects": [%s%s]}' \
  "$(printf '{"Name":"a","Type":"GROUP","Objects":[%.0s' $(seq 500))" "$(printf ']}%.0s' $(seq 500))" >deep.json
ends_with 0 --preview 100x30 deep.json

ends_with 0 --help
grep -q 'Exit codes' <<<"$out" || fail "--help does not tell the exit codes"
ends_with 0 --rules
grep -qx 'lost-value  *error  *a value that the library drops.*' <<<"$out" || fail "--rules prints $out"
echo "dorn-lint says what it finds"
