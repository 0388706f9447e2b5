// The room for entries: what is left, and what the features that are off would need.
#include "platform/runtime/Format.h"
#include "tool/Plan.h"
#include "tool/Session.h"
#include "tool/words/ByUnit.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace Strata::Tool {

namespace {

using nlohmann::ordered_json;
using Vormel::format;

/// A feature with entries of its own, and the command that turns it on.
struct Feature
{
   std::string name;
   std::string command;
};

std::vector<Feature> features( const Session& session )
{
   const Agent& agent = session.agent();
   const auto& classes = agent.hardware().miscConfig()->unknownMacDropTrafficClass();
   U32 freeClass = 0;
   while( classes.contains( static_cast<U16>( freeClass ) ) )
      ++freeClass;
   std::vector<Feature> all{ { "bring-up", "call l3Init true" },
      { "router MAC", "router 02:00:00:00:00:01" },
      { "virtual router MAC", "set helper.virtualRouterMacAddr 02:00:00:00:00:02" },
      { "unknown-MAC drop of one more class",
         format( "set miscConfig.unknownMacDropTrafficClass[%d] true", freeClass ) },
      { "uRPF", "call doUrpfHwInitStage1 true" },
      { "MPLS off", "call handleTcamEntryMplsTrafficDrop true" },
      { "MPLS LSP ping", "call handleTcamEntryMplsPhpLspPing true" },
      { "second passes of tunnels", "call handleTcamEntryL3Recirc true" } };
   for( const auto& status : agent.hardware().ethIntfStatusDir()->intfStatus() ) {
      all.push_back( { "ARP redirect to the MLAG peer",
         "call handlePeerMacArpRedirect 02:00:00:00:00:03 " + status.key.toString() + " true" } );
      break;
   }
   return all;
}

/// What turning the feature on now would do; none if there is no such thing on this switch.
std::optional<Plan> planOf( Session& session, const Feature& feature )
{
   const Line line = splitLine( "show room", 1, feature.command );
   try {
      Words words( line );
      const Command& command = takeCommand( words );
      session.checkPossible( words, command );
      return planOf( session, line, command.act( session, words ) );
   } catch( const InputError& ) {
      return std::nullopt;
   }
}

void addRanges( const Sim::SimSwitch& hardware, ByUnit<UnitRow>& rows )
{
   for( const auto& [ unit, chip ] : hardware.chips() )
      for( const Sim::FieldGroup& group : chip.groups() ) {
         const U32 used = group.room() - group.roomLeft();
         const U32 left = group.capacity() - std::min( used, group.capacity() );
         rows.add( unit, { { group.profile().name,
                              format( "%d used, %d left of %d", used, left, group.capacity() ) },
                            { { "range", group.profile().name }, { "size", group.profile().size },
                               { "room", group.room() }, { "used", used }, { "left", left } } } );
      }
}

void addNeeds( const Feature& feature, const Plan& plan, ByUnit<UnitRow>& rows )
{
   for( const Plan::Room& at : plan.rooms )
      if( at.needs > 0 ) {
         const bool fits = at.needs <= at.left;
         const std::string text = format( "%s needs %d", at.range, at.needs );
         rows.add( at.unit,
            { { feature.name, fits ? text : format( "does not fit: %s, has %d", text, at.left ) },
               { { "feature", feature.name }, { "range", at.range }, { "needs", at.needs },
                  { "fits", fits } } } );
      }
}

void addRows( Table& table, const ByUnit<UnitRow>& rows )
{
   for( const auto& [ row, units ] : rows.rows() ) {
      ordered_json object = row.object;
      object[ "units" ] = units;
      table.row( { row.cells[ 0 ], numberRanges( units ), row.cells[ 1 ] }, std::move( object ) );
   }
}

void showRoom( Session& session )
{
   Table table( { { "What" }, { "Units" }, { "Room" } } );
   ByUnit<UnitRow> ranges;
   addRanges( session.agent().hardware(), ranges );
   addRows( table, ranges );
   ByUnit<UnitRow> needs;
   for( const Feature& feature : features( session ) )
      if( const std::optional<Plan> plan = planOf( session, feature ) )
         addNeeds( feature, *plan, needs );
   if( !needs.rows().empty() )
      table.section( "Features that are off" );
   addRows( table, needs );
   session.console().table( "Room for entries", table );
}

} // namespace

std::vector<Command> roomCommands()
{
   return {
      { "show room", "",
         "the room for entries of each range, and what the features that are off would need of it",
         parseNone<showRoom> },
   };
}

} // namespace Strata::Tool
