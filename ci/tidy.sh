#!/bin/sh
# Runs clang-tidy over the library's sources; any finding is an error.
set -u
cd "$(dirname "$0")/.." || exit
log=build/configure-debug.log
mkdir -p build
cmake --preset debug >"$log" 2>&1 || {
   cat "$log"
   exit 1
}
# The compile database speaks GCC, so clang meets warning options that it does not know.
find platform messages routing -type f -name '*.cpp' -print0 |
   xargs -0 -r -n 1 -P "$(nproc)" clang-tidy -p build/debug --quiet \
      --extra-arg=-Wno-unknown-warning-option 2>&1 |
   grep -vE '^[0-9]+ warnings? (generated|treated)|^Suppressed |^Use -header-filter' >build/tidy.log
if [ -s build/tidy.log ]; then
   cat build/tidy.log
   exit 1
fi
