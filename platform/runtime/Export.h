// The base of every header: the required language, the marks of exported names, and the settings that must be the
// same in the library and in including code.
#pragma once

// The missing file stops the compiler, so that this message is not followed by many other errors.
#if __cplusplus < 202002L
#error "strata-l3 needs C++20: compile with -std=c++20 or later"
#include <strata-l3 stops here>
#elif !defined( __cpp_rtti )
#error "strata-l3 needs run-time type information: compile without -fno-rtti"
#include <strata-l3 stops here>
#elif !defined( __cpp_exceptions )
#error "strata-l3 needs exceptions: compile without -fno-exceptions"
#include <strata-l3 stops here>
#endif

// The library is built with hidden visibility; names that an agent may use are marked.
#define VORMEL_EXPORT __attribute__( ( visibility( "default" ) ) )
/// For a member of an exported class that is called from within the library only.
#define VORMEL_HIDDEN __attribute__( ( visibility( "hidden" ) ) )

#ifndef VORMEL_ATOMIC_REFS
#define VORMEL_ATOMIC_REFS 1
#endif

#if VORMEL_CHECKING
#define VORMEL_LOCK_MARK lockChecks
#else
#define VORMEL_LOCK_MARK noLockChecks
#endif
#if VORMEL_ATOMIC_REFS
#define VORMEL_REFS_MARK atomicRefs
#else
#define VORMEL_REFS_MARK plainRefs
#endif

/// Inline functions depend on these settings. The library defines the symbols of its settings, and every source that
/// includes one of its headers refers to the symbols of its own settings: if they differ, a symbol is undefined.
namespace Vormel::BuiltWith {

extern VORMEL_EXPORT const char VORMEL_LOCK_MARK;
extern VORMEL_EXPORT const char VORMEL_REFS_MARK;

__attribute__( ( used ) )
VORMEL_HIDDEN inline const char* const wanted[] = { &VORMEL_LOCK_MARK, &VORMEL_REFS_MARK };

} // namespace Vormel::BuiltWith
