#!/bin/sh
# headers-alone.sh
# Compiles by itself each header that no source includes before all others. Those are shown by ci/tidy.sh, which reads
# each source by itself.
set -u
cd "$(dirname "$0")/.." || exit

find platform messages routing recording sim conformance agent cover desk report tool tests fuzz bench -type f -name '*.h' | LC_ALL=C sort |
   while read -r header; do
      source=${header%.h}.cpp
      case $header in
      tests/* | fuzz/* | bench/*) ;; # ci/tidy.sh does not read them
      *) grep -s -m 1 '^#include' "$source" | grep -qxF "#include \"$header\"" && continue ;;
      esac
      echo "$header"
   done |
   xargs -r -n 1 -P "$(nproc)" sh -c '
      printf "#include \"%s\"\n" "$1" |
         g++ -std=c++20 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror \
            -DVORMEL_ATOMIC_REFS=1 -DVORMEL_CHECKING=1 -I. -fsyntax-only -x c++ - || {
         echo "$1: does not compile alone"
         exit 1
      }' sh
