#!/usr/bin/env bash
# resources.sh DORN_LINT: every resource file of this repository, with the exceptions that stand
# beside its folder in lint-exceptions.txt.
set -uo pipefail
lint=$1
failed=0
folders=0
while read -r folder; do
  folders=$((folders + 1))
  exceptions=()
  [ ! -e "$(dirname "$folder")/lint-exceptions.txt" ] || exceptions=(--exceptions "$(dirname "$folder")/lint-exceptions.txt")
  "$lint" "${exceptions[@]}" "$folder" || failed=1
done < <(find . -name node_modules -prune -o -path ./build -prune -o -type d -name resources -print | LC_ALL=C sort)
[ $folders -ge 3 ] || { echo "FAILED: only $folders folders of resources" >&2; exit 1; }
exit $failed
