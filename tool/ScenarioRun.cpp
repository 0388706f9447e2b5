#include "tool/ScenarioRun.h"

#include "platform/runtime/Activity.h"
#include "tool/DeathWatch.h"
#include "tool/Session.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace Strata::Tool {

namespace {

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

void runLines( const std::string& file, Session& session )
{
   for( const Line& line : readLines( file ) )
      session.run( line );
}

ExitStatus runScenario( const std::string& file, Console& console )
{
   try {
      const Vormel::LockAnchor lock( Vormel::activityLock() );
      Session session( console );
      const DeathWatch watch( session );
      runLines( file, session );
      console.summary( file, session.expectations(), session.failures() );
      return session.failures() == 0 ? ExitStatus::held : ExitStatus::failed;
   } catch( const std::exception& error ) {
      console.error( error.what() );
      return ExitStatus::error;
   }
}

} // namespace Strata::Tool
