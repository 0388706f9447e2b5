#!/bin/sh
# package.sh [PRESET]
# Builds the Debian packages of a preset that is built, installs them, uses them, removes them, and looks whether
# anything stays behind.
set -eu
cd "$(dirname "$0")/.."
build=build/${1:-release}
packages='strata-l3-dev strata-l3'
out=$PWD/$build/packages
files=$PWD/$build/package-files

# shellcheck disable=SC2086 # a list of words, here and below
if dpkg-query -W $packages >/dev/null 2>&1; then
   echo "package.sh: strata-l3 is installed on this machine; remove it first, this would" >&2
   exit 1
fi
as_root=
[ "$(id -u)" = 0 ] || as_root='sudo -n'

rm -rf "$out"
cpack --config "$build/CPackConfig.cmake" -B "$out" >"$build/cpack.log" 2>&1 || {
   cat "$build/cpack.log"
   exit 1
}
for package in "$out"/*.deb; do
   dpkg-deb --field "$package" Package Version Architecture Depends
   if dpkg-deb --fsys-tarfile "$package" | grep -aqF "$PWD"; then
      echo "$package: holds the path of the directory it was built in"
      exit 1
   fi
done

remove() {
   $as_root dpkg --purge $packages
}
trap 'remove >/dev/null 2>&1' EXIT
$as_root dpkg --install "$out"/*.deb
dpkg --listfiles $packages >"$files"

(
   mkdir -p "$out/elsewhere"
   cd "$out/elsewhere"
   strata-l3 --version
   strata-l3 run ../../../../scenarios/packets.scenario --quiet >/dev/null
   pkg-config --modversion strata-l3
)
sh ci/manual.sh /usr/bin/strata-l3

remove
trap - EXIT
left=0
while read -r file; do
   [ ! -f "$file" ] && [ ! -L "$file" ] && continue
   echo "$file: stayed behind"
   left=1
done <"$files"
ls -d /usr/include/strata-l3 /usr/lib/*/strata-l3 /usr/share/doc/strata-l3 2>/dev/null && left=1
exit $left
