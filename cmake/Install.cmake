# What an agent's developers get: the library with the headers that it may include, the conformance kit,
# the simulated chip, the command. Found by
#    find_package( strata-l3 [COMPONENTS sim] )  ->  strata-l3::strata-l3, ::conformance, ::sim
#    pkg-config strata-l3, strata-l3-conformance, strata-l3-sim
include( CMakePackageConfigHelpers )

set( headerDir ${CMAKE_INSTALL_INCLUDEDIR}/strata-l3 )
set( packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/strata-l3 )
set( pkgConfigDir ${CMAKE_INSTALL_LIBDIR}/pkgconfig )

# --- The library -----------------------------------------------------------------------------------

install( TARGETS strata-l3
   EXPORT strata-l3
   LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
      COMPONENT runtime
      NAMELINK_COMPONENT dev )
# Headers with an SDK's own names cannot stand beside that SDK's, so they stay here; so does what is not exported.
install( DIRECTORY platform messages routing conformance sim
   DESTINATION ${headerDir}
   COMPONENT dev
   FILES_MATCHING
   PATTERN "*.h"
   PATTERN "*.def"
   PATTERN "platform/sdk/SdkNames.h" EXCLUDE
   PATTERN "messages/Traces.h" EXCLUDE
   PATTERN "platform/runtime/Registries.h" EXCLUDE
   PATTERN "routing/NestedReactors.h" EXCLUDE
   PATTERN "conformance/sim" EXCLUDE
   PATTERN "routing/tcam" EXCLUDE )

# --- The conformance kit ---------------------------------------------------------------------------

install( TARGETS strata-l3-conformance
   EXPORT strata-l3
   ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev )
install( TARGETS strata-l3-conformance-program
   RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT dev )
install( FILES docs/strata-l3-conformance.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT dev )

# --- The simulated chip ----------------------------------------------------------------------------

install( TARGETS strata-l3-sim
   EXPORT strata-l3-sim
   ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev )

# --- The command -----------------------------------------------------------------------------------

install( TARGETS strata-l3-tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime )
install( FILES docs/strata-l3.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime )
install( FILES tool/cli/completion.bash
   DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
   RENAME strata-l3
   COMPONENT runtime )
install( FILES README.md CHANGELOG.md cmake/copyright
   DESTINATION ${CMAKE_INSTALL_DOCDIR}
   COMPONENT runtime )
install( DIRECTORY docs
   DESTINATION ${CMAKE_INSTALL_DOCDIR}
   COMPONENT runtime
   FILES_MATCHING PATTERN "*.md" )
install( DIRECTORY scenarios
   DESTINATION ${CMAKE_INSTALL_DOCDIR}
   COMPONENT runtime
   FILES_MATCHING
   PATTERN "*.scenario"
   PATTERN "golden" EXCLUDE )
install( DIRECTORY examples
   DESTINATION ${CMAKE_INSTALL_DOCDIR}
   COMPONENT dev
   FILES_MATCHING
   PATTERN "*.cpp"
   PATTERN "*.h"
   PATTERN "CMakeLists.txt"
   PATTERN "Makefile"
   PATTERN "expected.txt"
   PATTERN "build" EXCLUDE )

# --- How to find them ------------------------------------------------------------------------------

install( EXPORT strata-l3
   FILE strata-l3Targets.cmake
   NAMESPACE strata-l3::
   DESTINATION ${packageDir}
   COMPONENT dev )
install( EXPORT strata-l3-sim
   FILE strata-l3SimTargets.cmake
   NAMESPACE strata-l3::
   DESTINATION ${packageDir}
   COMPONENT dev )
configure_package_config_file( cmake/strata-l3Config.cmake.in strata-l3Config.cmake
   INSTALL_DESTINATION ${packageDir}
   NO_SET_AND_CHECK_MACRO )
write_basic_package_version_file( strata-l3ConfigVersion.cmake COMPATIBILITY SameMinorVersion )
install(
   FILES
      ${CMAKE_CURRENT_BINARY_DIR}/strata-l3Config.cmake
      ${CMAKE_CURRENT_BINARY_DIR}/strata-l3ConfigVersion.cmake
   DESTINATION ${packageDir}
   COMPONENT dev )

file( RELATIVE_PATH prefixFromPkgConfig /prefix/${pkgConfigDir} /prefix )
string( REGEX REPLACE "/$" "" prefixFromPkgConfig ${prefixFromPkgConfig} )
set( pkgConfigDefinitions "" )
foreach( definition IN LISTS headerDefinitions )
   string( APPEND pkgConfigDefinitions " -D${definition}" )
endforeach()
foreach( name strata-l3 strata-l3-conformance strata-l3-sim )
   configure_file( cmake/${name}.pc.in ${name}.pc @ONLY )
   install( FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc DESTINATION ${pkgConfigDir} COMPONENT dev )
endforeach()
