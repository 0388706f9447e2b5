#include "tool/ScenarioRun.h"

#include "platform/runtime/Activity.h"
#include "tool/DeathWatch.h"
#include "tool/Session.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace Strata::Tool {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

std::vector<Line> readLines(
   const std::string& file, const std::shared_ptr<const Inclusion>& inclusion )
{
   const std::string refusal = "cannot read the scenario '" + file + "': ";
   if( std::filesystem::is_directory( file ) )
      throw std::runtime_error( refusal + "it is a directory" );
   std::ifstream stream( file );
   if( !stream )
      throw std::runtime_error( refusal + std::strerror( errno ) );
   std::vector<Line> lines;
   for( std::string text; std::getline( stream, text ); ) {
      if( lines.empty() && text.starts_with( byteOrderMark ) )
         text.erase( 0, byteOrderMark.size() );
      lines.push_back( splitLine( file, static_cast<U32>( lines.size() + 1 ), text, inclusion ) );
   }
   if( stream.bad() )
      throw std::runtime_error( refusal + std::strerror( errno ) );
   return lines;
}

} // namespace

void runLines(
   const std::string& file, Session& session, const std::shared_ptr<const Inclusion>& inclusion )
{
   for( const Line& line : readLines( file, inclusion ) )
      try {
         session.run( line );
      } catch( const InputError& error ) {
         // Without a switch, the remaining lines cannot be run.
         if( session.foreign() && line.words.front().text != "switch" ) {
            session.passedOver( line, error.problem() );
            continue;
         }
         if( !inclusion ) // else the line that includes the file is reported
            session.console().refused( error.what() );
         throw;
      }
}

ExitStatus runScenario( const std::string& file, Console& console, const std::string& profile )
{
   try {
      const Vormel::LockAnchor lock( Vormel::activityLock() );
      Session session( console, profile );
      const DeathWatch watch( session );
      bool refused = false;
      try {
         runLines( file, session );
         session.end();
      } catch( const InputError& error ) {
         console.error( error.what() );
         refused = true;
      }
      const RunCounts& counts = session.counts();
      console.summary( file, counts, refused ? RunEnd::refused : RunEnd::complete );
      console.checkWritten();
      return refused                                      ? ExitStatus::error
             : counts.failures == 0 && counts.broken == 0 ? ExitStatus::held
                                                          : ExitStatus::failed;
   } catch( const std::exception& error ) {
      console.error( error.what() );
      return ExitStatus::error;
   }
}

} // namespace Strata::Tool
