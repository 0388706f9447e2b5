#!/bin/sh
# Runs clang-tidy over everything but tests, fuzz targets and examples; any finding is an error.
#
# Most of its time goes into the standard headers, so all sources of a room are read as one, in a sixth of the time.
# Whether an include or a using-declaration is superfluous is asked of each source by itself, and so an include that is
# missing is an error, too, if the source does not compile without it; that a name comes from the header of another name
# is none.
set -u
cd "$(dirname "$0")/.." || exit
command -v clang-tidy-19 >/dev/null || {
   echo "tidy.sh: clang-tidy-19 is not installed"
   exit 1
}
dir=build/tidy
rm -rf "$dir"
mkdir -p "$dir"

sources() {
   find "$@" -type f -name '*.cpp' | LC_ALL=C sort
}

# together NAME ROOM...
together() {
   name=$1
   shift
   sources "$@" | grep -v /NoSolver | sed 's|.*|#include "&"|' >"$dir/$name.cpp"
   echo "-misc-include-cleaner,-bugprone-suspicious-include $dir/$name.cpp"
}

# The longest first.
{
   together tool agent cover desk report tool
   together sim sim
   together routing messages routing recording
   together conformance conformance
   together platform platform
   sources platform messages routing recording sim conformance agent cover desk report tool | sed 's/^/-*,misc-include-cleaner,misc-unused-* /'
} | xargs -r -L 1 -P "$(nproc)" sh -c '
   clang-tidy-19 --quiet --checks="$1" "$2" -- -std=c++20 -I. -Wall -Wextra \
      -DVORMEL_ATOMIC_REFS=1 -DVORMEL_CHECKING=1 -DSTRATA_VERSION=\"\" 2>&1' sh |
   awk '/: (warning|error): / { wanted = !/no header providing/ }
      !/^[0-9]+ warnings? (generated|treated)|^Suppressed |^Use -header-filter/ && wanted' >build/tidy.log
if [ -s build/tidy.log ]; then
   cat build/tidy.log
   exit 1
fi
