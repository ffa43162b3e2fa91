#!/usr/bin/env bash
# Runs the scenes against the programs of a build folder; further arguments go to Playwright.
set -euo pipefail
export DORN_BUILD
DORN_BUILD=$(realpath "${1:?usage: run.sh BUILD [PLAYWRIGHT-ARGUMENT...]}")
shift
cd "$(dirname "$0")"
[ -x "${DORN_CHROMIUM:-/usr/bin/chromium}" ] || { echo "tests/browser: there is no Chromium; script/setup installs it" >&2; exit 1; }
[ -x node_modules/.bin/playwright ] || { echo "tests/browser: run npm ci in $PWD first; script/test does" >&2; exit 1; }
exec node_modules/.bin/playwright test "$@"
