#!/bin/sh
# sdk-macros.sh COMPILER OUTPUT
# Writes a header that defines a macro for every SDK name in the tables.
set -eu
cd "$(dirname "$0")/.."
"$1" -std=c++20 -I. -E -P -x c++ tests/conformance/SdkMacros.inc |
   grep -oE 'SDK_NAME [A-Za-z0-9_]+' | sed 's/^SDK_NAME \(.*\)/#define \1 VENDOR/' >"$2"
