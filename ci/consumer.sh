#!/bin/sh
# consumer.sh [PRESET]
# Uses a preset that is built as an agent's developer would, outside of this tree: installs it, moves it, finds it with
# CMake and with pkg-config, and with each builds and runs the example agent and an examination of the simulated chip.
set -eu
cd "$(dirname "$0")/.."
root=$PWD
preset=${1:-release}
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
prefix=$dir/prefix

# An installation contains no path of the build, so it also works in another place.
cmake --install "build/$preset" --prefix "$dir/before" >"$dir/install.log"
if grep -rlF "$root" "$dir/before"; then
   echo "these installed files contain the path of the directory they were built in"
   exit 1
fi
mv "$dir/before" "$prefix"
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name strata-l3.pc)")
export PKG_CONFIG_PATH
"$prefix/bin/strata-l3" --version

# Every installed header compiles where an SDK's names are macros.
cp tests/conformance/MacroNames.h "$dir"
(cd "$prefix/include/strata-l3" && find . -name '*.h') | LC_ALL=C sort |
   sed '1i #include "MacroNames.h"
      s|^\./\(.*\)|#include "\1"|' >"$dir/headers.cpp"
# shellcheck disable=SC2046 # a list of words
g++ -std=c++20 -Wall -Wextra -Werror $(pkg-config --cflags strata-l3) -fsyntax-only "$dir/headers.cpp"

# A macro with which the headers cannot compile is reported in one sentence that names it.
for name in U32 IP4; do
   printf '#define %s clash\n#include "platform/sdk/SdkShimInterface.h"\n' $name |
      g++ -std=c++20 $(pkg-config --cflags strata-l3) -fsyntax-only -x c++ - 2>&1 | grep -q "strata-l3: .*$name.*#undef" || {
      echo "a macro named $name breaks the headers without a message that names it"
      exit 1
   }
done

# With settings that the headers cannot work with, compilation ends with one sentence.
for flag in -std=c++17 -fno-rtti -fno-exceptions; do
   # shellcheck disable=SC2046 # a list of words
   if g++ -std=c++20 $flag $(pkg-config --cflags strata-l3) -fsyntax-only "$dir/headers.cpp" 2>"$dir/error.txt"; then
      echo "$flag: the headers compile with it"
      exit 1
   fi
   if [ "$(grep -c 'error:' "$dir/error.txt")" -ne 2 ] || ! grep -q 'error: #error "strata-l3 needs ' "$dir/error.txt"; then
      cat "$dir/error.txt"
      exit 1
   fi
done

# Code whose settings differ from the library's does not link.
echo 'int main() {}' >"$dir/marks.cpp"
# shellcheck disable=SC2046 # lists of words
marks() {
   g++ -std=c++20 "$dir/marks.cpp" -include routing/RoutingStatusHelper.h $(pkg-config --cflags strata-l3) "$@" \
      $(pkg-config --libs strata-l3) -o "$dir/marks" 2>"$dir/error.txt"
}
marks || {
   cat "$dir/error.txt"
   exit 1
}
for setting in -DVORMEL_CHECKING=1:lockChecks '-UVORMEL_ATOMIC_REFS -DVORMEL_ATOMIC_REFS=0:plainRefs'; do
   # shellcheck disable=SC2086 # a list of words
   if marks ${setting%:*} || ! grep -q "Vormel::BuiltWith::${setting#*:}" "$dir/error.txt"; then
      cat "$dir/error.txt"
      echo "$setting: links to a library without it"
      exit 1
   fi
done

# The example agent, as it is installed. Its output must equal expected.txt, and its chip must conform.
run_agent() {
   "$1/agent" "$1/routing-plugin.so" >"$1/story.txt" || {
      cat "$1/story.txt"
      return 1
   }
   diff -u "$dir/agent/expected.txt" "$1/story.txt"
   "$1/bring-up"
   "$1/examine"
   # It serves its metrics until it is killed.
   "$1/bring-up" --metrics "$1/socket" &
   agent=$! served=yes
   curl --silent --show-error --fail --retry 5 --retry-all-errors --retry-delay 1 --unix-socket "$1/socket" \
      http://agent/metrics >"$1/metrics.txt" || served=no
   kill $agent
   [ $served = yes ] && [ "$(tail -n 1 "$1/metrics.txt")" = '# EOF' ] || {
      echo "$1: bring-up does not serve its metrics"
      return 1
   }
}
cp -r "$prefix/share/doc/strata-l3/examples/agent" "$dir/agent"
cmake -S "$dir/agent" -B "$dir/agent/cmake" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_COMPILE_WARNING_AS_ERROR=ON \
   -DCMAKE_CXX_FLAGS='-Wall -Wextra -Wpedantic' >"$dir/cmake.log"
cmake --build "$dir/agent/cmake" --parallel "$(nproc)"
run_agent "$dir/agent/cmake"
make -C "$dir/agent" -j "$(nproc)" CXXFLAGS='-O1 -Wall -Wextra -Werror'
run_agent "$dir/agent"

# The simulated chip, and the conformance kit that examines it.
mkdir -p "$dir/sim"
cat >"$dir/sim/main.cpp" <<'CPP'
#include "conformance/Port.h"
#include "sim/switch/SimSwitch.h"
#include <iostream>
int main()
{
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   Strata::Sim::SimSwitch chip( Strata::Sim::SimSwitchConfig{} );
   Strata::Conformance::Port port;
   port.scsd = chip.scsd();
   port.ranges = Strata::Conformance::rangesOf( chip.tcamManager(), chip.tcamGroupManager() );
   port.tcamGroupManager = chip.tcamGroupManager();
   port.provoke = false;
   const Strata::Conformance::Report report = Strata::Conformance::examine( port );
   std::cout << chip.profile().name << '\n' << report.text();
   return report.conforms() ? 0 : 1;
}
CPP
cat >"$dir/sim/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required( VERSION 3.25 )
project( user LANGUAGES CXX )
find_package( strata-l3 0.1 REQUIRED COMPONENTS conformance sim )
add_executable( user main.cpp )
target_link_libraries( user PRIVATE strata-l3::conformance strata-l3::sim )
CMAKE
cmake -S "$dir/sim" -B "$dir/sim/cmake" -DCMAKE_PREFIX_PATH="$prefix" >"$dir/cmake.log"
cmake --build "$dir/sim/cmake"
"$dir/sim/cmake/user"
# shellcheck disable=SC2046 # lists of words
g++ -std=c++20 "$dir/sim/main.cpp" -o "$dir/sim/user" $(pkg-config --cflags --libs strata-l3-conformance strata-l3-sim)
LD_LIBRARY_PATH=$(pkg-config --variable=libdir strata-l3) "$dir/sim/user"
