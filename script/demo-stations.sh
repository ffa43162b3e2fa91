# Sourced by the demonstrations: stations that they play, step by step. They have $work, a folder, $station_program, and
# fail, which ends them with a reason.

# A station runs in the background; its lines come from a pipe, what it prints goes to a file.
declare -A pipe shown process
start_station() { # NAME OPTION...: who logs in
  mkfifo "$work/$1.in"
  : >"$work/$1.out"
  "$station_program" "${@:2}" --save "$work" --timeout 10 <"$work/$1.in" >"$work/$1.out" 2>&1 &
  process[$1]=$!
  exec {descriptor}>"$work/$1.in"
  pipe[$1]=$descriptor
  shown[$1]=0
}

steps=0
# Gives lines to a station, waits until it has worked through them, and shows what it printed.
station() { # NAME LINE...
  local name=$1 line
  shift
  steps=$((steps + 1))
  { for line in "$@"; do echo "$line"; done; echo "say done $steps"; } >&"${pipe[$name]}" 2>/dev/null || true
  local i=0
  until grep -qx "done $steps" "$work/$name.out"; do
    i=$((i + 1))
    if ! kill -0 "${process[$name]}" 2>/dev/null || [ $i -gt 300 ]; then
      show "$name"
      fail "station $name: ${*: -1}"
    fi
    sleep 0.05
  done
  show "$name"
}
show() { # NAME: prints what is new, without the water level, which moves every second
  tail -n "+$((shown[$1] + 1))" "$work/$1.out" | grep -vE '^done |^$' | grep -vE '"Objects":\[\{"Value":[0-9]+,"Name":"level"\}\]' |
    cut -c1-220 | sed "s/^/    station $1  /" || true
  shown[$1]=$(wc -l <"$work/$1.out")
}
say() { printf '\n%s\n' "$1"; }
