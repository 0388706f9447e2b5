# `make package` makes one Debian package of each component. The preset installs below /usr, so that the library is in
# the directory where Debian looks for those of an architecture.
set( libraryPackage libstrata-l3-${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR} )
set( maintainer "The developers of strata-l3 <strata-l3@localhost.localdomain>" )

set( CPACK_GENERATOR DEB )
set( CPACK_PACKAGE_CONTACT "${maintainer}" )
set( CPACK_PACKAGING_INSTALL_PREFIX /usr )
set( CPACK_DEB_COMPONENT_INSTALL ON )
set( CPACK_DEBIAN_FILE_NAME DEB-DEFAULT )
set( CPACK_PACKAGE_DESCRIPTION_SUMMARY "layer-3 slice of a switch hardware agent" )
# Strips the binaries, and packs what is stripped as packages of their own.
set( CPACK_DEBIAN_DEBUGINFO_PACKAGE ON )
set( CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON )
# The command is linked to the library of this build, which no package of the machine provides.
set( CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY} )
set( CPACK_COMPONENTS_ALL "" )

# debian_package( <component> <package> <section> DEPENDS <packages> TEXT <text> )
macro( debian_package component package section )
   cmake_parse_arguments( deb "" "DEPENDS;TEXT" "" ${ARGN} )
   list( APPEND CPACK_COMPONENTS_ALL ${component} )
   string( TOUPPER ${component} deb_component )
   set( CPACK_DEBIAN_${deb_component}_PACKAGE_NAME ${package} )
   set( CPACK_DEBIAN_${deb_component}_PACKAGE_SECTION ${section} )
   set( CPACK_DEBIAN_${deb_component}_PACKAGE_DEPENDS "${deb_DEPENDS}" )
   set( CPACK_DEBIAN_${deb_component}_DESCRIPTION "${deb_TEXT}" )
   # Optional is the bill of materials, which ci/sbom.py makes. An installation without packages has none of these.
   install( FILES
         ${PROJECT_SOURCE_DIR}/cmake/copyright
         ${PROJECT_BINARY_DIR}/changelog.gz
         ${PROJECT_BINARY_DIR}/sbom/${component}.spdx.json
      DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package}
      COMPONENT ${component}
      OPTIONAL EXCLUDE_FROM_ALL )
endmacro()

# --- What every package holds ----------------------------------------------------------------------

# The time of the commit, not of the build: who builds the commit again gets the same packages.
set( packageTime $ENV{SOURCE_DATE_EPOCH} )
if( NOT packageTime )
   execute_process( COMMAND git log -1 --format=%ct
      WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
      OUTPUT_VARIABLE packageTime OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET )
endif()
if( NOT packageTime ) # not a clone
   file( TIMESTAMP ${PROJECT_SOURCE_DIR}/CHANGELOG.md packageTime "%s" UTC )
endif()
set( ENV{SOURCE_DATE_EPOCH} ${packageTime} )
string( TIMESTAMP packageDate "%a, %d %b %Y %H:%M:%S +0000" UTC )
file( WRITE ${PROJECT_BINARY_DIR}/changelog "strata-l3 (${PROJECT_VERSION}) unstable; urgency=medium

  * What changed is in CHANGELOG.md of the package strata-l3.

 -- ${maintainer}  ${packageDate}
" )
execute_process( COMMAND gzip -9nf ${PROJECT_BINARY_DIR}/changelog COMMAND_ERROR_IS_FATAL ANY )
file( WRITE ${PROJECT_BINARY_DIR}/package-time ${packageTime} )

# --- The packages ----------------------------------------------------------------------------------

# An agent's package needs this minor version of the library, at least as new as what it was built with.
math( EXPR nextMinor "${PROJECT_VERSION_MINOR} + 1" )
file( WRITE ${PROJECT_BINARY_DIR}/shlibs
   "libstrata-l3 ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR} ${libraryPackage} (>= ${PROJECT_VERSION}), ${libraryPackage} (<< ${PROJECT_VERSION_MAJOR}.${nextMinor})\n" )
file( WRITE ${PROJECT_BINARY_DIR}/triggers "activate-noawait ldconfig\n" )
debian_package( library ${libraryPackage} libs
   TEXT "The shared library that a switch agent loads. It keeps the routing state of
Ethernet switch chips in line with the switch's configuration and status." )
set( CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON )
set( CPACK_DEBIAN_LIBRARY_PACKAGE_MULTIARCH same )
set( CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA
   ${PROJECT_BINARY_DIR}/shlibs ${PROJECT_BINARY_DIR}/triggers )

debian_package( dev libstrata-l3-dev libdevel
   DEPENDS "${libraryPackage} (= ${PROJECT_VERSION})"
   TEXT "What an agent is built with: headers, files for CMake and pkg-config, examples." )

if( STRATA_CONFORMANCE AND STRATA_SIMULATOR )
   debian_package( kit strata-l3-kit libdevel
      DEPENDS "libstrata-l3-dev (= ${PROJECT_VERSION})"
      TEXT "What an agent is tested with: the kit examines an agent's port of the platform
interfaces, and the simulated chip stands in for a real one." )
   set( CPACK_DEBIAN_KIT_PACKAGE_SHLIBDEPS ON )
endif()

if( STRATA_COMMAND )
   debian_package( command strata-l3 net
      DEPENDS "${libraryPackage} (= ${PROJECT_VERSION})"
      TEXT "The command runs scenarios of a switch on a simulated chip, shows every call
and table entry, and explains what becomes of packets and why." )
   set( CPACK_DEBIAN_COMMAND_PACKAGE_SHLIBDEPS ON )
endif()

include( CPack )
