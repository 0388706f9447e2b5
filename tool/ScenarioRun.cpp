#include "tool/ScenarioRun.h"

#include "platform/runtime/Activity.h"
#include "tool/DeathWatch.h"
#include "tool/RunListener.h"
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

/// Behind a switch that is refused in a check, only the names of commands are checked, until the next switch.
void runOne( Session& session, const Line& line )
{
   if( line.words.empty() || !session.passesRefused() )
      return session.run( line );
   const bool makesSwitch = line.words.front().text == "switch";
   if( session.hasLostSwitch() && !makesSwitch ) {
      Words words( line );
      takeCommand( words );
      return;
   }
   if( makesSwitch )
      session.hasLostSwitchIs( true ); // if it throws
   session.run( line );
   if( makesSwitch )
      session.hasLostSwitchIs( false );
}

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
         runOne( session, *line );
      } catch( const InputError& error ) {
         if( session.passesRefused() ) {
            session.refused( error );
            continue;
         }
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

/// `begins` sees the new session. Without a file, the run is that alone.
static ExitStatus runToEnd( const std::string& file, Console& console, SessionConfig config,
   const std::function<void( Session& )>& begins, const std::function<void( Session& )>& atEnd )
{
   return withSession( file, console, std::move( config ), [ & ]( Session& session ) {
      RunEnd end = RunEnd::complete;
      try {
         if( begins )
            begins( session );
         if( !file.empty() )
            runLines( file, session );
         session.tellIdleAcceptances();
         session.end();
         if( atEnd )
            atEnd( session );
      } catch( const InputError& error ) {
         console.error( error.what() );
         end = RunEnd::refused;
      }
      if( RunListener* const listener = console.listener(); listener && session.hasAgent() )
         listener->switchEnds( session );
      const RunCounts& counts = session.counts();
      console.summary( file, counts, end );
      console.checkWritten();
      return end == RunEnd::refused                       ? ExitStatus::error
             : counts.failures == 0 && counts.broken == 0 ? ExitStatus::held
                                                          : ExitStatus::failed;
   } );
}

ExitStatus runScenario( const std::string& file, Console& console, SessionConfig config,
   const std::function<void( Session& )>& atEnd )
{
   return runToEnd( file, console, std::move( config ), {}, atEnd );
}

ExitStatus runOnTwin(
   const Desk::RecordingFile& recording, const std::string& file, Console& console )
{
   return runToEnd(
      file, console, {}, [ & ]( Session& session ) { session.twinIs( recording ); }, {} );
}

ExitStatus checkScenario( const std::string& file, Console& console )
{
   return withSession( file, console, { .checking = true }, [ & ]( Session& session ) {
      runLines( file, session );
      session.tellIdleAcceptances();
      session.end();
      console.summary( file, session.counts(), RunEnd::checked );
      console.checkWritten();
      return session.counts().refused == 0 ? ExitStatus::held : ExitStatus::error;
   } );
}

} // namespace Strata::Tool
