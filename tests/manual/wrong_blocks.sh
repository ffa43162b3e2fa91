#!/usr/bin/env bash
# wrong_blocks.sh BUILD PROGRAMS: blocks.py finds each kind of mistake, put into a copy of the pages.
set -uo pipefail
here=$(dirname "$0")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

wrong() { # EXPECTED PAGE SED-EXPRESSION
  local said
  rm -rf "$work/pages"
  mkdir -p "$work/pages/tutorial" "$work/pages/guides"
  cp docs/manual/*.md "$work/pages"
  cp docs/manual/tutorial/*.md "$work/pages/tutorial"
  cp docs/manual/guides/*.md "$work/pages/guides"
  sed -i "$3" "$work/pages/$2"
  cmp -s "docs/manual/$2" "$work/pages/$2" && { echo "FAILED: nothing was changed in $2 by $3" >&2; exit 1; }
  said=$("$here/blocks.py" "$build" "$programs" "$work/pages") && { echo "FAILED: not found: $1" >&2; exit 1; }
  grep -qE "^$2:[0-9]+: .*$1" <<<"$said" || { echo "FAILED: instead of $1: $said" >&2; exit 1; }
}
build=$1 programs=$2
wrong 'stands in no source below docs/manual/tutorial/step1' tutorial/1-greeting.md 's/++mVisits/mVisits++/'
wrong 'stands in no source' tutorial/2-buttons.md 's/^  void OnTouch.*/&\n/'
wrong 'stands in no CMakeLists' tutorial/1-greeting.md 's/^add_executable(filler1/add_executable(filler2/'
wrong 'stands in no resource' tutorial/4-machine.md 's/"Name": "tank"/"Name": "tonk"/'
wrong 'stands in no scene' tutorial/3-numbers.md 's/^a: click/a: clack/; s/^b: click/b: clack/'
wrong 'no preview' tutorial/2-buttons.md 's/\[ Start \]/[ Begin ]/'
wrong 'not in commands.txt' tutorial/1-greeting.md 's/^dorn-terminal --id tanaka/dorn-terminal --id suzuki/'
wrong 'knows no --sove' quick-start.md '$ a```sh\ndorn-station --sove .\n```'
wrong 'knows how to check a block perl' index.md '$ a```perl\nprint 1\n```'
wrong 'without a language' faq.md '$ a```\nwords\n```'
wrong 'that does not end' faq.md '$ a```sh'
wrong 'is no JSON' faq.md '$ a```json\n{"Name": }\n```'
wrong 'lost-value' faq.md '$ a```json\n{"Command": "DIALOG", "Name": "x", "Objects": [{"Name": "y", "Type": "LABEL", "Value": 1.5}]}\n```'
wrong 'unknown word' faq.md '$ a```scene\na: clack lamp\n```'
wrong 'is not the file kiln' guides/screen-author.md 's/"Title": "Kiln"/"Title": "Oven"/'
wrong 'is no vector' guides/station-builder.md 's/entering: updates behind the fence/entering: updates before the fence/'
wrong 'another picture' guides/screen-author.md 's/^│  Temperature /│  temperature /'
