#include "routing/tcam/CheckedCall.h"

#include "platform/runtime/Assert.h"

#include <sstream>

namespace Strata {

[[noreturn]] static void fatalCode( int rc, const CallSite& site )
{
   std::ostringstream line;
   line << site.file << ':' << site.line << ' ';
   if( site.signature )
      line << Vormel::signatureText( site.signature ) << ' ';
   line << site.text << " API ERROR:" << SdkShim->errorText( rc ) << " (" << rc << ')';
   Vormel::fatalLine( line.str() );
   VORMEL_TRACE_AS( apiTrace, 4, site.function, line.str() );
   SdkShim->errorHook();
   VORMEL_ASSERT( 0 );
   std::abort(); // the agent also ends when an assertion hook returns
}

void callOutcome( int rc, const CallSite& site )
{
   if( rc < 0 && rc != SdkShim->featureNotAvailableCode() )
      fatalCode( rc, site );
   VORMEL_TRACE_AS( apiTrace, 4, site.function,
      site.file << ':' << site.line << ' ' << site.text << " (rc:" << rc << ')' );
}

} // namespace Strata
