#include "platform/runtime/Assert.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <utility>

namespace Vormel {

static std::atomic<AssertionHook> currentHook{ nullptr };

namespace {

struct FatalReports
{
   std::mutex mutex;
   FatalSink sink;
};

FatalReports& fatalReports()
{
   static FatalReports reports;
   return reports;
}

} // namespace

FatalSink fatalSinkIs( FatalSink sink )
{
   const std::lock_guard guard( fatalReports().mutex );
   return std::exchange( fatalReports().sink, std::move( sink ) );
}

void fatalLine( std::string_view line ) noexcept
{
   try {
      const std::string report = std::string( line ) + '\n';
      std::fwrite( report.data(), 1, report.size(), stderr );
      std::fflush( stderr );
      std::unique_lock guard( fatalReports().mutex );
      const FatalSink sink = fatalReports().sink;
      guard.unlock();
      if( sink )
         sink( line );
   } catch( const std::exception& error ) {
      std::fprintf( stderr, "the fatal sink failed: %s\n", error.what() );
   } catch( ... ) {
      std::fprintf( stderr, "the fatal sink failed\n" );
   }
}

AssertionHook assertionHookIs( AssertionHook hook )
{
   return currentHook.exchange( hook );
}

void assertionFailed( const char* file, int line, const char* signature, const char* text )
{
   const AssertionFailure failure{ file, line, signatureText( signature ), text };
   fatalLine( std::string( file ) + ":" + std::to_string( line ) + ": " + failure.signature +
              ": Assertion '" + text + "' failed." );
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
   // Compilers differ in whether they write the namespace that encloses the function.
   const std::string_view enclosing = "Strata::";
   for( auto at = text.find( enclosing, text.find( '(' ) ); at != std::string::npos;
        at = text.find( enclosing, at ) )
      text.erase( at, enclosing.size() );
   return text;
}

} // namespace Vormel
