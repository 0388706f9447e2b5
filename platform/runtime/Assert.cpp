#include "platform/runtime/Assert.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace Vormel {

static std::atomic<AssertionHook> currentHook{ nullptr };

AssertionHook assertionHookIs( AssertionHook hook )
{
   return currentHook.exchange( hook );
}

void assertionFailed( const char* file, int line, const char* signature, const char* text )
{
   const AssertionFailure failure{ file, line, signatureText( signature ), text };
   const std::string report = std::string( file ) + ":" + std::to_string( line ) + ": " +
                              failure.signature + ": Assertion '" + text + "' failed.\n";
   std::fwrite( report.data(), 1, report.size(), stderr );
   std::fflush( stderr );
   if( const AssertionHook hook = currentHook.load() )
      hook( failure );
   std::abort();
}

std::string signatureText( const char* prettyFunction )
{
   std::string text;
   for( const char* c = prettyFunction; *c; ++c ) {
      const bool declarator = *c == '&' || *c == '*';
      if( declarator && !text.empty() && text.back() == ' ' )
         text.pop_back();
      text += *c;
   }
   // Some compilers leave out a namespace that encloses the function as well, some do not.
   const std::string_view enclosing = "Strata::";
   for( auto at = text.find( enclosing, text.find( '(' ) ); at != std::string::npos;
        at = text.find( enclosing, at ) )
      text.erase( at, enclosing.size() );
   return text;
}

} // namespace Vormel
