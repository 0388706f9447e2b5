#!/bin/sh
# grid.sh [PATTERN...]
# Tries every fault of every hardware call of the scenarios with these names, with the tests of the debug build. Prints a
# line for each scenario, and what did not end as prescribed.
set -u
cd "$(dirname "$0")/.." || exit

tests=build/debug/bin/strata-l3-tests
export STRATA_FAULTS=all
[ $# -ne 0 ] || set -- '*'
filter=
for pattern; do
   filter=$filter:Scenarios/FaultGrid.*/$(printf %s "$pattern" | tr -d -)
done
"$tests" --gtest_list_tests --gtest_filter="$filter" | sed -n 's|^  \([^ ]*\).*|Scenarios/FaultGrid.\1|p' |
   xargs -P "$(nproc)" -I '{}' sh -c '
      if found=$("$1" --gtest_brief=1 --gtest_filter="$2" 2>&1); then
         printf "%s\n" "$found" | grep "faults tried:"
      else
         printf "%s\n" "$found"
         exit 1
      fi' sh "$tests" '{}'
