#!/bin/sh
# package.sh [--try]
# Makes the Debian packages of the preset "package", which is built. With --try, also installs them on this machine, uses them,
# removes them, and checks that no file is left.
set -eu
cd "$(dirname "$0")/.."
root=$PWD
build=build/package
try=${1:-}
out=$root/$build/packages
# Packages that depend on others come first: this is the order of removal.
packages='strata-l3-kit-dbgsym strata-l3-dbgsym libstrata-l3-0.1-dbgsym strata-l3-kit libstrata-l3-dev strata-l3 libstrata-l3-0.1'

sh ci/api.sh package
python3 ci/sbom.py "$build"
rm -rf "$out"
SOURCE_DATE_EPOCH=$(cat "$build/package-time")
export SOURCE_DATE_EPOCH
cpack --config "$build/CPackConfig.cmake" -B "$out" >"$build/cpack.log" 2>&1 || {
   cat "$build/cpack.log"
   exit 1
}
rm -rf "$out/_CPack_Packages"
# CPack writes the path of the build directory into the checksums of debug information, and a suffix of its own.
for package in "$out"/*.ddeb; do
   dpkg-deb --raw-extract "$package" "$out/debug"
   sed -i 's|  /.*/usr/|  usr/|' "$out/debug/DEBIAN/md5sums"
   dpkg-deb --root-owner-group --build "$out/debug" "${package%.ddeb}.deb" >/dev/null
   rm -r "$out/debug" "$package"
done
for package in "$out"/*.deb; do
   echo "${package#"$root/"}"
   dpkg-deb --field "$package" Depends | sed 's/^/   needs: /'
   if dpkg-deb --fsys-tarfile "$package" | grep -aqF "$root"; then
      echo "$package: contains the path of the directory it was built in"
      exit 1
   fi
done
# Packages of debug information have no documents, as those of Debian.
find "$out" -name '*.deb' ! -name '*-dbgsym_*' -exec \
   lintian --allow-root --fail-on error,warning --suppress-tags-from-file ci/lintian.tags {} +
[ "$try" = --try ] || exit 0

for package in $packages; do
   if dpkg-query -W "$package" >/dev/null 2>&1; then
      echo "package.sh: $package is installed on this machine, and trying would remove it" >&2
      exit 1
   fi
done
as_root=
[ "$(id -u)" = 0 ] || as_root='sudo -n'
# shellcheck disable=SC2086 # lists of words, here and below
remove() {
   $as_root dpkg --purge $packages
}
trap 'remove >/dev/null 2>&1' EXIT
$as_root dpkg --install "$out"/*.deb
dpkg --listfiles $packages >"$build/package-files"
for file in bash-completion/completions/strata-l3 zsh/vendor-completions/_strata-l3 \
   fish/vendor_completions.d/strata-l3.fish; do
   grep -qx "/usr/share/$file" "$build/package-files" || {
      echo "package.sh: no package has /usr/share/$file" >&2
      exit 1
   }
done

mkdir -p "$out/elsewhere"
(
   cd "$out/elsewhere"
   strata-l3 --version
   strata-l3 run "$root/scenarios/two-units.scenario" --quiet >scenario.log || {
      cat scenario.log
      exit 1
   }
   pkg-config --modversion strata-l3
)
sh ci/manual.sh "$(command -v strata-l3)"

remove
trap - EXIT
left=0
while read -r file; do
   # Other packages may own the same directories, except those with the package's name.
   case $file in
   */strata-l3 | */strata-l3-kit | */libstrata-l3-*) ;;
   *) [ -d "$file" ] && continue ;;
   esac
   if [ -e "$file" ] || [ -L "$file" ]; then
      echo "$file: left after the removal"
      left=1
   fi
done <"$build/package-files"
exit $left
