#!/bin/sh
# headers-alone.sh [ROOT]
# Compiles every header below ROOT (the project or an installation) by itself.
set -u
cd "${1:-$(dirname "$0")/..}" || exit
find platform messages routing sim conformance agent tool tests bench -type f -name '*.h' 2>/dev/null | LC_ALL=C sort |
   xargs -r -n 1 -P "$(nproc)" sh -c '
      printf "#include \"%s\"\n" "$1" |
         g++ -std=c++20 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror \
            -DVORMEL_ATOMIC_REFS=1 -DVORMEL_CHECKING=1 -I. -fsyntax-only -x c++ - || {
         echo "$1: does not compile alone"
         exit 1
      }' sh
