#!/bin/sh
# Builds the packages of the library a second time, from a copy of the sources in another directory, and fails unless
# they are those of the preset "package", bit by bit. These must be built. With --all, all packages.
set -eu
cd "$(dirname "$0")/.."
packages=$PWD/build/package/packages
parts='-DSTRATA_SIMULATOR=OFF -DSTRATA_CONFORMANCE=OFF'
[ "${1:-}" = --all ] && parts=
SOURCE_DATE_EPOCH=$(cat build/package/package-time)
export SOURCE_DATE_EPOCH

copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT
tar -c --exclude=./build --exclude=./.git . | tar -x -C "$copy"
cd "$copy"
# shellcheck disable=SC2086 # a list of words
cmake --preset package $parts >/dev/null
sh ci/build.sh package
sh ci/package.sh
differ=0
for package in build/package/packages/*.deb; do
   cmp "$package" "$packages/${package##*/}" || differ=1
done
exit $differ
