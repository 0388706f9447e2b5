#!/bin/sh
# test.sh PRESET [CTEST-ARGUMENT...]
# Runs the tests of a preset that is built.
set -u
cd "$(dirname "$0")/.." || exit
preset=$1
shift

if [ "$preset" = tsan ]; then
   # The command says what it died of from its handler of SIGABRT; that signal is its own and synchronous.
   export TSAN_OPTIONS="report_signal_unsafe=0 ${TSAN_OPTIONS:-}"
fi

run=
tests=build/$preset/bin/strata-l3-tests
if [ "$preset" = tsan ] && [ -x "$tests" ] && ! "$tests" --gtest_list_tests >/dev/null 2>&1; then
   # Thread sanitizers of this age cannot place their shadow memory under a kernel that spreads
   # addresses widely.
   run="setarch $(uname -m) --addr-no-randomize"
fi
# shellcheck disable=SC2086 # a list of words
exec $run ctest --preset "$preset" --parallel "$(nproc)" --progress "$@"
