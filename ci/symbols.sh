#!/bin/sh
# symbols.sh LIBRARY [--update]
# Compares the library's exported symbols with the list ci/symbols.txt, or with --update rewrites the list. Every build
# exports the same symbols, except for the check of a build with lock checks, and the marks of the build settings, which
# the list has as in a release build.
set -eu
cd "$(dirname "$0")/.."
library=$1
update=${2:-}
list=ci/symbols.txt
now=$(mktemp)
trap 'rm -f "$now"' EXIT

# Demangled, and without a standard library's own spellings. The variants of a constructor become one line, and so do a
# typeinfo and its name.
nm --dynamic --defined-only --demangle "$library" | sed -E 's/^[0-9a-f]* . //' |
   sed -E -e 's/\[abi:cxx11\]//g' \
      -e 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> ?>/std::string/g' \
      -e 's/std::basic_string_view<char, std::char_traits<char> ?>/std::string_view/g' \
      -e 's/^Vormel::BuiltWith::lockChecks$/Vormel::BuiltWith::noLockChecks/' |
   grep -vE '^typeinfo name for |^Vormel::checkActivityLock\(' | LC_ALL=C sort -u >"$now"

if [ "$update" = --update ]; then
   cp "$now" "$list"
elif ! diff -u --label "$list" --label "$library" "$list" "$now"; then
   cat >&2 <<'END'
The library does not export what ci/symbols.txt says (- written down, + exported now).
A new name: is it for agents? Then 'make update-symbols', else take VORMEL_EXPORT off.
A name that is gone or has other parameters breaks agents: 'make update-symbols', and say so in CHANGELOG.md.
END
   exit 1
fi
