#!/usr/bin/env bash
# The manual can be built as a site, and its links hold.
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
script/manual --to "$work"
"$(dirname "$0")/site.py" "$work/site"
