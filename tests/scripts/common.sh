# Helpers of the tests beside this file. Each is called with the folder of the sources.
set -uo pipefail
source=$1
work=$(mktemp -d)
trap 'chmod -R u+w "$work"; rm -rf "$work"' EXIT
unset GIT_DIR GIT_WORK_TREE GIT_INDEX_FILE
export HOME=$work GIT_CONFIG_NOSYSTEM=1

fail() {
  echo "FAILED: $1" >&2
  exit 1
}

# A folder with a copy of the scripts.
scripts_in() { # FOLDER
  mkdir -p "$1"
  cp -r "$source/script" "$source/.clang-format" "$1"
}

# Runs a command that has to fail; what it says goes into $said.
refuses() { # COMMAND...
  if said=$("$@" 2>&1 </dev/null); then fail "$* went on: $said"; fi
}
says_in_one_line() { # TEXT
  [ "$(wc -l <<<"$said")" = 1 ] || fail "more than one line: $said"
  grep -qF "$1" <<<"$said" || fail "not '$1', but: $said"
}
