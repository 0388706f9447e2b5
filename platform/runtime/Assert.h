// The fatal assertion. Its text is the checked expression itself; it is never compiled out.
#pragma once

#include "platform/runtime/Export.h"

#include <functional>
#include <string>
#include <string_view>

namespace Vormel {

struct AssertionFailure
{
   const char* file; // relative to the project root
   int line;
   std::string signature;
   std::string_view text; // the expression as written
};

/// Runs after the report and before the process aborts. A hook may throw or
/// leave the process; when it returns, the process aborts.
using AssertionHook = void ( * )( const AssertionFailure& );

/// Sets the hook and returns the previous one; null means none.
VORMEL_EXPORT AssertionHook assertionHookIs( AssertionHook hook );

/// Gets each line that says why the process ends, without its newline: assertions, and SDK calls that failed fatally.
using FatalSink = std::function<void( std::string_view line )>;

/// Sets the sink and returns the previous one; empty means none. Standard error always gets the lines, and before the
/// sink. An exception of the sink is reported there. Safe from any thread; a sink guards its own state.
VORMEL_EXPORT FatalSink fatalSinkIs( FatalSink sink );

/// Writes a line, given without a newline, to standard error and passes it to the sink.
VORMEL_EXPORT void fatalLine( std::string_view line ) noexcept;

/// Reports "FILE:LINE: SIGNATURE: Assertion 'TEXT' failed." by fatalLine() and ends the process.
[[noreturn]] VORMEL_EXPORT void assertionFailed(
   const char* file, int line, const char* signature, const char* text );

/// The compiler's pretty signature as messages print it, the same from every compiler: " &" becomes "&", and
/// parameters go without "Strata::".
VORMEL_EXPORT std::string signatureText( const char* prettyFunction );

} // namespace Vormel

// Stringified here and not in an inner macro, so that names that are macros elsewhere are not expanded.
#define VORMEL_ASSERT( ... ) \
   ( static_cast<bool>( __VA_ARGS__ ) \
         ? static_cast<void>( 0 ) \
         : ::Vormel::assertionFailed( __FILE__, __LINE__, __PRETTY_FUNCTION__, #__VA_ARGS__ ) )
