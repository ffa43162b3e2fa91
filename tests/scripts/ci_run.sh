#!/usr/bin/env bash
# A run of everything that hangs, or takes too long, ends by itself, with all that it has begun, and says where.
. "$(dirname "$0")/common.sh"
mkdir -p "$work/tree/script"
cp -r "$source/.ci" "$work/tree"
cd "$work/tree" || exit 1
for name in site-faults setup package check; do
  printf '#!/bin/sh\necho %s\n' $name >script/$name
done
chmod +x script/*
fake_test() { # SHELL-COMMANDS
  printf '#!/bin/sh\n%s\n' "$1" >script/test
  chmod +x script/test
}
# Dead, even if nobody has asked for its end yet.
runs() { grep -q '^State:.[^Z]' "/proc/$(cat left)/status" 2>/dev/null; }
is_gone() {
  for _ in $(seq 100); do if runs; then sleep 0.1; fi; done
  ! runs
}

# The test for asan has begun something, in a session of its own, that holds the output open.
fake_test '[ "$1" != asan ] || { setsid sleep 1000 & echo $! >left; wait; }'
refuses env DORN_CI_SECONDS=15 .ci/run
tail -n 1 <<<"$said" | grep -qE ' s  in all$' || fail "it does not say what it has cost: $said"
grep -q '^\.ci/run: not at its end after ' <<<"$said" || fail "it does not say why it ends: $said"
grep -q '^\.ci/run: FAILED: .*script/test asan' <<<"$said" || fail "it does not say where it hung: $said"
grep -qE '^ +[0-9]+ s  script/package --test' <<<"$said" || fail "it does not say how far it came: $said"
is_gone || fail "something is left of a run that took too long"

# So it is when the run itself is killed.
rm left
fake_test 'setsid sleep 1000 & echo $! >left; wait'
.ci/run >/dev/null 2>&1 </dev/null &
for _ in $(seq 300); do if [ ! -s left ]; then sleep 0.1; fi; done
{ kill -KILL $! && wait $!; } 2>/dev/null || true
is_gone || fail "something is left of a run that was killed"

fake_test '[ "$1" != asan ] || exit 3'
refuses .ci/run
grep -q '^\.ci/run: FAILED: .*script/test asan' <<<"$said" || fail "it does not say what failed: $said"
grep -q 'not at its end' <<<"$said" && fail "it says that it took too long: $said"
# What a test has left behind would hold the output open for whoever reads it.
rm -f left
fake_test '[ "$1" != asan ] || { setsid sleep 1001 & echo $! >left; }'
said=$(timeout 600 .ci/run 2>&1 </dev/null) || fail "it fails or waits because of what a test has left behind: $said"
grep -q '^\.ci/run: still there at the end, and killed: sleep 1001' <<<"$said" || fail "it does not say what was left: $said"
is_gone || fail "something is left of a run that ended well"

# So it is when what was left cannot be known any more as the run's.
fake_test '[ "$1" != asan ] || { env -i setsid sleep 600 & echo $! >left; }'
said=$(timeout 500 .ci/run 2>&1 </dev/null) || fail "it fails because of what a test has left behind: $said"
runs || fail "it waits for what a test has left behind"
kill "$(cat left)"
tail -n 1 <<<"$said" | grep -qE ' s  in all$' || fail "the end is missing: $said"

# What clang-tidy has not found in time is not waited for; what it has found counts. It has begun, which may take long where
# others have the processors.
fake_test 'for _ in $(seq 3000); do [ -s left ] || sleep 0.1; done'
for found in '' "echo 'a.cc:1:1: warning: bad'; "; do
  rm -f left
  printf '#!/bin/sh\n[ "$1" = --no-tidy ] || { %secho $$ >left; setsid sleep 1000; }\n' "$found" >script/check
  result=0
  said=$(DORN_CI_CHECK_SECONDS=4 timeout 600 .ci/run 2>&1 </dev/null) || result=$?
  [ $((result != 0)) = $((${#found} != 0)) ] || fail "with '$found' it ends with $result: $said"
  grep -q 'check --all is not at its end after .* s, and left' <<<"$said" || fail "it does not say what it has left: $said"
  is_gone || fail "clang-tidy goes on"
done
printf '#!/bin/sh\necho check\n' >script/check

fake_test :
said=$(.ci/run 2>&1 </dev/null) || fail "it fails where nothing does: $said"
grep -q FAILED <<<"$said" && fail "it ends well and says otherwise: $said"
grep -qE '^ +[0-9]+ s  end_of_checks$' <<<"$said" || fail "it does not wait for the checks: $said"
