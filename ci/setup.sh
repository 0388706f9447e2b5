#!/bin/sh
# setup.sh library|build|test|bench|instructions|mutants|fuzz|coverage|package|browser|ci
# Installs those Debian packages of a group that are missing, if it has the permission, or else prints the command.
# Prints nothing if no package is missing.
set -u
group=${1:-build}

# Each line: a package, and the command or header whose presence shows that it need not be installed.
library='
g++ g++
make make
cmake cmake
ninja-build ninja
'
build='
libcli11-dev /usr/include/CLI/CLI.hpp
nlohmann-json3-dev /usr/include/nlohmann/json.hpp
libedit-dev /usr/include/histedit.h
libtins-dev /usr/include/tins/tins.h
libpcap-dev /usr/include/pcap/pcap.h
libgtest-dev /usr/include/gtest/gtest.h
libgmock-dev /usr/include/gmock/gmock.h
'
test='
libz3-dev /usr/include/z3++.h
'
bench='
libbenchmark-dev /usr/include/benchmark/benchmark.h
libabsl-dev /usr/include/absl/container/flat_hash_map.h
valgrind valgrind
'
mutants='
python3 python3
'
fuzz='
clang-16 clang++-16
libclang-rt-16-dev /usr/lib/llvm-16/lib/clang/16/lib/linux
python3 python3
'
coverage='
gcovr gcovr
'
package='
dpkg-dev dpkg-shlibdeps
doxygen doxygen
lintian lintian
'
browser='
chromium chromium
chromium-driver chromedriver
python3-selenium /usr/lib/python3/dist-packages/selenium
'
ci='
git git
curl curl
clang-format clang-format
clang-tidy-19 clang-tidy-19
binutils strings
util-linux setarch
g++-aarch64-linux-gnu aarch64-linux-gnu-g++
pkg-config pkg-config
man-db man
abigail-tools abidw
xz-utils xz
tshark tshark
zsh zsh
fish fish
python3-scapy /usr/lib/python3/dist-packages/scapy
'

case $group in
library) wanted=$library ;;
build) wanted=$library$build ;;
test) wanted=$library$build$test ;;
bench) wanted=$library$build$test$bench ;;
instructions) wanted=$library$build$test$bench$mutants ;;
mutants) wanted=$library$build$test$mutants ;;
fuzz) wanted=$library$build$test$fuzz ;;
coverage) wanted=$library$build$test$mutants$coverage ;;
package) wanted=$library$build$test$mutants$package ;;
browser) wanted=$library$build$test$mutants$browser ;;
ci) wanted=$library$build$test$bench$mutants$fuzz$package$ci ;;
*)
   echo "setup.sh: unknown group '$group'; one of library, build, test, bench, instructions, mutants, fuzz, coverage, package, browser, ci" >&2
   exit 2
   ;;
esac

missing() {
   echo "$wanted" | while read -r package probe; do
      case $probe in
      '') ;;
      /*) [ -e "$probe" ] || echo "$package" ;;
      *) command -v "$probe" >/dev/null || echo "$package" ;;
      esac
   done | tr '\n' ' '
}

packages=$(missing)
[ -n "$packages" ] || exit 0

install="apt-get install -y --no-install-recommends $packages"
if ! command -v apt-get >/dev/null; then
   echo "Packages are missing, and apt-get was not found. Their names on Debian are: $packages" >&2
   exit 1
elif [ "$(id -u)" = 0 ]; then
   as_root='env'
elif command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
   as_root='sudo -n env'
else
   echo "Packages are missing. Run this, then try again:" >&2
   echo "   sudo apt-get update && sudo $install" >&2
   exit 1
fi

echo "Installing: $packages"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
# shellcheck disable=SC2086 # both are lists of words
if ! { $as_root DEBIAN_FRONTEND=noninteractive apt-get update -q &&
   $as_root DEBIAN_FRONTEND=noninteractive $install; } >"$log" 2>&1 </dev/null; then
   cat "$log" >&2
   echo "setup.sh: could not install $packages" >&2
   exit 1
fi

packages=$(missing)
[ -z "$packages" ] && exit 0
echo "setup.sh: installed, but still not found: $packages" >&2
exit 1
