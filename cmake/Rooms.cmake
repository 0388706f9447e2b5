# A room is a top-level directory. Its sources are searched for, so a new file needs no edit here.

# room_sources( <variable> <room>... )
function( room_sources variable )
   set( patterns "" )
   foreach( room IN LISTS ARGN )
      list( APPEND patterns ${PROJECT_SOURCE_DIR}/${room}/*.cpp )
   endforeach()
   file( GLOB_RECURSE sources CONFIGURE_DEPENDS ${patterns} )
   set( ${variable} ${sources} PARENT_SCOPE )
endfunction()

# room_target( <target> ): sets what the targets of all rooms have in common.
function( room_target target )
   if( TARGET check-layering )
      add_dependencies( ${target} check-layering )
   endif()
endfunction()

# precompile_headers( <target> [header]... ): with STRATA_PRECOMPILE, these headers and those that nearly all
# sources include are compiled once for the target. A release build does not precompile, so a missing include is an
# error there.
function( precompile_headers target )
   if( STRATA_PRECOMPILE )
      target_precompile_headers( ${target} PRIVATE ${ARGN} platform/runtime/Attributes.h
         <algorithm> <array> <charconv> <functional> <map> <memory> <optional> <set> <span>
         <sstream> <string> <string_view> <unordered_map> <utility> <vector> )
   endif()
endfunction()
