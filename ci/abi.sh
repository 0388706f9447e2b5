#!/bin/sh
# abi.sh [--update]
# Compares the binary interface of the library (layouts, virtual functions, exported names) with that of the version that
# CMakeLists.txt names, and fails unless every agent built with that version runs with this library. Templates are in
# agents and not in the library: what they need of it, and their default arguments, are compared in the names of an object
# of ci/abi/consumer.cpp. With --update it writes both down: once, when a version is released.
set -eu
cd "$(dirname "$0")/.."
update=${1:-}
build=build/abi

sh ci/build.sh abi
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=\(.*\)\..*/\1/p' $build/CMakeCache.txt)
baseline=ci/abi/$version.xml.xz
names=ci/abi/$version.names
cmake --install $build --prefix $build/installed >/dev/null
abidw --headers-dir $build/installed/include --drop-private-types --drop-undefined-syms --no-corpus-path \
   --no-comp-dir-path --no-show-locs --no-parameter-names --out-file $build/now.xml $build/lib/libstrata-l3.so

# Without optimisation, which would leave names out. U: needed of the library; W: a mutator that the agent's entities have.
PKG_CONFIG_PATH=$(dirname "$(find $build/installed -name strata-l3.pc)")
export PKG_CONFIG_PATH
# shellcheck disable=SC2046 # a list of words
c++ -std=c++20 -O0 $(pkg-config --cflags strata-l3) -c ci/abi/consumer.cpp -o $build/consumer.o
nm --demangle $build/consumer.o | sed -nE 's/^[0-9a-f ]*([UW]) /\1 /p' | sed -E -e 's/\[abi:cxx11\]//g' \
   -e 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> ?>/std::string/g' |
   grep -E '^(U .*(Vormel|Strata)::|W .* Vormel::Entity::[a-z][A-Za-z]*<)' | LC_ALL=C sort -u >$build/names
defaulted=$(find $build/installed -name '*.h' -exec awk '
   was { sub( /\(.*/, "" ); print $NF }
   { was = /template<.*=/ }' {} +)
for name in $defaulted; do
   grep -q "$name<" $build/names || {
      echo "ci/abi.sh: the template $name has a default argument, and ci/abi/consumer.cpp does not use it" >&2
      exit 1
   }
done

if [ "$update" = --update ]; then
   cp $build/names "$names"
   xz -9e --stdout $build/now.xml >"$baseline"
   exit 0
fi
xz --decompress --stdout "$baseline" >$build/baseline.xml
# The status is not zero for every change that is shown; what may change in a patch is suppressed.
if ! abidiff --no-added-syms --suppressions ci/abi/patch.suppr $build/baseline.xml $build/now.xml; then
   cat >&2 <<END
An agent that was built with an earlier $version cannot run with this library (see Releases in CONTRIBUTING.md).
END
   exit 1
fi
if ! diff -u --label "$names" --label now "$names" $build/names; then
   cat >&2 <<END
Agents need other names than with $version (- written down, + now), or a default argument of a template in an installed
header has changed (see Releases in CONTRIBUTING.md).
END
   exit 1
fi
