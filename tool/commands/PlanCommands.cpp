// What a command would do.
#include "tool/Plan.h"

#include "platform/runtime/Format.h"
#include "tool/Session.h"
#include "tool/view/ChangesView.h"
#include "tool/words/ByUnit.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace Strata::Tool {

namespace {

using nlohmann::ordered_json;
using Vormel::format;

/// Of the ranges that the command uses; if some have no room for it, of these.
ByUnit<UnitRow> roomRows( const Plan& plan )
{
   ByUnit<UnitRow> rows;
   for( const Plan::Room& at : plan.rooms ) {
      const bool fits = at.needs <= at.left;
      if( fits && ( at.leftAfter == at.left || !plan.refusedClaim.empty() ) )
         continue;
      rows.add( at.unit,
         { { at.range,
              fits ? format( "%d of %d left", at.leftAfter, at.room )
                   : format( "does not fit: %s needs %d, has %d", at.range, at.needs, at.left ) },
            { { "range", at.range }, { "room", at.room }, { "left", at.left },
               { "needs", at.needs },
               { "leftAfter", fits ? ordered_json( at.leftAfter ) : ordered_json() } } } );
   }
   return rows;
}

/// Without the use of room, which is told apart.
Table plannedChanges( const Plan& plan )
{
   std::vector<Desk::Difference> changes = plan.changes;
   std::erase_if( changes, []( const Desk::Difference& change ) {
      return change.key.kind == Desk::PartKind::room && change.field == "used";
   } );
   return changesTable( changes );
}

Table planTable( const Plan& plan )
{
   Table table = plannedChanges( plan );
   if( !plan.end.empty() ) {
      table.section( "It does not get through" );
      table.row( { "", "", plan.end } );
      if( !plan.calls.empty() )
         table.row( { "", "", "after " + plan.calls.back() } );
   }
   if( !plan.refusedClaim.empty() )
      table.row( { "", "", "refused claim: " + plan.refusedClaim } );
   const ByUnit<UnitRow> rooms = roomRows( plan );
   if( !rooms.rows().empty() )
      table.section( "Room" );
   for( const auto& [ row, units ] : rooms.rows() )
      table.row( { row.cells[ 0 ], numberRanges( units ), row.cells[ 1 ] } );
   if( !plan.probes.empty() )
      table.section( "Probes" );
   for( const Plan::ProbeChange& change : plan.probes )
      table.row( { change.probe, "", change.before + "\n-> " + change.after } );
   return table;
}

ordered_json planJson( const std::string& command, const Plan& plan )
{
   ordered_json object{ { "command", command }, { "calls", plan.calls }, { "writes", plan.writes },
      { "redundant", plan.redundant },
      { "ends", plan.end.empty() ? ordered_json() : ordered_json( plan.end ) },
      { "refusedClaim",
         plan.refusedClaim.empty() ? ordered_json() : ordered_json( plan.refusedClaim ) },
      { "changes", plannedChanges( plan ).json() }, { "rooms", ordered_json::array() },
      { "probes", ordered_json::array() } };
   const ByUnit<UnitRow> rooms = roomRows( plan );
   for( const auto& [ row, units ] : rooms.rows() ) {
      object[ "rooms" ].push_back( row.object );
      object[ "rooms" ].back()[ "units" ] = units;
   }
   for( const Plan::ProbeChange& change : plan.probes )
      object[ "probes" ].push_back(
         { { "probe", change.probe }, { "before", change.before }, { "after", change.after } } );
   return ordered_json::array( { object } );
}

/// The line of the command that is planned.
Line innerLine( Line line )
{
   line.words.erase( line.words.begin() );
   return line;
}

Act plan( const Session& session, Words& words )
{
   if( words.done() )
      words.failAtEnd( "expected a command" );
   const Word* const first = words.peek();
   const Command& command = takeCommand( words );
   if( command.name == "plan" || command.name.starts_with( "expect " ) )
      words.failAt( *first, "only what changes something is planned; run '" +
                               std::string( command.name ) + "' itself" );
   session.checkPossible( words, command );
   return [ act = command.act( session, words ), &words ]( Session& live ) {
      const Line inner = innerLine( words.line() );
      const std::string text = commandText( inner );
      const Plan made = planOf( live, inner, act );
      live.console().table(
         format( "'%s' would make %d calls (writes: %d, redundant: %d)", text, made.calls.size(),
            made.writes, made.redundant ),
         [ & ] { return planTable( made ); }, [ & ] { return planJson( text, made ); } );
   };
}

} // namespace

std::vector<Command> planCommands()
{
   return {
      { "plan", "COMMAND...",
         "what the command would do: changes of the chips, calls, room, changed verdicts of probes; does nothing",
         plan },
   };
}

} // namespace Strata::Tool
