#include "tool/cli/Cli.h"

#include "tool/cli/Options.h"
#include "tool/cli/Subcommand.h"
#include "tool/words/Words.h"

#include <algorithm>
#include <ostream>
#include <string_view>
#include <vector>

namespace Strata::Tool {

Subcommand::~Subcommand() = default;

namespace {

constexpr const char* version = "strata-l3 " STRATA_VERSION;

std::vector<std::unique_ptr<Subcommand>> allSubcommands()
{
   std::vector<std::unique_ptr<Subcommand>> all;
   all.push_back( runSubcommand() );
   all.push_back( shellSubcommand() );
   all.push_back( recordSubcommand() );
   all.push_back( replaySubcommand() );
   all.push_back( anonymiseSubcommand() );
   all.push_back( twinSubcommand() );
   all.push_back( diffSubcommand() );
   all.push_back( reportSubcommand() );
   all.push_back( profilesSubcommand() );
   all.push_back( attributesSubcommand() );
   all.push_back( operationsSubcommand() );
   all.push_back( commandsSubcommand() );
   all.push_back( messagesSubcommand() );
   all.push_back( completeSubcommand() );
   return all;
}

/// Whether the first word is a subcommand or an option; writes an error if it is not.
bool startsWell(
   int argc, const char* const* argv, const std::vector<CLI::App*>& declared, std::ostream& err )
{
   const std::string_view first = argc > 1 ? argv[ 1 ] : "-";
   std::vector<std::string> names;
   for( const CLI::App* const subcommand : declared )
      if( !subcommand->get_group().empty() || first == subcommand->get_name() )
         names.push_back( subcommand->get_name() );
   if( first.starts_with( '-' ) || std::ranges::find( names, first ) != names.end() )
      return true;
   const std::vector<std::string_view> views( names.begin(), names.end() );
   const std::string help = "; 'strata-l3 --help' explains them";
   err << "strata-l3: there is no subcommand '" << first << "'"
       << ( first == "help" ? help
                            : didYouMean( first, views, "; there are " + joined( views ) + help ) )
       << std::endl;
   return false;
}

} // namespace

int runCommandLine( int argc, const char* const* argv, Terminal& terminal )
{
   CLI::App app( "The layer-3 slice of a switch agent, on a simulated switch.", "strata-l3" );
   app.set_version_flag( "--version", version );
   app.require_subcommand( 1 );
   const auto subcommands = allSubcommands();
   std::vector<CLI::App*> declared;
   for( const auto& subcommand : subcommands )
      declared.push_back( subcommand->declare( app ) );
   checkFlags( app );
   if( !startsWell( argc, argv, declared, terminal.err ) )
      return static_cast<int>( ExitStatus::error );
   try {
      app.parse( argc, argv );
   } catch( const CLI::ParseError& error ) {
      if( error.get_exit_code() != 0 ) {
         terminal.err << refusalText( error, app ) << std::endl;
         return static_cast<int>( ExitStatus::error );
      }
      app.exit( error, terminal.out, terminal.err ); // help or version
      return static_cast<int>( ExitStatus::held );
   }
   for( std::size_t i = 0; i < subcommands.size(); ++i )
      if( declared[ i ]->parsed() )
         return static_cast<int>( subcommands[ i ]->run( terminal ) );
   return static_cast<int>( ExitStatus::error );
}

} // namespace Strata::Tool
