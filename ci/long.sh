#!/bin/sh
# long.sh FILTER...
# Runs tests of the debug build that match, one beside the other, without a limit of time. Prints a line for each that
# passes, with what it says that it tried, and all output of one that fails.
set -u
cd "$(dirname "$0")/.." || exit

tests=build/debug/bin/strata-l3-tests
filter=$(printf '%s:' "$@")
"$tests" --gtest_list_tests --gtest_filter="$filter" |
   sed -n 's/^\([^ ].*\.\)$/\1/; t suite; s/^  \([^ ]*\).*/\1/; t test; d; :suite; h; d; :test; G; s/\(.*\)\n\(.*\)/\2\1/p' |
   xargs -P "$(nproc)" -I '{}' sh -c '
      if found=$("$1" --gtest_brief=1 --gtest_filter="$2" 2>&1); then
         printf "%s\n" "$found" | grep " tried: " || printf "passed: %s\n" "$2"
      else
         printf "%s\n" "$found"
         exit 1
      fi' sh "$tests" '{}'
