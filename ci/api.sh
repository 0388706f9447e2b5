#!/bin/sh
# api.sh PRESET
# Makes the API pages of the headers that a preset's build installs, in build/PRESET/api/html. Every warning of doxygen
# fails: a documented parameter that does not exist, a reference that leads nowhere.
set -eu
cd "$(dirname "$0")/.."
build=build/$1
out=$PWD/$build/api

rm -rf "$out"
cmake --install "$build" --component dev --prefix "$out/installed" >/dev/null
API_SOURCE=$PWD API_HEADERS=$out/installed/include/strata-l3 API_OUTPUT=$out \
   API_VERSION=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt") doxygen ci/Doxyfile
