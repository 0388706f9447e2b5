#!/bin/sh
# format.sh [--check]
# Formats all C++ files, or fails with a line for each place that is not formatted.
set -u
cd "$(dirname "$0")/.." || exit
how=-i
[ "${1:-}" = --check ] && how='--dry-run -Werror'
# shellcheck disable=SC2086 # a list of words
find platform messages routing recording sim conformance agent cover desk report tool tests fuzz bench examples \
   -type f \( -name '*.h' -o -name '*.cpp' \) -print0 2>/dev/null |
   xargs -0 -r -n 16 -P "$(nproc)" clang-format $how
