#!/usr/bin/env bash
# Each script says what it does, without doing it.
set -uo pipefail
. "$(dirname "$0")/common.sh"
for name in script/*; do
  [ -x "$name" ] || continue
  said=$("$name" --help 2>&1) || fail "$name --help fails: $said"
  grep -q "^usage: $name" <<<"$said" || fail "$name --help does not begin with its usage: $said"
done
