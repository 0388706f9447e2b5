#!/bin/sh
# abi.sh [--update]
# Compares the binary interface of the library (layouts, virtual functions, exported names) with that of the version that
# CMakeLists.txt names, and fails unless every agent built with that version runs with this library. With --update it
# writes the interface down: once, when a version is released.
set -eu
cd "$(dirname "$0")/.."
update=${1:-}
build=build/abi

sh ci/build.sh abi
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=\(.*\)\..*/\1/p' $build/CMakeCache.txt)
baseline=ci/abi/$version.xml.xz
cmake --install $build --prefix $build/installed >/dev/null
abidw --headers-dir $build/installed/include --drop-private-types --drop-undefined-syms --no-corpus-path \
   --no-comp-dir-path --no-show-locs --no-parameter-names --out-file $build/now.xml $build/lib/libstrata-l3.so

if [ "$update" = --update ]; then
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
