#!/usr/bin/env bash
# Keeps the symbols file of the Debian package in step with the list of what the library exports.
#   debian_symbols.sh LIST SYMBOLS            compares
#   debian_symbols.sh LIST SYMBOLS --update   writes the symbols file anew: names that it has already keep
#                                             the version since which they are there, new ones get that of
#                                             the changelog beside it
set -euo pipefail
list=$1
symbols=$2
package=$(basename "$symbols" .symbols)
version=$(sed -nE '1s/.*\(([0-9.]+)[^)]*\).*/\1/p' "$(dirname "$symbols")/changelog")

wanted() {
  # What the compiler makes of the standard library's templates comes and goes with it, and no host
  # counts on finding it here.
  cat <<EOT
${package%1}.so.1 $package #MINVER#
 (optional|regex)"^_Z(T[ISV]P?F?|GV|Z)?(N?K?S[at]|NK?9__gnu_cxx).*@Base\$" 1.8.7
EOT
  awk -v version="$version" '
    FILENAME == ARGV[1] { if (match($0, /@Base" /)) since[substr($0, 1, RSTART - 1)] = $NF; next }
    { name = " (c++)\"" $0; print name "@Base\" " (name in since ? since[name] : version) }' "$symbols" "$list"
}
if [ "${3:-}" = --update ]; then
  written=$(wanted)
  printf '%s\n' "$written" >"$symbols"
elif ! diff -u "$symbols" <(wanted); then
  echo "$symbols does not fit to $(basename "$list"). Run: tests/packaging/debian_symbols.sh $list $symbols --update"
  exit 1
fi
