#!/usr/bin/env bash
# An example with a broken resource file says where it is broken, and does not start.
set -euo pipefail
. "$(dirname "$0")/common.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for program in "$@"; do
  cp -r "$(dirname "$program")"/. "$work"
  copy=$work/$(basename "$program")
  printf '{\n  "Command": "DIALOG"\n  "Objects": []\n}\n' >"$work/resources/panel.json"
  status=0
  said=$(DORN_STATION=127.0.0.1:0 timeout 20 "$copy" 2>&1 >/dev/null) || status=$?
  [ $status = 1 ] || fail "$program ends with $status"
  grep -q 'resources/panel.json:3:3: syntax error' <<<"$said" || fail "$program does not say where: $said"
  rm "$work/resources/panel.json"
  said=$(DORN_STATION=127.0.0.1:0 timeout 20 "$copy" 2>&1 >/dev/null) && fail "$program starts without its panel"
  grep -q 'panel.json: cannot be opened' <<<"$said" || fail "$program does not say what is missing: $said"
done
