#!/usr/bin/env bash
# Where nobody watches, what ctest says of tests that do not pass is all told, and of the others little.
. "$(dirname "$0")/common.sh"
cd "$source" || exit 1

mkdir "$work/tests"
cat >"$work/tests/CTestTestfile.cmake" <<'EOT'
add_test(fine true)
add_test(loud bash -c "echo '  what   was said'; printf 'and the end'; exit 3")
add_test(late sleep 10)
set_tests_properties(late PROPERTIES TIMEOUT 1)
EOT
said=$(. script/common.sh; ctest --test-dir "$work/tests" --output-on-failure 2>/dev/null | tell_tests)
for each in '2/3 Test #2: loud \*\*\*Failed ' '  what   was said' 'and the end' '3/3 Test #3: late \*\*\*Timeout ' '33% tests passed'; do
  grep -q -- "^ *$each" <<<"$said" || fail "'$each' is not in: $said"
done
! grep -qE 'Passed|Start ' <<<"$said" || fail "passes are told: $said"

bash -c ". script/common.sh; set -o pipefail; ctest --test-dir '$work/tests' -R fine | tell_tests" >/dev/null || fail "a pass"
! bash -c ". script/common.sh; set -o pipefail; ctest --test-dir '$work/tests' -R loud | tell_tests" >/dev/null 2>&1 || fail "a failure is lost"

# From time to time it is told how far the tests are. The shell counts whole seconds.
said=$(. script/common.sh; { echo '1/9 Test #1: a ...   Passed    0.01 sec'; sleep 4; echo '2/9 Test #2: b ...   Passed    0.01 sec'; } | tell_tests 2)
grep -qx 'Testing: 2/9' <<<"$said" || fail "not how far it is: $said"

said=$(script -qec "bash -c '. script/common.sh; ctest --test-dir $work/tests -R fine | tell_tests'" /dev/null </dev/null)
grep -q 'Passed' <<<"$said" || fail "a terminal does not see passes: $said"
