#!/bin/sh
# test.sh PRESET [CTEST-ARGUMENT...]
# Runs the tests of a preset that is built. Prints how many faults of hardware calls, deaths of agents and plans they
# tried.
set -u
cd "$(dirname "$0")/.." || exit
preset=$1
shift

run=
tests=build/$preset/bin/strata-l3-tests
if [ "$preset" = tsan ] && [ -x "$tests" ] && ! "$tests" --gtest_list_tests >/dev/null 2>&1; then
   # This version of the thread sanitizer cannot place its shadow memory where the kernel randomises addresses over a
   # wide range.
   run="setarch $(uname -m) --addr-no-randomize"
fi
# shellcheck disable=SC2086 # a list of words
$run ctest --preset "$preset" --parallel "$(nproc)" --progress "$@"
status=$?
for what in faults deaths plans; do
   awk -F "$what tried: " -v what="$what" 'NF == 2 { tried += $2 } END { if( tried ) print what " tried: " tried }' \
      "build/$preset/Testing/Temporary/LastTest.log"
done
exit $status
