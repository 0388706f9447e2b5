#!/bin/sh
# Runs clang-tidy over the library's sources; any finding is an error.
set -u
cd "$(dirname "$0")/.." || exit
log=build/configure-tidy.log
mkdir -p build
# clang-tidy cannot read what GCC has precompiled.
cmake --preset debug -B build/tidy -D STRATA_PRECOMPILE=OFF >"$log" 2>&1 || {
   cat "$log"
   exit 1
}
# The compile database is for GCC, so clang finds warning options that it does not know.
find platform messages routing -type f -name '*.cpp' -print0 |
   xargs -0 -r -n 1 -P "$(nproc)" clang-tidy -p build/tidy --quiet \
      --extra-arg=-Wno-unknown-warning-option 2>&1 |
   grep -vE '^[0-9]+ warnings? (generated|treated)|^Suppressed |^Use -header-filter' >build/tidy.log
if [ -s build/tidy.log ]; then
   cat build/tidy.log
   exit 1
fi
