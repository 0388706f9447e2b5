// What a command would do; plans in files.
#include "desk/SwitchState.h"
#include "desk/Texts.h"
#include "tool/Plan.h"

#include "platform/runtime/Format.h"
#include "tool/SavedPlan.h"
#include "tool/Session.h"
#include "tool/packet/EntryCover.h"
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

/// Each under a heading of its own, because names of entries are long.
void addPackets(
   const Session& session, Table& table, const std::vector<Plan::PacketChange>& changes )
{
   for( const Plan::PacketChange& change : changes ) {
      table.section(
         "Packet for " + rangeText( session, change.range, change.unit ) + ": " + change.name );
      for( const std::string& command : change.commands )
         table.row( { "", "", command } );
      table.row( { "", "", change.before + "\n-> " + change.after } );
   }
}

ordered_json packetsJson( const std::vector<Plan::PacketChange>& changes, const char* name )
{
   auto rows = ordered_json::array();
   for( const Plan::PacketChange& change : changes ) {
      ordered_json row{ { name, change.name } };
      if( !change.commands.empty() )
         row.update( { { "range", change.range }, { "unit", change.unit },
            { "commands", change.commands } } );
      row.update( { { "before", change.before }, { "after", change.after } } );
      rows.push_back( std::move( row ) );
   }
   return rows;
}

Table planTable( const Session& session, const Plan& plan )
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
   for( const Plan::PacketChange& change : plan.probes )
      table.row( { change.name, "", change.before + "\n-> " + change.after } );
   addPackets( session, table, plan.packets );
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
      { "probes", packetsJson( plan.probes, "probe" ) },
      { "packets", packetsJson( plan.packets, "entry" ) } };
   const ByUnit<UnitRow> rooms = roomRows( plan );
   for( const auto& [ row, units ] : rooms.rows() ) {
      object[ "rooms" ].push_back( row.object );
      object[ "rooms" ].back()[ "units" ] = units;
   }
   return ordered_json::array( { object } );
}

Act plan( const Session& session, Words& words )
{
   const bool withPackets = words.accept( "-v" );
   if( withPackets )
      needSolver( words );
   if( const Word* const next = words.peek(); next && next->text.starts_with( '-' ) )
      words.failAt( *next, "'plan' has no option '" + next->text + "'; it has -v" );
   const Word* file = nullptr;
   if( words.accept( "save" ) ) {
      file = &words.take( "a file's name", "FILE" );
      if( const std::string obstacle = obstacleOfSaving( file->text ); !obstacle.empty() )
         words.fail( obstacle );
   }
   return [ withPackets, file, planned = takePlanned( session, words ), &words ]( Session& live ) {
      const std::string text = commandText( planned.line );
      const Desk::SwitchState state =
         file ? Desk::SwitchState( live.agent().hardware() ) : Desk::SwitchState();
      const Plan made = planOf( live, planned.line, planned.act, withPackets );
      live.console().table(
         format( "'%s' would make %s (writes: %d, redundant: %d)", text,
            Desk::counted( made.calls.size(), "call" ), made.writes, made.redundant ),
         [ & ] { return planTable( live, made ); }, [ & ] { return planJson( text, made ); } );
      if( file && !made.end.empty() )
         words.failAt( *file, "it is not saved, because it does not get through" );
      if( file && !live.checking() &&
          !live.isCopy() ) // a check, or a plan of a plan, leaves files alone
         words.blaming( *file, [ & ] {
            SavedPlan{ commandsOf( planned.line ), made.calls, state }.write( file->text );
         } );
   };
}

Act apply( const Session&, Words& words )
{
   const Word& file = words.take( "a saved plan", "FILE" );
   return [ saved = SavedPlan::read( file.text ), &file, &words ](
             Session& live ) { applyPlan( live, saved, words, file ); };
}

} // namespace

std::vector<Command> planCommands()
{
   return {
      { "plan", "[-v] [save FILE] COMMAND...",
         "what the command would do: changes of the chips, calls, room, changed verdicts of probes; does nothing",
         plan },
      { "apply", "FILE",
         "do what 'plan save' has saved, if the switch is as it was, and the calls are those planned",
         apply },
   };
}

} // namespace Strata::Tool
