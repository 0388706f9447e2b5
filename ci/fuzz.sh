#!/bin/sh
# fuzz.sh [SECONDS [TARGET...]]
# Builds the fuzz targets and runs each for some seconds, 60 by default. They start with the seeds of fuzz/seeds.py and
# with what earlier runs have kept in build/fuzz/corpus. Prints a line for each target. Inputs that are findings are kept
# in build/fuzz/findings, and make it fail.
set -u
cd "$(dirname "$0")/.." || exit
seconds=${1:-60}
[ $# -eq 0 ] || shift
# shellcheck disable=SC2046 # a list of words
[ $# -gt 0 ] ||
   set -- $(find fuzz -name '*.cpp' ! -name Fuzz.cpp | LC_ALL=C sort | sed 's|^fuzz/||; s|\.cpp$||')

sh ci/build.sh asan-ubsan fuzz-targets || exit
bin=build/asan-ubsan/bin
dir=build/fuzz
mkdir -p $dir
python3 fuzz/seeds.py $dir/seeds || exit
rm -rf $dir/findings
mkdir -p $dir/findings

# Reports have symbols from binutils. Uses after a return, which are slow to find, are left to the tests.
export ASAN_OPTIONS="external_symbolizer_path=$(command -v addr2line):detect_stack_use_after_return=0:\
malloc_context_size=8:quarantine_size_mb=32"
export UBSAN_OPTIONS=print_stacktrace=1

printf '%s\n' "$@" | xargs -n 1 -P "$(nproc)" sh -c '
   bin=$1 dir=$2 seconds=$3 name=$4
   log=$dir/$name.log
   mkdir -p "$dir/corpus/$name"
   "$bin/fuzz-$name" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 -close_fd_mask=3 -print_funcs=0 \
      -dict="$dir/seeds/words.dict" -artifact_prefix="$dir/findings/$name-" \
      "$dir/corpus/$name" "$dir/seeds/$name" >"$log" 2>&1
   status=$?
   set -- "$dir/findings/$name-"*
   [ -e "$1" ] || shift
   sed -nE "s/^#([0-9]+).* cov: ([0-9]+) .*/\1 \2/p" "$log" | tail -n 1 | {
      read -r runs edges
      printf "%-14s %9d runs, %6d edges covered, findings: %d\n" "$name" "${runs:-0}" "${edges:-0}" $#
   }
   if [ $# -gt 0 ]; then
      # Once more, with what the target itself writes.
      "$bin/fuzz-$name" "$1" 2>&1 | tail -n 60
      exit 1
   elif [ $status -ne 0 ]; then
      tail -n 60 "$log"
      exit 1
   fi
' sh $bin $dir "$seconds"
