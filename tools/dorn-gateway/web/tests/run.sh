#!/bin/sh
# Bundles the page's tests into a folder that is removed again, and runs them.
# usage: run.sh [FILE.test.ts...]
set -eu
cd "$(dirname "$0")"
[ $# -gt 0 ] || set -- *.test.ts
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
esbuild --bundle --platform=node --target=node18 --format=esm --out-extension:.js=.mjs \
  --log-level=warning --outdir="$work" "$@"
DORN_STATION_VECTORS=${DORN_STATION_VECTORS:-$(cd ../../../.. && pwd)/station/vectors}
export DORN_STATION_VECTORS
node --test "$work"/*.mjs
