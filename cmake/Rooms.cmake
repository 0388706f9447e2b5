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
