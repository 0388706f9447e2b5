# A room is a top-level folder. Its sources are found, so that adding a file needs no edit here.

# room_sources( <variable> <room>... )
function( room_sources variable )
   set( patterns "" )
   foreach( room IN LISTS ARGN )
      list( APPEND patterns ${CMAKE_SOURCE_DIR}/${room}/*.cpp )
   endforeach()
   file( GLOB_RECURSE sources CONFIGURE_DEPENDS ${patterns} )
   set( ${variable} ${sources} PARENT_SCOPE )
endfunction()

# room_target( <target> ): what the targets of all rooms have in common.
function( room_target target )
   add_dependencies( ${target} check-layering )
endfunction()
