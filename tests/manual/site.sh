#!/usr/bin/env bash
# The manual can be built as a site, and its links hold.
set -euo pipefail
for tool in mkdocs doxygen; do
  command -v $tool >/dev/null || { echo "FAILED: $tool is missing; script/setup installs it" >&2; exit 1; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
script/manual --to "$work"
"$(dirname "$0")/site.py" "$work/site"
