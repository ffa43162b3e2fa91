#!/usr/bin/env bash
# A clone in which nothing can be written is refused in one line before anything is installed.
. "$(dirname "$0")/common.sh"
scripts_in "$work/tree"
cd "$work/tree" || exit 1
# Somebody with all rights writes into folders without them, but into no file as if it were a folder.
touch build
printf '#!/bin/sh\nexit 0\n' >script/port-is-free
printf '#!/bin/sh\necho installing\n' >script/setup
mkdir -p fuzz/corpus/one
for name in demo test bench coverage fuzz soak; do
  refuses script/$name
  says_in_one_line "script/$name: nothing can be written in $work/tree/build/"
done

# A log of somebody else's in an old build folder.
rm build
mkdir -p build/demo/build.log build/demo/pumphouse build/demo/bin
printf '#!/bin/sh\n' | tee build/demo/pumphouse/pumphouse >build/demo/bin/dorn-station
chmod +x build/demo/*/*
printf '#!/bin/sh\nexit 0\n' >script/setup
refuses script/demo
says_in_one_line "script/demo: $work/tree/build/demo/build.log cannot be written"
