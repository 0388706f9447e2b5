// What becomes of packets while a command runs.
#include "cover/Solver.h"
#include "tool/Session.h"
#include "tool/packet/AcceptedTransients.h"
#include "tool/packet/EntryCover.h"
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
   if( !command.isEvent() ) {
      const std::string name = "'" + std::string( command.name ) + "'";
      words.failAt( *first, "packets are watched while one command changes the switch; " + name +
                               ( command.name == "switch"       ? " makes another one"
                                  : command.name == "no switch" ? " ends it"
                                  : command.shows() ? " only shows something; run it by itself"
                                  : command.name == "include"
                                     ? " is not such a command, but the lines of its file may be"
                                     : " is not such a command" ) );
   }
   return command;
}

/// The act of the command behind this one.
template<class Report>
Act watchedAct( const Session& session, Words& words, Report report )
{
   const Word* const first = words.peek();
   const Command& command = takeWatchedCommand( words );
   if( session.probes().empty() ) // else these are watched
      needSolver( words );
   const Line& line = words.line();
   const std::string text = commandText( line ).substr( first->column - line.words.front().column );
   return [ act = command.act( session, words ), text, report, &words ]( Session& live ) {
      if( !Cover::Solver::available() )
         live.console().error( "This build has no solver, so of all packets only the probes are "
                               "watched; Debian's libz3-dev has it." );
      report( live, runWatched( live, act, words, text ), text );
   };
}

std::string momentText( U64 record, const std::string& call )
{
   return call + " (record " + std::to_string( record ) + ")";
}

void showTransients(
   Session& session, const std::vector<Transient>& all, const std::string& /*command*/ )
{
   session.console().table(
      "Transients",
      [ & ] {
         Table table( { { "When" }, { "What becomes of the packet" } } );
         for( std::size_t at = 0; at < all.size(); ++at ) {
            const Transient& transient = all[ at ];
            const Transient* const last = at > 0 ? &all[ at - 1 ] : nullptr;
            const Transient* const next = at + 1 < all.size() ? &all[ at + 1 ] : nullptr;
            if( !last || last->commands != transient.commands ) {
               table.section( transient.title() );
               for( const std::string& command : transient.commands )
                  table.row(
                     { &command == &transient.commands.back() ? "packet" : "tables", command } );
               table.row( { "before", transient.before } );
            }
            table.row( { "from", momentText( transient.from, transient.call ) } );
            table.row( { "", transient.meanwhile } );
            const bool goesOn = next && next->commands == transient.commands;
            if( !goesOn || next->from != transient.to )
               table.row( { "until", momentText( transient.to, transient.endedBy ) } );
            if( goesOn )
               continue;
            table.row( { "after", transient.after } );
            if( transient.reason )
               table.row( { "accepted", *transient.reason } );
         }
         return table;
      },
      [ & ] {
         auto rows = ordered_json::array();
         for( const Transient& transient : all )
            rows.push_back( { { "packet", transient.packet },
               { "range",
                  transient.range.empty() ? ordered_json() : ordered_json( transient.range ) },
               { "unit",
                  transient.range.empty() ? ordered_json() : ordered_json( transient.unit ) },
               { "commands", transient.commands }, { "before", transient.before },
               { "from", transient.from }, { "call", transient.call },
               { "meanwhile", transient.meanwhile }, { "to", transient.to },
               { "endedBy", transient.endedBy }, { "after", transient.after },
               { "accepted",
                  transient.reason ? ordered_json( *transient.reason ) : ordered_json() } } );
         return rows;
      } );
}

void expectHitless(
   Session& session, const std::vector<Transient>& all, const std::string& command )
{
   std::string found;
   std::string advice;
   std::set<std::string> told;
   for( const Transient& transient : all ) {
      if( transient.reason || !told.insert( transient.title() ).second )
         continue;
      if( found.empty() )
         advice = AcceptedTransients::advice( transient, *session.running(), command );
      found += found.empty() ? transient.title() + ": " + transient.meanwhile + " from " +
                                  momentText( transient.from, transient.call )
                             : "; also " + transient.title();
   }
   session.expect( found.empty(), "no packet to fare otherwise than before or after",
      found + "; 'transient' instead of 'expect hitless' shows all; " + advice );
}

} // namespace

std::vector<Command> transientCommands()
{
   return {
      { "transient", "COMMAND...",
         "run the command, and show packets that meanwhile fared neither as before nor as after",
         []( const Session& session, Words& words ) {
            return watchedAct( session, words, showTransients );
         } },
      { "expect hitless", "COMMAND...",
         "run the command; no packet fares otherwise than before or after meanwhile",
         []( const Session& session, Words& words ) {
            return watchedAct( session, words, expectHitless );
         } },
   };
}

} // namespace Strata::Tool
