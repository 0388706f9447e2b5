# Each scenario is a test: its transcript must equal the golden one. The target `update-golden` rewrites the golden ones.
file( GLOB scenarios CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/scenarios/*.scenario )
set( compare sh ${PROJECT_SOURCE_DIR}/cmake/compare-scenario.sh )
foreach( scenario IN LISTS scenarios )
   get_filename_component( name ${scenario} NAME_WE )
   set( output ${PROJECT_BINARY_DIR}/transcripts/${name}.txt )
   add_test( NAME scenario.${name}
      COMMAND ${compare} check $<TARGET_FILE:strata-l3-tool> ${name} ${output}
      WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} )
   set_tests_properties( scenario.${name} PROPERTIES TIMEOUT 180 )
endforeach()
add_custom_target( update-golden
   COMMAND ${compare} update-all $<TARGET_FILE:strata-l3-tool> ${PROJECT_BINARY_DIR}/transcripts
   DEPENDS strata-l3-tool
   WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
   VERBATIM )
