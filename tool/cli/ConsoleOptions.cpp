#include "tool/cli/ConsoleOptions.h"

#include "platform/runtime/Trace.h"
#include "tool/ScenarioFile.h"

#include <set>
#include <sstream>
#include <stdexcept>

namespace Strata::Tool {

TraceLevels::TraceLevels()
{
   for( Vormel::TraceHandle* const handle : Vormel::traceHandles() )
      before_.emplace_back( handle, handle->levels() );
}

TraceLevels::~TraceLevels()
{
   for( const auto& [ handle, levels ] : before_ )
      handle->levelsIs( levels );
}

void ConsoleOptions::declare( CLI::App& subcommand )
{
   subcommand.add_flag( "--json", config_.json, "Write everything as JSON lines" );
   subcommand.add_option( "--transcript", config_.transcriptFile,
      "Also write everything to this file, as text, or as JSON lines with --json" );
   subcommand.add_flag( "--no-transcript", forgets_,
      "Keep no records in memory; what looks at records since the last mark is refused" );
   subcommand.add_option( "--trace", traces_, "Set trace levels, as in ApiStrata=4" )
      ->type_name( "HANDLE=LEVEL" )
      ->allow_extra_args( false );
   subcommand.add_flag( "--quiet", config_.quiet,
      "Show only the output of show and explain, and failed expectations" );
   subcommand.add_flag(
      "--brief", config_.brief, "Fold sequences of calls that differ in numbers only" );
   subcommand.add_option( "--color", colour_, "When to use colours: auto, always or never" )
      ->check( CLI::IsMember( { "auto", "always", "never" } ) );
}

ConsoleConfig ConsoleOptions::config( const Terminal& terminal, const std::string& scenario ) const
{
   if( readsFile( scenario, config_.transcriptFile ) )
      throw std::runtime_error( "the transcript would overwrite the scenario '" +
                                config_.transcriptFile + "'; give it another name" );
   ConsoleConfig config = config_;
   config.colour = colour_ == "always" || ( colour_ == "auto" && terminal.showsColours );
   config.screen = terminal.screen;
   config.errorsBeside = terminal.errorsBeside;
   return config;
}

void ConsoleOptions::setTraceLevels() const
{
   std::set<std::string> handles;
   for( const std::string& trace : traces_ ) {
      std::istringstream settings( trace );
      for( std::string setting; std::getline( settings, setting, ',' ); ) {
         const std::string handle = setting.substr( 0, setting.find( '=' ) );
         if( !handles.insert( handle ).second )
            throw std::runtime_error(
               "the level of '" + handle + "' is given twice; leave one out" );
      }
      Vormel::traceLevelsIs( trace );
   }
}

} // namespace Strata::Tool
