// The chips' VLANs, IPv4 options profiles, controls of ports and hits of entries, and the agent's software port
// table. A poke changes a VLAN without the slice.
#include "platform/types/IntfId.h"
#include "platform/types/PortBitmap.h"
#include "sim/switch/Values.h"
#include "tool/Session.h"
#include "tool/packet/PacketWords.h"
#include "tool/view/EntryView.h"
#include "tool/view/Expectation.h"
#include "tool/words/ByUnit.h"
#include "tool/words/Command.h"
#include "tool/words/EntryChoice.h"

#include <algorithm>
#include <array>
#include <functional>
#include <limits>

namespace Strata::Tool {

namespace {

constexpr U32 otherVlanFlags = 32 - roleNames<VlanFlag>.size();

template<class Role>
Role takeRole( Words& words, std::string_view what )
{
   const std::string_view name = words.choose( what, roleNames<Role> );
   return static_cast<Role>( std::ranges::find( roleNames<Role>, name ) - roleNames<Role>.begin() );
}

bool takeSet( Words& words )
{
   static constexpr std::array<std::string_view, 2> states{ "set", "clear" };
   return words.choose( "a flag's state", states ) == "set";
}

U32 takeOtherFlags( Words& words )
{
   constexpr U32 most = ~U32{ 0 } >> ( 32 - otherVlanFlags );
   return static_cast<U32>( words.number( "the other flags of a VLAN", 0, most ) );
}

Act pokeVlan( const Session& session, Words& words )
{
   const Sim::SimSwitch& hardware = session.agent().hardware();
   const U16 vlanId = takeVlanId( words );
   const Word& vlanWord = *words.last();
   const std::vector<U32> units = session.takeUnits( words );
   for( const U32 unit : units )
      if( !hardware.chip( unit ).vlans().contains( vlanId ) )
         words.failAt( vlanWord, "unit " + std::to_string( unit ) + " has no VLAN " +
                                    std::to_string( vlanId ) + "; 'show vlans' lists all" );
   std::function<void( Sim::ChipVlan& )> change;
   if( words.accept( "other-flags" ) ) {
      change = [ flags = takeOtherFlags( words ) ](
                  Sim::ChipVlan& vlan ) { vlan.otherFlags = flags; };
   } else {
      const auto flag = takeRole<VlanFlag>( words, "a VLAN flag" );
      if( takeSet( words ) )
         change = [ flag ]( Sim::ChipVlan& vlan ) { vlan.flags.insert( flag ); };
      else
         change = [ flag ]( Sim::ChipVlan& vlan ) { vlan.flags.erase( flag ); };
   }
   return [ = ]( Session& live ) {
      Sim::SimSwitch& changed = live.agent().hardware();
      for( const U32 unit : units ) {
         change( *changed.chip( unit ).vlan( vlanId ) );
         changed.pokes( unit, { Sim::ChipPlace::Kind::vlanFlags, vlanId } );
      }
   };
}

Act raiseHits( const Session& session, Words& words )
{
   const Sim::SimSwitch& hardware = session.agent().hardware();
   const EntryChoice choice = takeEntry( session, words );
   const Word& entryWord = *words.last();
   const std::vector<U32> units = session.takeUnits( words );
   const U64 count = words.number( "a number of packets", 1, std::numeric_limits<U64>::max() );
   for( const U32 unit : units ) {
      const Sim::FieldEntry* const entry = findEntry( hardware.chip( unit ), choice );
      if( !entry || !entry->active() )
         words.failAt( entryWord, "entry " + choice.text + " is " +
                                     std::string( entry ? entryState( *entry ) : "absent" ) +
                                     " on unit " + std::to_string( unit ) +
                                     ": no packet can meet it" );
      if( entry->hits + count < count )
         words.fail( "a counter of hits ends at 18446744073709551615" );
   }
   return [ = ]( Session& live ) {
      for( const U32 unit : units )
         findEntry( live.agent().hardware().chip( unit ), choice )->hits += count;
   };
}

void showVlans( Session& session )
{
   ByUnit<UnitRow> rows;
   for( const auto& [ unit, chip ] : session.agent().hardware().chips() )
      for( const auto& [ vlanId, vlan ] : chip.vlans() )
         rows.add( unit, { { std::to_string( vlanId ), vlan.members.toString(),
                              vlan.untagged.toString(), vlan.flagsText() },
                            { { "vlan", vlanId }, { "members", Sim::portsJson( vlan.members ) },
                               { "untagged", Sim::portsJson( vlan.untagged ) },
                               { "flags", Sim::flagsJson( vlan.flags ) },
                               { "otherFlags", vlan.otherFlags } } } );
   session.console().table( "VLANs",
      unitTable(
         { { "VLAN", Align::right }, { "Members" }, { "Untagged" }, { "Routing flags" } }, rows ) );
}

/// An expected property of a VLAN, and the function that reads it.
struct VlanProperty
{
   std::string name;
   std::string value;
   std::function<std::string( const Sim::ChipVlan& )> look;
};

/// The text of logical port numbers, which some unit has.
std::string takeLogicalPorts( const Session& session, Words& words )
{
   const auto ports = words.value<PortBitmap>( "ports such as 0-4, or - for none" );
   PortBitmap known;
   for( const auto& [ unit, chip ] : session.agent().hardware().chips() )
      known = known | chip.ports();
   if( const PortBitmap unknown = ports - known; !unknown.empty() )
      words.fail( "no unit has logical ports " + unknown.toString() + "; the switch has " +
                  known.toString() );
   return ports.toString();
}

VlanProperty takeVlanProperty( const Session& session, Words& words )
{
   using Vlan = Sim::ChipVlan;
   if( words.accept( "members" ) )
      return { "members", takeLogicalPorts( session, words ),
         []( const Vlan& vlan ) { return vlan.members.toString(); } };
   if( words.accept( "untagged" ) )
      return { "untagged", takeLogicalPorts( session, words ),
         []( const Vlan& vlan ) { return vlan.untagged.toString(); } };
   if( words.accept( "other-flags" ) )
      return { "other-flags", std::to_string( takeOtherFlags( words ) ),
         []( const Vlan& vlan ) { return std::to_string( vlan.otherFlags ); } };
   const auto flag = takeRole<VlanFlag>( words, "a VLAN flag, other-flags, members or untagged" );
   return { std::string( roleName( flag ) ), takeSet( words ) ? "set" : "clear",
      [ flag ]( const Vlan& vlan ) { return vlan.flags.contains( flag ) ? "set" : "clear"; } };
}

Act expectVlan( const Session& session, Words& words )
{
   const U16 vlanId = takeVlan( session, words );
   const std::vector<U32> units = session.takeUnits( words );
   const VlanProperty property = takeVlanProperty( session, words );
   const std::string expected =
      "VLAN " + std::to_string( vlanId ) + " " + property.name + " to be " + property.value;
   return expectOnUnits(
      units, expected, property.value, [ = ]( const Sim::Chip& chip ) -> std::string {
         const auto vlan = chip.vlans().find( vlanId );
         return vlan == chip.vlans().end() ? "no such VLAN" : property.look( vlan->second );
      } );
}

void showOptionsProfiles( Session& session )
{
   ByUnit<UnitRow> rows;
   for( const auto& [ unit, chip ] : session.agent().hardware().chips() )
      for( const auto& [ profile, action ] : chip.ipOptionsProfiles() )
         rows.add( unit, { { std::to_string( profile ), std::string( roleName( action ) ) },
                            { { "profile", profile }, { "action", roleName( action ) } } } );
   session.console().table(
      "IPv4 options profiles", unitTable( { { "Profile", Align::right }, { "Action" } }, rows ) );
}

Act expectOptionsProfiles( const Session& session, Words& words )
{
   const std::vector<U32> units = session.takeUnits( words );
   const std::string count = std::to_string( words.value<U32>( "how many profiles" ) );
   return expectOnUnits( units, count + " IPv4 options profiles", count,
      []( const Sim::Chip& chip ) { return std::to_string( chip.ipOptionsProfiles().size() ); } );
}

constexpr std::string_view unset = "unset"; // a port control that was never written

Act expectPortControl( const Session& session, Words& words )
{
   const auto control = takeRole<PortControl>( words, "a port control" );
   words.expect( "port" );
   const auto [ portNumber, units ] = session.takePortAndUnits( words );
   const int port = portNumber;
   const std::string value = words.accept( unset )
                                ? std::string( unset )
                                : std::to_string( words.value<int>( "a value" ) );
   const std::string expected =
      std::string( roleName( control ) ) + " of port " + std::to_string( port ) + " to be " + value;
   return expectOnUnits( units, expected, value, [ = ]( const Sim::Chip& chip ) -> std::string {
      const auto& controls = chip.portControls();
      const auto at = controls.find( { port, control } );
      return at == controls.end() ? std::string( unset ) : std::to_string( at->second );
   } );
}

std::string softwareText( const PortSwEntry& entry )
{
   const std::string l3 = entry.l3Enabled ? "l3" : "no-l3";
   return l3 + ( entry.routingEnabled ? " routing" : " no-routing" );
}

void showPortTable( Session& session )
{
   Table table( { { "Port" }, { "Settings" } } );
   for( const auto& [ port, entry ] : session.agent().hardware().portSwTable()->entries() )
      table.row( { toText( port ), softwareText( entry ) },
         { { "port", Sim::portJson( port ) }, { "l3", entry.l3Enabled },
            { "routing", entry.routingEnabled } } );
   session.console().table( "The software port table, by unit/port/logical port", table );
}

Act expectPortTable( const Session& session, Words& words )
{
   const Sim::SimSwitch& hardware = session.agent().hardware();
   const auto intf = words.value<Vormel::IntfId>( "an interface, as in Ethernet1" );
   const StrataPort port = hardware.scsd()->strataIntfToPort( intf );
   if( !port )
      words.fail( intf.toString() + " has no port; 'show interfaces' lists those that have one" );
   static constexpr std::array<std::string_view, 4> settings{
      "l3 routing", "l3 no-routing", "no-l3 routing", "no-l3 no-routing" };
   const std::string value( words.choose( "a port's settings in quotes", settings ) );
   return [ = ]( Session& live ) {
      const std::string found =
         softwareText( live.agent().hardware().portSwTable()->entry( port ) );
      live.expect(
         found == value, "the settings of " + intf.toString() + " to be " + value, found );
   };
}

} // namespace

std::vector<Command> chipCommands()
{
   return {
      { "poke vlan", "ID [unit N] FLAG set|clear, ID [unit N] other-flags VALUE",
         "change a VLAN's flags in the chip", pokeVlan },
      { "hits", "[GROUP] OFFSET|NAME|\"CLAIMED NAME\" [unit N] COUNT",
         "raise the hits of an entry, as packets would", raiseHits },
      { "show vlans", "", "VLANs: ports and flags", parseNone<showVlans> },
      { "show options-profiles", "", "IPv4 options profiles", parseNone<showOptionsProfiles> },
      { "show port-table", "", "the agent's software port table", parseNone<showPortTable> },
      { "expect vlan",
         "ID [unit N] FLAG set|clear, ID [unit N] other-flags VALUE, ID [unit N] members|untagged "
         "NUMBERS",
         "a VLAN has these flags or ports", expectVlan, false },
      { "expect options-profiles", "[unit N] COUNT",
         "a unit has this number of IPv4 options profiles", expectOptionsProfiles, false },
      { "expect port-control", "CONTROL port N [unit N] VALUE", "a port control has this value",
         expectPortControl, false },
      { "expect port-table", "INTERFACE \"[no-]l3 [no-]routing\"",
         "the software port table has this for the interface's port", expectPortTable, false },
   };
}

} // namespace Strata::Tool
