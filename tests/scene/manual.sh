#!/usr/bin/env bash
# manual.sh DORN-STATION BUILD: plays every scene that docs/testing-hosts.md shows, against the
# example that the block names, and looks for what it shows of a failure and of CMake.
set -uo pipefail
station=$1
build=$2
cd "$(dirname "$0")/../.."
page=docs/testing-hosts.md
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "FAILED: $1" >&2
  exit 1
}

# Each block becomes a file, named after its number and what stands behind its fence.
awk -v work="$work" '
  /^```/ && inside { inside = 0; next }
  /^```/ { inside = 1; name = substr($0, 4); gsub(/ /, "-", name); file = work "/" ++count "-" name; next }
  inside { print > file }' "$page"

played=0
for block in "$work"/*-scene-*; do
  read -r host fails <<<"$(sed 's/.*-scene-//; s/-/ /' <<<"$block")"
  mv "$block" "$work/first.scene"
  said=$(cd "$work" && "$station" run --patience 4 --start "$build/$host/$host" first.scene 2>&1)
  code=$?
  if [ -z "$fails" ]; then
    [ $code = 0 ] || fail "$block: $said"
  else
    [ $code = 1 ] || fail "$block does not fail: $said"
    text=$(cat "$work"/*-text)
    # Limits are longer here.
    [ "$(sed 's/is RUNNING within .*/is RUNNING/' <<<"$said" | head -n 5)" = \
      "$(sed 's/is RUNNING within .*/is RUNNING/' <<<"$text")" ] || fail "another failure: $said"
  fi
  played=$((played + 1))
done
[ $played = 4 ] || fail "$played scenes instead of 4"

shown=$(tr -s ' \n' ' ' <"$(echo "$work"/*-cmake)")
[[ $(tr -s ' \n' ' ' <examples/pumphouse/CMakeLists.txt) == *"$shown"* ]] || fail "the example says something else than: $shown"

# Every option and every form of a line is in the help, and the other way round.
for word in login enter click set ack get send close return leave connect expect; do
  "$station" run --help | grep -q "A: $word" || fail "--help does not know $word"
  grep -q "^| \`a: $word" "$page" || fail "the page does not know $word"
done
for option in $("$station" run --help | grep -oE '^ +(-h,)?--[a-z]+' | grep -oE -e '--[a-z]+'); do
  case $option in
    --help | --type | --width | --height | --quotes) ;;
    *) grep -q -e "$option" "$page" || fail "the page does not know $option" ;;
  esac
done
