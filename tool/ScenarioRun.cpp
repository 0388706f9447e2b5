#include "tool/ScenarioRun.h"

#include "platform/runtime/Activity.h"
#include "tool/DeathWatch.h"
#include "tool/ScenarioFile.h"
#include "tool/words/Command.h"

#include <optional>
#include <utility>

namespace Strata::Tool {

namespace {

void sayWhenItWaits( ScenarioFile& lines, const std::string& file, Console& console )
{
   lines.whenItWaits( [ & ] { console.error( "waiting for the scenario from '" + file + "'" ); } );
}

/// Runs the lines of a check. Behind a switch that is refused there is nothing to run lines on: only the names of their
/// commands are checked.
class Check
{
 public:
   explicit Check( Session& session ) : session_( session ) {}

   /// InputError if the line cannot be run.
   void run( const Line& line )
   {
      if( line.words.empty() )
         return;
      const bool makesSwitch = line.words.front().text == "switch";
      if( blind_ && !makesSwitch ) {
         Words words( line );
         takeCommand( words );
         return;
      }
      blind_ = makesSwitch; // if it throws
      session_.run( line );
      blind_ = false;
   }

 private:
   Session& session_;
   bool blind_ = false;
};

} // namespace

void runLines(
   const std::string& file, Session& session, const std::shared_ptr<const Inclusion>& inclusion )
{
   ScenarioFile lines( file, inclusion );
   sayWhenItWaits( lines, file, session.console() );
   for( ;; ) {
      std::optional<Line> line;
      try {
         line = lines.next();
         if( !line )
            return;
         session.run( *line );
      } catch( const InputError& error ) {
         // Without a switch, the remaining lines cannot be run.
         if( line && session.foreign() && line->words.front().text != "switch" ) {
            session.passedOver( *line, error.problem() );
            continue;
         }
         if( !inclusion ) // else the line that includes the file is reported
            session.console().refused( error );
         throw;
      }
   }
}

/// Returns how many lines cannot be run.
static U32 checkLines( const std::string& file, Session& session )
{
   ScenarioFile lines( file );
   sayWhenItWaits( lines, file, session.console() );
   Check check( session );
   U32 refused = 0;
   for( ;; )
      try {
         const std::optional<Line> line = lines.next();
         if( !line )
            return refused;
         check.run( *line );
      } catch( const InputError& error ) {
         ++refused;
         session.console().refused( error );
         session.console().error( error.what() );
      }
}

/// The work of a run. Holds the activity lock meanwhile.
template<class Work>
static ExitStatus withSession(
   const std::string& file, Console& console, SessionConfig config, Work work )
{
   try {
      const Vormel::LockAnchor lock( Vormel::activityLock() );
      Session session( console, std::move( config ) );
      const DeathWatch watch( session );
      return work( session );
   } catch( const ScenarioFileError& error ) {
      console.refused( file, error.what() );
      console.error( error.what() );
   } catch( const std::exception& error ) {
      console.error( error.what() );
   }
   return ExitStatus::error;
}

ExitStatus runScenario( const std::string& file, Console& console, SessionConfig config )
{
   return withSession( file, console, std::move( config ), [ & ]( Session& session ) {
      RunEnd end = RunEnd::complete;
      try {
         runLines( file, session );
         session.end();
      } catch( const InputError& error ) {
         console.error( error.what() );
         end = RunEnd::refused;
      }
      const RunCounts& counts = session.counts();
      console.summary( file, counts, end );
      console.checkWritten();
      return end == RunEnd::refused                       ? ExitStatus::error
             : counts.failures == 0 && counts.broken == 0 ? ExitStatus::held
                                                          : ExitStatus::failed;
   } );
}

ExitStatus checkScenario( const std::string& file, Console& console )
{
   return withSession( file, console, { .checking = true }, [ & ]( Session& session ) {
      const U32 refused = checkLines( file, session );
      session.end();
      RunCounts counts = session.counts();
      counts.refused = refused;
      console.summary( file, counts, RunEnd::checked );
      console.checkWritten();
      return refused == 0 ? ExitStatus::held : ExitStatus::error;
   } );
}

} // namespace Strata::Tool
