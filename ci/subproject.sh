#!/bin/sh
# subproject.sh
# Adds this project to another one with add_subdirectory(), as a static library, and cross-compiles both for aarch64.
set -eu
cd "$(dirname "$0")/.."
root=$PWD
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

cat >"$dir/CMakeLists.txt" <<CMAKE
cmake_minimum_required( VERSION 3.25 )
project( agent LANGUAGES CXX )
set( BUILD_SHARED_LIBS OFF )
add_subdirectory( $root strata-l3 )
add_executable( agent main.cpp )
target_link_libraries( agent PRIVATE strata-l3::strata-l3 )
foreach( target strata-l3-sim strata-l3-tool strata-l3-tests check-layering )
   if( TARGET \${target} )
      message( FATAL_ERROR "the parent project gets \${target}, which it did not ask for" )
   endif()
endforeach()
CMAKE
cat >"$dir/main.cpp" <<'CPP'
#include "routing/RoutingStatusHelper.h"
int main()
{
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   const auto helper = Vormel::make<Strata::RoutingStatusHelper>( "routing", nullptr, nullptr,
      nullptr, false, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr );
   return helper->routerMacIndex() == 0xFFFF ? 0 : 1;
}
CPP
cmake -S "$dir" -B "$dir/build" -G Ninja -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR=aarch64 \
   -DCMAKE_CXX_COMPILER=aarch64-linux-gnu-g++ -DCMAKE_COMPILE_WARNING_AS_ERROR=ON \
   -DCMAKE_UNITY_BUILD=ON >"$dir/cmake.log" || {
   cat "$dir/cmake.log"
   exit 1
}
cmake --build "$dir/build" -- --quiet
LC_ALL=C aarch64-linux-gnu-readelf --file-header "$dir/build/agent" | grep 'Machine:.*AArch64'
