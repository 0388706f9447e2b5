# An agent gets the library and the headers that it may include, and finds both with
#    find_package( strata-l3 )  ->  strata-l3::strata-l3
include( CMakePackageConfigHelpers )
include( GNUInstallDirs )

set( headerDir ${CMAKE_INSTALL_INCLUDEDIR}/strata-l3 )
set( packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/strata-l3 )

# Headers with an SDK's own names cannot stand beside that SDK's, so they stay here.
install( DIRECTORY platform messages routing
   DESTINATION ${headerDir}
   FILES_MATCHING
   PATTERN "*.h"
   PATTERN "*.def"
   PATTERN "platform/sdk/SdkNames.h" EXCLUDE
   PATTERN "routing/tcam" EXCLUDE )
install( TARGETS strata-l3
   EXPORT strata-l3
   LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} )
install( EXPORT strata-l3
   FILE strata-l3Config.cmake
   NAMESPACE strata-l3::
   DESTINATION ${packageDir} )
write_basic_package_version_file( strata-l3ConfigVersion.cmake COMPATIBILITY SameMinorVersion )
install( FILES ${CMAKE_CURRENT_BINARY_DIR}/strata-l3ConfigVersion.cmake DESTINATION ${packageDir} )
