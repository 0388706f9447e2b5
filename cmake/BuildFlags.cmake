# Compiler and linker flags that every target of this project is built with.
include( CheckCXXCompilerFlag )
include( CheckPIESupported )

if( PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE )
   set( CMAKE_BUILD_TYPE Debug )
endif()
set( CMAKE_CXX_VISIBILITY_PRESET hidden )
set( CMAKE_VISIBILITY_INLINES_HIDDEN ON )
set( CMAKE_POSITION_INDEPENDENT_CODE ON )
check_pie_supported()

# Only the presets make warnings errors (CMAKE_COMPILE_WARNING_AS_ERROR), so that a new compiler's warnings do not stop
# a user's build.
add_compile_options( -Wall -Wextra -Wpedantic -Wconversion -Wshadow )
if( CMAKE_CXX_COMPILER_ID STREQUAL "GNU" )
   # GCC 12 warns of overlapping copies within std::string's operator+ when it is inlined.
   add_compile_options( -Wno-restrict )
endif()

# File names in messages are relative to the project root, and binaries do not contain the build path. Where both
# options match, the later one applies: names in a build directory inside the tree are relative to that directory.
add_compile_options(
   -ffile-prefix-map=${PROJECT_BINARY_DIR}=.
   -ffile-prefix-map=${PROJECT_SOURCE_DIR}/= )

# The library's functions are not meant to be replaced at load time, so calls within the library may be direct.
add_compile_options( -fno-semantic-interposition )
add_link_options( $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY>:-Wl,-Bsymbolic-functions> )

add_compile_options( -fstack-protector-strong )
foreach( flag -fstack-clash-protection -fcf-protection )
   string( MAKE_C_IDENTIFIER "HAVE${flag}" have )
   check_cxx_compiler_flag( ${flag} ${have} )
   if( ${have} )
      add_compile_options( ${flag} )
   endif()
endforeach()
add_link_options( -Wl,-z,relro,-z,now )

if( STRATA_SANITIZE )
   add_compile_options( -fsanitize=${STRATA_SANITIZE} -fno-sanitize-recover=all
      -fno-omit-frame-pointer )
   add_link_options( -fsanitize=${STRATA_SANITIZE} )
   if( STRATA_FUZZ )
      add_compile_options( -fsanitize=fuzzer-no-link )
   endif()
   if( STRATA_SANITIZE MATCHES undefined )
      # Checks of every access to a member double the compile time: only the library has them (CMakeLists.txt).
      set( accessChecks alignment,null,object-size,vptr )
      add_compile_options( -fno-sanitize=${accessChecks} )
   endif()
   if( CMAKE_CXX_COMPILER_ID STREQUAL "GNU" )
      # With the sanitizers' extra branches GCC gives false warnings here; the other builds keep the warning.
      add_compile_options( -Wno-maybe-uninitialized )
   endif()
else()
   add_link_options( $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY>:-Wl,-z,defs> )
   # Fortification needs an optimised build: all configurations of the presets are.
   add_compile_options( -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 )
endif()
add_compile_definitions( $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS> )
