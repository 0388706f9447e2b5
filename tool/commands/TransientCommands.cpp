// What becomes of packets while a command runs.
#include "tool/Session.h"
#include "tool/packet/Transients.h"
#include "tool/view/Table.h"
#include "tool/words/Command.h"

#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

namespace Strata::Tool {

namespace {

using nlohmann::ordered_json;

const Command& takeWatchedCommand( Words& words )
{
   if( words.done() )
      words.failAtEnd( "expected a command, as in 'set pbr.pbrEnabled true'" );
   const Word* const first = words.peek();
   const Command& command = takeCommand( words );
   const bool only =
      command.shows() || command.name.starts_with( "expect " ) || command.name == "transient";
   if( only || !command.needsSwitch || command.name == "switch" || command.name == "no switch" )
      words.failAt( *first, "packets are watched while a switch changes; '" +
                               std::string( command.name ) + "' does not change one" );
   return command;
}

/// The act of the command behind this one.
template<class Report>
Act watched( const Session& session, Words& words, Report report )
{
   const Command& command = takeWatchedCommand( words );
   return [ act = command.act( session, words ), report, &words ](
             Session& live ) { report( live, runWatched( live, act, words ), words ); };
}

std::string momentText( U64 record, const std::string& call )
{
   return call + " (record " + std::to_string( record ) + ")";
}

void showTransients( Session& session, const std::vector<Transient>& all, const Words& )
{
   session.console().table(
      "Transients",
      [ & ] {
         Table table( { { "When" }, { "What becomes of the packet" } } );
         for( const Transient& transient : all ) {
            table.section( transient.packet );
            for( const std::string& command : transient.commands )
               table.row( { "packet", command } );
            table.row( { "before", transient.before } );
            table.row( { "from", momentText( transient.from, transient.call ) } );
            table.row( { "", transient.meanwhile } );
            table.row( { "until", momentText( transient.to, transient.endedBy ) } );
            table.row( { "after", transient.after } );
         }
         return table;
      },
      [ & ] {
         auto rows = ordered_json::array();
         for( const Transient& transient : all )
            rows.push_back( { { "packet", transient.packet }, { "commands", transient.commands },
               { "before", transient.before }, { "from", transient.from },
               { "call", transient.call }, { "meanwhile", transient.meanwhile },
               { "to", transient.to }, { "endedBy", transient.endedBy },
               { "after", transient.after } } );
         return rows;
      } );
}

void expectHitless( Session& session, const std::vector<Transient>& all, const Words& words )
{
   const std::set<std::string> accepted = acceptedTransients( words.line().file,
      commandText( words.line() ).substr( std::string( "expect hitless " ).size() ) );
   std::string found;
   for( const Transient& transient : all )
      if( !accepted.contains( transient.packet ) && !accepted.contains( "*" ) )
         found += ( found.empty() ? "" : "; " ) + ( "'" + transient.packet + "' " ) +
                  transient.meanwhile + " from " + momentText( transient.from, transient.call );
   session.expect( found.empty(), "no packet to fare otherwise than before or after",
      found + "; 'transient' shows all" );
}

} // namespace

std::vector<Command> transientCommands()
{
   return {
      { "transient", "COMMAND...",
         "run the command, and show packets that meanwhile fared neither as before nor as after",
         []( const Session& session, Words& words ) {
            return watched( session, words, showTransients );
         } },
      { "expect hitless", "COMMAND...",
         "run the command; no packet fares otherwise than before or after meanwhile",
         []( const Session& session, Words& words ) {
            return watched( session, words, expectHitless );
         } },
   };
}

} // namespace Strata::Tool
