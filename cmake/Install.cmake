# What is installed, by component:
#    library   the shared library that an agent loads
#    command   the command, its documents and scenarios
#    dev       what an agent is built with: headers, files for CMake and pkg-config, examples
#    kit       the conformance kit and the simulated chip, for an agent's tests
# An agent finds them by
#    find_package( strata-l3 [COMPONENTS conformance sim] )  ->  strata-l3::strata-l3, ::conformance, ::sim
#    pkg-config strata-l3, strata-l3-conformance, strata-l3-sim
include( CMakePackageConfigHelpers )

set( headerDir ${CMAKE_INSTALL_INCLUDEDIR}/strata-l3 )
set( packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/strata-l3 )
set( pkgConfigDir ${CMAKE_INSTALL_LIBDIR}/pkgconfig )
file( RELATIVE_PATH prefixFromPkgConfig /prefix/${pkgConfigDir} /prefix )
string( REGEX REPLACE "/$" "" prefixFromPkgConfig ${prefixFromPkgConfig} )

# install_findable( <name> <component> ): the files by which CMake and pkg-config find an exported target.
function( install_findable name component )
   install( EXPORT ${name}
      FILE ${name}Targets.cmake
      NAMESPACE strata-l3::
      DESTINATION ${packageDir}
      COMPONENT ${component} )
   configure_file( cmake/${name}.pc.in ${name}.pc @ONLY )
   install( FILES ${PROJECT_BINARY_DIR}/${name}.pc
      DESTINATION ${pkgConfigDir}
      COMPONENT ${component} )
endfunction()

# install_headers( <component> <room>... )
function( install_headers component )
   install( DIRECTORY ${ARGN}
      DESTINATION ${headerDir}
      COMPONENT ${component}
      FILES_MATCHING
      PATTERN "*.h"
      PATTERN "*.def"
      # SdkNames.h declares an SDK's own names, so it cannot be included beside that SDK's headers; the
      # others declare what is not exported.
      PATTERN "platform/sdk/SdkNames.h" EXCLUDE
      PATTERN "messages/Traces.h" EXCLUDE
      PATTERN "platform/runtime/Registries.h" EXCLUDE
      PATTERN "routing/reactors/NestedReactors.h" EXCLUDE
      PATTERN "routing/tcam" EXCLUDE
      PATTERN "recording/ChipCalls.h" EXCLUDE
      PATTERN "recording/Journal.h" EXCLUDE
      PATTERN "recording/JsonObject.h" EXCLUDE
      PATTERN "recording/RecordingShim.h" EXCLUDE
      PATTERN "recording/SdkDictionary.h" EXCLUDE
      PATTERN "recording/SdkText.h" EXCLUDE
      PATTERN "sim/switch/Values.h" EXCLUDE
      PATTERN "conformance/sim" EXCLUDE )
endfunction()

# install_manual( <component> <page> )
function( install_manual component page )
   get_filename_component( name ${page} NAME )
   set( compressed ${PROJECT_BINARY_DIR}/${name}.gz )
   set_property( DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${page} )
   execute_process( COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/${page}
      OUTPUT_FILE ${compressed} COMMAND_ERROR_IS_FATAL ANY )
   install( FILES ${compressed}
      DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
      COMPONENT ${component} )
endfunction()

# --- The library -----------------------------------------------------------------------------------

set( archiveComponent library )
if( BUILD_SHARED_LIBS )
   set( archiveComponent dev )
endif()
install( TARGETS strata-l3
   EXPORT strata-l3
   ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${archiveComponent}
   LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT dev )
set( pkgConfigDefinitions "" )
foreach( definition IN LISTS headerDefinitions )
   string( APPEND pkgConfigDefinitions " -D${definition}" )
endforeach()
install_headers( dev platform messages routing recording )
install_findable( strata-l3 dev )
configure_package_config_file( cmake/strata-l3Config.cmake.in strata-l3Config.cmake
   INSTALL_DESTINATION ${packageDir}
   NO_SET_AND_CHECK_MACRO )
write_basic_package_version_file( strata-l3ConfigVersion.cmake COMPATIBILITY SameMinorVersion )
install(
   FILES
      ${PROJECT_BINARY_DIR}/strata-l3Config.cmake
      ${PROJECT_BINARY_DIR}/strata-l3ConfigVersion.cmake
   DESTINATION ${packageDir}
   COMPONENT dev )
# If ci/api.sh has made them.
install( DIRECTORY ${PROJECT_BINARY_DIR}/api/html/
   DESTINATION ${CMAKE_INSTALL_DOCDIR}/api
   COMPONENT dev
   OPTIONAL )
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

# --- The conformance kit and the simulated chip ----------------------------------------------------

foreach( room conformance sim )
   if( TARGET strata-l3-${room} )
      install( TARGETS strata-l3-${room}
         EXPORT strata-l3-${room}
         ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT kit )
      install_headers( kit ${room} )
      install_findable( strata-l3-${room} kit )
   endif()
endforeach()
if( TARGET strata-l3-conformance-program )
   install( TARGETS strata-l3-conformance-program
      RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT kit )
   install_manual( kit docs/strata-l3-conformance.1 )
endif()

# --- The command -----------------------------------------------------------------------------------

if( STRATA_COMMAND )
   install( TARGETS strata-l3-tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT command )
   install_manual( command docs/strata-l3.1 )
   install( FILES tool/cli/completion.bash
      DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
      RENAME strata-l3
      COMPONENT command )
   # The places of Debian, which both shells look at.
   install( FILES tool/cli/completion.zsh
      DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions
      RENAME _strata-l3
      COMPONENT command )
   install( FILES tool/cli/completion.fish
      DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d
      RENAME strata-l3.fish
      COMPONENT command )
   install( FILES README.md ARCHITECTURE.md CONTRIBUTING.md SECURITY.md CHANGELOG.md
      DESTINATION ${CMAKE_INSTALL_DOCDIR}
      COMPONENT command )
   install( DIRECTORY docs
      DESTINATION ${CMAKE_INSTALL_DOCDIR}
      COMPONENT command
      FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" )
   install( DIRECTORY scenarios
      DESTINATION ${CMAKE_INSTALL_DOCDIR}
      COMPONENT command
      FILES_MATCHING
      PATTERN "*.scenario"
      PATTERN "*.recording"
      PATTERN "golden" EXCLUDE )
endif()
