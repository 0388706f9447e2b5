# Every build checks, before it compiles anything, which room includes which.
if( NOT PROJECT_IS_TOP_LEVEL )
   return() # a project that adds this one does not change its sources
endif()
file( GLOB_RECURSE layeredFiles CONFIGURE_DEPENDS
   platform/*.h platform/*.cpp platform/*.def
   messages/*.h messages/*.cpp messages/*.def
   routing/*.h routing/*.cpp routing/*.def
   recording/*.h recording/*.cpp
   sim/*.h sim/*.cpp sim/*.def
   agent/*.h agent/*.cpp
   cover/*.h cover/*.cpp desk/*.h desk/*.cpp report/*.h report/*.cpp
   tool/*.h tool/*.cpp tool/*.def
   conformance/*.h conformance/*.cpp conformance/*.def
   tests/*.h tests/*.cpp fuzz/*.h fuzz/*.cpp bench/*.h bench/*.cpp examples/*.h examples/*.cpp )
set( layeringStamp ${PROJECT_BINARY_DIR}/layering.stamp )
add_custom_command(
   OUTPUT ${layeringStamp}
   COMMAND sh ci/layering.sh
   COMMAND ${CMAKE_COMMAND} -E touch ${layeringStamp}
   DEPENDS ${layeredFiles} ${PROJECT_SOURCE_DIR}/ci/layering.sh
   WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
   COMMENT "Checking which room includes which"
   VERBATIM )
add_custom_target( check-layering ALL DEPENDS ${layeringStamp} )
add_test( NAME layering COMMAND sh ci/layering.sh WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} )
