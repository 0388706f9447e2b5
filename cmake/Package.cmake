# `make package` makes one Debian package of each component.
set( CPACK_GENERATOR DEB )
set( CPACK_PACKAGE_CONTACT "The developers of strata-l3 <strata-l3@localhost>" )
set( CPACK_PACKAGING_INSTALL_PREFIX /usr )
set( CPACK_STRIP_FILES ON )
set( CPACK_DEB_COMPONENT_INSTALL ON )
set( CPACK_COMPONENTS_ALL library dev )
if( STRATA_COMMAND )
   list( APPEND CPACK_COMPONENTS_ALL command )
endif()
if( STRATA_CONFORMANCE )
   list( APPEND CPACK_COMPONENTS_ALL kit )
endif()
set( CPACK_DEBIAN_FILE_NAME DEB-DEFAULT )

# An agent's package depends on the minor version of the library that it was built with, at the same patch or later.
set( libraryPackage libstrata-l3-${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR} )
math( EXPR nextMinor "${PROJECT_VERSION_MINOR} + 1" )
file( CONFIGURE OUTPUT shlibs
   CONTENT "libstrata-l3 ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR} ${libraryPackage} (>= ${PROJECT_VERSION}), ${libraryPackage} (<< ${PROJECT_VERSION_MAJOR}.${nextMinor})\n" )

set( CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${libraryPackage} )
set( CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs )
set( CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON )
set( CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/shlibs )
set( CPACK_COMPONENT_LIBRARY_DESCRIPTION "The shared library that a switch agent loads." )

set( CPACK_DEBIAN_COMMAND_PACKAGE_NAME strata-l3 )
set( CPACK_DEBIAN_COMMAND_PACKAGE_SECTION net )
set( CPACK_DEBIAN_COMMAND_PACKAGE_SHLIBDEPS ON )
set( CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY} )
set( CPACK_DEBIAN_COMMAND_PACKAGE_DEPENDS "${libraryPackage} (= ${PROJECT_VERSION})" )
set( CPACK_COMPONENT_COMMAND_DESCRIPTION "The command that drives the library on a simulated switch." )

set( CPACK_DEBIAN_DEV_PACKAGE_NAME libstrata-l3-dev )
set( CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel )
set( CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${libraryPackage} (= ${PROJECT_VERSION})" )
set( CPACK_COMPONENT_DEV_DESCRIPTION "What an agent is built with: headers, files for CMake and pkg-config." )

set( CPACK_DEBIAN_KIT_PACKAGE_NAME strata-l3-kit )
set( CPACK_DEBIAN_KIT_PACKAGE_SECTION libdevel )
set( CPACK_DEBIAN_KIT_PACKAGE_SHLIBDEPS ON )
set( CPACK_DEBIAN_KIT_PACKAGE_DEPENDS
   "libstrata-l3-dev (= ${PROJECT_VERSION}), ${libraryPackage} (= ${PROJECT_VERSION})" )
set( CPACK_COMPONENT_KIT_DESCRIPTION "What an agent is tested with: the conformance kit and the simulated chip." )

include( CPack )
