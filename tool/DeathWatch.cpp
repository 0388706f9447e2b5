#include "tool/DeathWatch.h"

#include "tool/ScenarioRun.h"
#include "tool/Session.h"

#include <csignal>
#include <unistd.h>

namespace Strata::Tool {

namespace {

Session* watchedSession = nullptr;
bool deathReported = false;

/// Reports the last lines; afterwards the signal handler ends the process.
void reportDeath( const Vormel::AssertionFailure& failure )
{
   if( !watchedSession || !watchedSession->running() )
      return;
   const std::string call = watchedSession->lastCall();
   const std::string claim = watchedSession->firstRefusedClaim();
   std::string context = call.empty() ? "" : "the last call was " + call;
   if( !claim.empty() )
      context += ( context.empty() ? "" : "; " ) + ( "the first refused claim: " + claim );
   watchedSession->console().died( *watchedSession->running(),
      "Assertion '" + std::string( failure.text ) + "' failed in " + failure.signature, context );
   deathReported = true;
}

/// The scenario that was to be run.
std::string outermostFile( const Line& line )
{
   const Inclusion* at = line.inclusion.get();
   while( at && at->outer )
      at = at->outer.get();
   return at ? at->file : line.file;
}

/// Handles every abort: an assertion, a broken convention, an exception that was not caught.
void endDead( int )
{
   if( watchedSession && watchedSession->running() ) {
      const Line& line = *watchedSession->running();
      if( !deathReported ) {
         const std::string breach = watchedSession->lastBreach();
         watchedSession->console().died(
            line, breach.empty() ? "aborted, see standard error" : breach, {} );
      }
      if( !line.typed )
         watchedSession->console().summary(
            outermostFile( line ), watchedSession->counts(), RunEnd::died );
      watchedSession->console().diedError( line );
   }
   ::_exit( static_cast<int>( ExitStatus::died ) );
}

} // namespace

DeathWatch::DeathWatch( Session& session )
   : hookBefore_( Vormel::assertionHookIs( reportDeath ) ),
     handlerBefore_( std::signal( SIGABRT, endDead ) )
{
   watchedSession = &session;
   deathReported = false;
}

DeathWatch::~DeathWatch()
{
   watchedSession = nullptr;
   std::signal( SIGABRT, handlerBefore_ );
   Vormel::assertionHookIs( hookBefore_ );
}

} // namespace Strata::Tool
