#!/bin/sh
# build.sh PRESET [TARGET...]
# Configures and builds. Prints a progress line on a terminal, and nothing elsewhere unless it fails.
set -u
cd "$(dirname "$0")/.." || exit
preset=$1
shift

mkdir -p build
log=build/configure-$preset.log
if ! cmake --preset "$preset" >"$log" 2>&1; then
   cat "$log"
   exit 1
fi

quiet=--quiet
[ -t 1 ] && quiet=
[ -e "build/$preset/.ninja_log" ] || echo "Building; the first time takes some minutes." >&2
# shellcheck disable=SC2086 # may be empty
cmake --build --preset "$preset" ${1:+--target} "$@" -- $quiet
