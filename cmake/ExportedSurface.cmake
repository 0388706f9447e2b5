# The library exports only what VORMEL_EXPORT marks, which ci/symbols.txt lists.
if( NOT BUILD_SHARED_LIBS )
   return()
endif()
target_link_options( strata-l3 PRIVATE
   LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map )
set_property( TARGET strata-l3 APPEND PROPERTY LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/exports.map )

# Not tested with sanitizers, which export more symbols, or other compilers, which export other typeinfos.
if( NOT STRATA_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU" )
   add_test( NAME exported-surface
      COMMAND sh ${PROJECT_SOURCE_DIR}/ci/symbols.sh $<TARGET_FILE:strata-l3> )
endif()
