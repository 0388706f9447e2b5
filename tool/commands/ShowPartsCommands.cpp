// Tables of the switch's parts: interfaces, LAGs, floods, drops, units, objects, faults.
#include "sim/switch/Values.h"
#include "tool/Session.h"
#include "tool/view/EntryView.h"
#include "tool/words/ByUnit.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Tool {

namespace {

using nlohmann::ordered_json;

ordered_json namesJson( const IntfIdList& intfs )
{
   auto names = ordered_json::array();
   for( const Vormel::IntfId intf : intfs )
      names.push_back( intf.toString() );
   return names;
}

void showInterfaces( Session& session )
{
   Sim::SimSwitch& hardware = session.agent().hardware();
   const StrataCommonSmData& scsd = *hardware.scsd();
   std::vector<Vormel::IntfId> intfs = keysOf( hardware.ethIntfStatusDir()->intfStatus() );
   std::ranges::sort( intfs );
   Table table( { { "Interface" }, { "Model" }, { "Port" }, { "LAG" } } );
   for( const Vormel::IntfId intf : intfs ) {
      const auto status = hardware.ethIntfStatusDir()->intfStatus( intf );
      const std::string lag = intf.isPortChannel() ? "of " + toText( scsd.lagMembers( intf ) )
                                                   : scsd.lagOfMember( intf ).toString();
      ordered_json row{ { "interface", intf.toString() },
         { "model", Vormel::enumText( status->forwardingModel() ) },
         { "port", Sim::portJson( scsd.strataIntfToPort( intf ) ) }, { "lag", nullptr } };
      if( intf.isPortChannel() )
         row[ "members" ] = namesJson( scsd.lagMembers( intf ) );
      else if( !lag.empty() )
         row[ "lag" ] = lag;
      table.row( { intf.toString(), Vormel::enumText( status->forwardingModel() ),
                    toText( scsd.strataIntfToPort( intf ) ), lag },
         std::move( row ) );
   }
   session.console().table( "Interfaces, and their ports as unit/port/logical port", table );
}

void showLags( Session& session )
{
   Sim::SimSwitch& hardware = session.agent().hardware();
   const StrataCommonSmData& scsd = *hardware.scsd();
   std::vector<Vormel::IntfId> lags = keysOf( scsd.lagMembers() );
   std::ranges::sort( lags );
   Table table( { { "LAG" }, { "Model" }, { "Members" } } );
   for( const Vormel::IntfId lag : lags ) {
      const auto status = hardware.ethIntfStatusDir()->intfStatus( lag );
      std::string members;
      auto list = ordered_json::array();
      for( const Vormel::IntfId member : scsd.lagMembers( lag ) ) {
         const StrataPort port = scsd.strataIntfToPort( member );
         members +=
            ( members.empty() ? "" : ", " ) + member.toString() + " (" + toText( port ) + ")";
         list.push_back(
            { { "interface", member.toString() }, { "port", Sim::portJson( port ) } } );
      }
      const std::string model = status ? Vormel::enumText( status->forwardingModel() ) : "";
      table.row(
         { lag.toString(), status ? model : "no status", members.empty() ? "none" : members },
         { { "lag", lag.toString() }, { "model", status ? ordered_json( model ) : ordered_json() },
            { "members", list } } );
   }
   session.console().table( "LAGs, and the ports of members as unit/port/logical port", table );
}

/// The entries that flood routed packets, as they are in hardware.
ByUnit<UnitRow> floodEntries( const Agent& agent )
{
   const RoutingStatusHelper& helper = *agent.helper();
   ByUnit<UnitRow> rows;
   for( const auto& [ unit, chip ] : agent.hardware().chips() )
      for( const U32 id : { helper.tcamEntryVlanFlood(), helper.tcamEntryVlanFloodPbr() } )
         for( const Sim::FieldGroup& group : chip.groups() )
            if( const Sim::FieldEntry* const entry = group.find( id ); entry && entry->hardware ) {
               const Sim::FieldActionData& action = entry->hardware->actions.front();
               const std::string state( entryState( *entry ) );
               rows.add( unit, { { entry->name + ", " + state, action.text() },
                                  { { "entry", entry->name }, { "state", state },
                                     { "action", Sim::actionJson( action ) } } } );
            }
   return rows;
}

/// The bitmap of floods of routed packets, and its copies in the entries.
void showFlood( Session& session )
{
   Agent& agent = session.agent();
   const RoutingStatusHelper& helper = *agent.helper();
   Table table = unitTable( { { "Where" }, { "Ports" } }, floodEntries( agent ) );
   const U32 first = agent.hardware().units().front();
   if( agent.hardware().units().size() > 1 )
      table.row(
         { "followed by", std::to_string( first ),
            "the entries of the first unit alone; those of other units stay as they were made" },
         { { "followedByUnit", first } } );
   table.row( { "the helper's bitmap", "-", helper.vlanFloodPbmp().toString() },
      { { "helperPorts", Sim::portsJson( helper.vlanFloodPbmp() ) } } );
   std::string kept;
   auto names = ordered_json::array();
   for( const auto& routed : helper.routedPortsAndRoutedLagMember() ) {
      kept += ( kept.empty() ? "" : ", " ) + routed.key.toString();
      names.push_back( routed.key.toString() );
   }
   table.row( { "kept out, because they are routed", "-", kept.empty() ? "none" : kept },
      { { "keptOut", names } } );
   session.console().table( "Floods of routed packets", table );
}

void showDrops( Session& session )
{
   Agent& agent = session.agent();
   const RoutingStatusHelper& helper = *agent.helper();
   Table table( { { "Class" }, { "Entries" }, { "Counter", Align::right }, { "Hits by unit" } } );
   for( const auto& counter : helper.unknownMacCountersPerTc() ) {
      const U32 id = helper.tcamEntryVlanFloodDrop( counter.key );
      std::string hits;
      auto byUnit = ordered_json::object();
      for( auto& [ unit, chip ] : agent.hardware().chips() ) {
         U64 sum = 0;
         for( const Sim::FieldGroup& group : chip.groups() )
            for( const U32 entryId : { id, id + 1 } )
               if( const Sim::FieldEntry* const entry = group.find( entryId ) )
                  sum += entry->hits;
         hits +=
            ( hits.empty() ? "" : ", " ) + std::to_string( unit ) + ": " + std::to_string( sum );
         byUnit[ std::to_string( unit ) ] = sum;
      }
      const ordered_json entries = id == 0 ? ordered_json::array() : ordered_json{ id, id + 1 };
      table.row( { std::to_string( counter.key ),
                    id == 0 ? "none" : std::to_string( id ) + ", " + std::to_string( id + 1 ),
                    std::to_string( counter.value ), id == 0 ? "-" : hits },
         { { "class", counter.key }, { "entries", entries }, { "counter", counter.value },
            { "hitsByUnit", byUnit } } );
   }
   session.console().table( "Unknown-MAC drops, at the last poll and now", table );
}

/// The ports of a chip and the room for its entries.
UnitRow unitRow( const Sim::Chip& chip, bool hasOptionsProfile )
{
   const Sim::SpecialPorts& special = chip.profile().specialPorts;
   std::string text = "ports: front 1-" + std::to_string( chip.frontPanelPorts().count() ) +
                      ", logical " + chip.frontPanelPorts().toString() + "; cpu " +
                      std::to_string( special.cpu );
   ordered_json object{ { "chip", chip.profile().name },
      { "frontPanelPorts", chip.frontPanelPorts().count() },
      { "logicalPorts", Sim::portsJson( chip.frontPanelPorts() ) }, { "cpuPort", special.cpu },
      { "loopbackPort", nullptr }, { "recirculationPort", nullptr } };
   if( special.loopback ) {
      text += ", loopback " + std::to_string( *special.loopback );
      object[ "loopbackPort" ] = *special.loopback;
   }
   if( special.recirculation ) {
      text += ", recirculation " + std::to_string( *special.recirculation );
      object[ "recirculationPort" ] = *special.recirculation;
   }
   std::string entries;
   object[ "ranges" ] = ordered_json::array();
   for( const Sim::FieldGroup& group : chip.groups() ) {
      const U32 used = group.room() - group.roomLeft();
      entries += ( entries.empty() ? "" : ", " ) + group.profile().name + " " +
                 std::to_string( used ) + "/" + std::to_string( group.room() );
      object[ "ranges" ].push_back(
         { { "range", group.profile().name }, { "used", used }, { "room", group.room() } } );
   }
   text += "\nentries: " + entries;
   text += chip.trapsTtlExceptions() ? "\ntraps TTL exceptions itself" : "";
   text += hasOptionsProfile ? "\nhas an IPv4 options profile" : "";
   object[ "trapsTtlExceptions" ] = chip.trapsTtlExceptions();
   object[ "hasIpOptionsProfile" ] = hasOptionsProfile;
   return { { chip.profile().name, text }, std::move( object ) };
}

void showUnits( Session& session )
{
   Sim::SimSwitch& hardware = session.agent().hardware();
   ByUnit<UnitRow> rows;
   for( const auto& [ unit, chip ] : hardware.chips() ) {
      const StrataUnit* const known = hardware.scsd()->units().find( unit );
      rows.add( unit, unitRow( chip, known && known->hasIpOptionsProfile ) );
   }
   session.console().table( "Units", unitTable( { { "Chip" }, { "Has" } }, rows ) );
}

void showObjects( Session& session )
{
   Agent& agent = session.agent();
   Table table( { { "Object" }, { "Attributes", Align::right }, { "Type" } } );
   for( const std::string& name : agent.objectNames() ) {
      const Vormel::EntityType& type = agent.object( name )->entityType();
      table.row( { name, std::to_string( type.attributes().size() ), std::string( type.name() ) } );
   }
   session.console().table( "Objects", table );
}

ordered_json faultJson( const Sim::Fault& fault )
{
   const auto orNull = []( const auto& value ) {
      return value ? ordered_json( *value ) : ordered_json();
   };
   return { { "call", fault.call.empty() ? ordered_json() : ordered_json( fault.call ) },
      { "callNumber", orNull( fault.callNumber ) }, { "unit", orNull( fault.unit ) },
      { "nth", fault.nth }, { "code", fault.effect() }, { "always", fault.always } };
}

void showFaults( Session& session )
{
   Table table( { { "Fault" } } );
   for( const Sim::Fault& fault : session.agent().hardware().faults().armed() )
      table.row( { fault.text() }, faultJson( fault ) );
   session.console().table( "Faults that are armed", table );
}

} // namespace

std::vector<Command> showPartsCommands()
{
   return {
      { "show interfaces", "", "interfaces, their ports and LAGs", parseNone<showInterfaces> },
      { "show lags", "", "LAGs and their members", parseNone<showLags> },
      { "show flood", "", "ports that floods of routed packets reach", parseNone<showFlood> },
      { "show drops", "", "unknown-MAC drops by traffic class", parseNone<showDrops> },
      { "show units", "", "units, their ports and the room for entries", parseNone<showUnits> },
      { "show objects", "", "objects that can be named", parseNone<showObjects> },
      { "show faults", "", "faults that are armed", parseNone<showFaults> },
   };
}

} // namespace Strata::Tool
