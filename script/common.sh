# Sourced by the scripts beside it, with the root of the tree as working folder.

say_why() { echo "script/$(basename "$0"): $1" >&2; }

# needs PROGRAM...: ends the script when one of them is missing.
needs() {
  local program
  for program in "$@"; do
    command -v "$program" >/dev/null && continue
    say_why "$program is missing; script/setup installs it"
    exit 1
  done
}

# Ends the script when git cannot list the files of this folder.
needs_clone() {
  local said
  needs git
  said=$(LC_ALL=C git rev-parse --show-toplevel 2>&1) && return
  case "$said" in
    *"dubious ownership"*)
      say_why "another user owns this folder, so git does not read it; allow it with: git config --global --add safe.directory $PWD" ;;
    *) say_why "$PWD is no git clone, and git tells which files are to be looked at" ;;
  esac
  exit 1
}

# can_write FOLDER: makes it, or ends the script when nothing can be written there, as in a clone that
# is read-only or was built by root.
can_write() {
  mkdir -p "$1" 2>/dev/null && [ -w "$1" ] && return
  say_why "nothing can be written in $(realpath -m "$1"); work in a copy of the tree that is yours"
  exit 1
}

# npm_packages FOLDER: what its lock file names, fetched once, and again when that file has changed. A registry that does
# not answer is asked again after a minute, not after five.
npm_packages() {
  needs npm
  cmp -s "$1/package-lock.json" "$1/node_modules/.dorn-lock" && return
  (cd "$1" && PLAYWRIGHT_SKIP_BROWSER_DOWNLOAD=1 npm ci --silent --no-audit --no-fund --fetch-timeout=60000 --fetch-retries=4 >&2) || return
  cp "$1/package-lock.json" "$1/node_modules/.dorn-lock"
}

# quietly LOG WHAT COMMAND...: runs a command with its output in LOG, and tells on one line that it goes
# on. When it fails, that is said and the end of LOG is shown. The result is the command's.
quietly() {
  local log=$1 what=$2 started=$SECONDS ends ticker status=0
  shift 2
  if ! { : >"$log"; } 2>/dev/null; then
    say_why "$(realpath -m "$log") cannot be written; remove it, or work in a copy of the tree that is yours"
    return 1
  fi
  [ -t 1 ] || echo "$what ..."
  # It is never killed: a shell that dies before it has put off its parent's traps carries them out.
  exec {ends}> >(tell_progress "$log" "$what")
  ticker=$!
  "$@" >"$log" 2>&1 {ends}>&- || status=$?
  exec {ends}>&-
  wait $ticker || true
  [ ! -t 1 ] || printf '\r\e[K'
  if [ $status = 0 ]; then
    [ $((SECONDS - started)) -lt 10 ] || echo "$what: done after $((SECONDS - started)) s"
  else
    tail -n 30 "$log" >&2
    say_why "$what: failed; all of it is in $log"
  fi
  return $status
}

# The seconds and the last line of the log: anew each second on a terminal, each minute elsewhere. Ends
# with standard input, which the script holds open.
tell_progress() {
  local log=$1 what=$2 started=$SECONDS last
  until read -r -t 1 || [ $? -le 128 ]; do
    last=$(tail -n 1 "$log" | tr -d '\000-\037' | cut -c1-60)
    if [ -t 1 ]; then
      printf '\r%s: %d s  %s\e[K' "$what" $((SECONDS - started)) "$last"
    elif [ $(((SECONDS - started) % 60)) = 59 ]; then
      echo "$what: $((SECONDS - started + 1)) s  $last"
    fi
  done
}

# tell_tests [SECONDS]: what ctest says, as it is on a terminal. Elsewhere without the tests that pass, of which thousands
# would bury those that do not: each so many seconds, 60 at first, a line tells how far it is.
tell_tests() {
  if [ -t 1 ]; then
    cat
    return
  fi
  local pause=${1:-60} line told=$SECONDS
  local starts='^ *Start +[0-9]+: ' passes='^ *([0-9]+/[0-9]+) Test +#[0-9]+: .* Passed +[0-9.]+ sec' result='^ *[0-9]+/[0-9]+ Test +#'
  while IFS= read -r line || [ -n "$line" ]; do
    if [[ $line =~ $passes ]]; then
      [ $((SECONDS - told)) -lt "$pause" ] || { echo "Testing: ${BASH_REMATCH[1]}"; told=$SECONDS; }
    elif ! [[ $line =~ $starts ]]; then
      if [[ $line =~ $result ]]; then line=$(sed -E 's/ ?\.{3,}/ /' <<<"$line"); fi
      printf '%s\n' "$line"
    fi
  done
}
