#include "tool/ScenarioRun.h"

#include "platform/runtime/Activity.h"
#include "platform/runtime/Assert.h"
#include "tool/Session.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <unistd.h>

namespace Strata::Tool {

namespace {

Session* runningSession = nullptr;

/// The last words; the process ends by the signal handler after them.
void reportDeath( const Vormel::AssertionFailure& failure )
{
   if( !runningSession || !runningSession->running() )
      return;
   runningSession->console().died( *runningSession->running(),
      "Assertion '" + std::string( failure.text ) + "' failed in " + failure.signature );
}

/// An abort, by whomever: an assertion, a broken convention, an exception that nobody caught.
void endDead( int )
{
   if( runningSession && runningSession->running() ) {
      const Line& line = *runningSession->running();
      runningSession->console().error( line.file + ":" + std::to_string( line.number ) +
                                       ": the agent died here, and nothing expected it to" );
   }
   ::_exit( static_cast<int>( ExitStatus::died ) );
}

/// Watches over a session for as long as it lives.
class DeathWatch
{
 public:
   explicit DeathWatch( Session& session )
      : hookBefore_( Vormel::assertionHookIs( reportDeath ) ),
        handlerBefore_( std::signal( SIGABRT, endDead ) )
   {
      runningSession = &session;
   }
   ~DeathWatch()
   {
      runningSession = nullptr;
      std::signal( SIGABRT, handlerBefore_ );
      Vormel::assertionHookIs( hookBefore_ );
   }
   DeathWatch( const DeathWatch& ) = delete;
   DeathWatch& operator=( const DeathWatch& ) = delete;

 private:
   Vormel::AssertionHook hookBefore_;
   void ( *handlerBefore_ )( int );
};

std::vector<Line> readLines( const std::string& file )
{
   std::ifstream stream( file );
   if( !stream )
      throw std::runtime_error(
         "cannot read the scenario '" + file + "': " + std::strerror( errno ) );
   std::vector<Line> lines;
   for( std::string text; std::getline( stream, text ); )
      lines.push_back( splitLine( file, static_cast<U32>( lines.size() + 1 ), text ) );
   return lines;
}

} // namespace

ExitStatus runScenario( const std::string& file, Console& console )
{
   try {
      const std::vector<Line> lines = readLines( file );
      const Vormel::LockAnchor lock( Vormel::activityLock() );
      Session session( console );
      const DeathWatch watch( session );
      for( const Line& line : lines )
         session.run( line );
      console.summary( file, session.expectations(), session.failures() );
      return session.failures() == 0 ? ExitStatus::held : ExitStatus::failed;
   } catch( const std::exception& error ) {
      console.error( error.what() );
      return ExitStatus::error;
   }
}

} // namespace Strata::Tool
