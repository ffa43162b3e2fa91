#!/usr/bin/env bash
# Every text in Japanese that the library prints, logs or sends is explained in the documents.
. "$(dirname "$0")/common.sh"
cd "$source" || exit 1
texts=$(git ls-files 'dorn/*.cc' 2>/dev/null || find dorn -name '*.cc')
count=0
while read -r text; do
  count=$((count + 1))
  grep -qF -e "$text" docs/hosts.md docs/protocol.md || fail "neither docs/hosts.md nor docs/protocol.md explains $text"
done < <(xargs grep -hvE '^ *//' <<<"$texts" | python3 -c '
import re, sys
for literal in re.findall(r"\"((?:\\.|[^\"\\])*)\"", sys.stdin.read()):
    runs = re.findall(r"[^\x00-\x7f]+", literal)
    if runs:
        print(max(runs, key=len))' | sort -u)
[ $count -gt 20 ] || fail "only $count texts were found"
