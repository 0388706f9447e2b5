# Two Debian packages: strata-l3 to run agents and the command, strata-l3-dev to build agents.
set( CPACK_GENERATOR DEB )
set( CPACK_PACKAGE_CONTACT "The developers of strata-l3 <strata-l3@localhost>" )
set( CPACK_PACKAGING_INSTALL_PREFIX /usr )
set( CPACK_STRIP_FILES ON )
set( CPACK_DEB_COMPONENT_INSTALL ON )
set( CPACK_COMPONENTS_ALL runtime dev )
set( CPACK_DEBIAN_FILE_NAME DEB-DEFAULT )

set( CPACK_DEBIAN_RUNTIME_PACKAGE_NAME strata-l3 )
set( CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION net )
set( CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON )
set( CPACK_COMPONENT_RUNTIME_DESCRIPTION "The shared library, and the command that drives it on a simulated switch." )

# So that an agent's own package learns by itself that it needs this one.
set( CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON )

set( CPACK_DEBIAN_DEV_PACKAGE_NAME strata-l3-dev )
set( CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel )
set( CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "strata-l3 (= ${PROJECT_VERSION})" )
set( CPACK_DEBIAN_DEV_PACKAGE_RECOMMENDS "libtins-dev" ) # to link the simulated chip
set( CPACK_COMPONENT_DEV_DESCRIPTION "What an agent is built with: headers, the simulated chip, files for CMake and pkg-config." )

include( CPack )
