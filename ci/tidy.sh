#!/bin/sh
# Runs clang-tidy over everything but the tests and examples; any finding is an error.
set -u
cd "$(dirname "$0")/.." || exit
log=build/configure-tidy.log
mkdir -p build
# clang-tidy cannot read what GCC has precompiled.
cmake --preset debug -B build/tidy -D STRATA_PRECOMPILE=OFF >"$log" 2>&1 || {
   cat "$log"
   exit 1
}
# The compile database has GCC's options, some of which clang does not know. An include that is superfluous is a
# finding; one that is missing is left to the release build, which compiles without precompiled headers.
find platform messages routing sim conformance agent tool -type f -name '*.cpp' -print0 |
   xargs -0 -r -n 1 -P "$(nproc)" clang-tidy-19 -p build/tidy --quiet \
      --extra-arg=-Wno-unknown-warning-option --extra-arg=-Wno-deprecated-declarations 2>&1 |
   awk '/: (warning|error): / { wanted = !/no header providing/ }
      !/^[0-9]+ warnings? (generated|treated)|^Suppressed |^Use -header-filter/ && wanted' >build/tidy.log
if [ -s build/tidy.log ]; then
   cat build/tidy.log
   exit 1
fi
