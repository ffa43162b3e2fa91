#!/usr/bin/env bash
# The words of the documents. words.txt has those that codespell takes for mistakes and are none.
set -uo pipefail
command -v codespell >/dev/null || { echo "FAILED: codespell is missing; script/setup installs it" >&2; exit 1; }
here=$(dirname "$0")
codespell --ignore-words "$here/words.txt" README.md CONTRIBUTING.md CHANGELOG.md docs || exit 1
# It looks at all.
printf 'A station recieves the tree.\n' | codespell --ignore-words "$here/words.txt" - >/dev/null &&
  { echo "FAILED: it does not find a mistake" >&2; exit 1; }
exit 0
