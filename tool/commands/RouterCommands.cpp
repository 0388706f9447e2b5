// What makes a switch a router: its MAC address, routing, and the my-station entries of the address.
#include "platform/types/EthAddr.h"
#include "routing/chip/MyStation.h"
#include "sim/chip/MyStationTable.h"
#include "tool/Session.h"
#include "tool/packet/PacketWords.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <vector>

namespace Strata::Tool {

namespace {

using Vormel::EthAddr;

bool isPeers( U32 index )
{
   return index == peerRouterMacNoRouting() || index == peerRouterMac();
}

bool isRoutersOwn( U32 index, const MemoryEntry& entry, const EthAddr& mac )
{
   return !isPeers( index ) && Sim::memoryMacField( entry, MemoryField::MacAddr ) == mac;
}

/// The recorded index, or that of an entry with this MAC address, which an agent that died may have left; otherwise the
/// lowest from 1 that is free on every unit.
U32 stationIndex( const Session& session, const EthAddr& mac )
{
   const U32 recorded = session.agent().helper()->routerMacIndex();
   if( recorded != myStationIdxInvalid() )
      return recorded;
   const auto& chips = session.agent().hardware().chips();
   for( const auto& [ unit, chip ] : chips )
      for( const auto& [ index, entry ] : chip.myStation().entries() )
         if( isRoutersOwn( index, entry, mac ) )
            return index;
   U32 index = 1;
   while( isPeers( index ) || std::ranges::any_of( chips, [ & ]( const auto& item ) {
      return item.second.myStation().entries().contains( index );
   } ) )
      ++index;
   return index;
}

/// Removes the my-station entries of a MAC address on all units, also those that were written by name.
void removeStations( Session& session, const EthAddr& mac )
{
   for( const auto& [ unit, chip ] : session.agent().hardware().chips() ) {
      std::vector<U32> indexes;
      for( const auto& [ index, entry ] : chip.myStation().entries() )
         if( isRoutersOwn( index, entry, mac ) )
            indexes.push_back( index );
      for( const U32 index : indexes )
         session.agent().call( "removeMyStationTcamEntry", unit, index );
   }
}

/// The my-station entries come last: until then the CPU gets the packets to the MAC address, and afterwards they are
/// routed. Those of another address before it have the same index.
void routerIs( Session& session, const EthAddr& mac, const std::vector<U32>& units )
{
   const auto& helper = session.agent().helper();
   const EthAddr before = helper->routerMacAddr();
   helper->routerMacAddrIs( mac );
   session.agent().call( "handleRouting", true, true );
   if( !before.isZero() && before != mac )
      removeStations( session, before );
   const U32 index = stationIndex( session, mac );
   for( const U32 unit : units )
      session.agent().call(
         "addMyStationTcamEntry", unit, index, mac, false, U16{ 0 }, false, false, true );
   helper->routerMacIndexIs( index );
}

/// In the reverse order.
void routerDel( Session& session )
{
   const auto& helper = session.agent().helper();
   removeStations( session, helper->routerMacAddr() );
   helper->routerMacIndexIs( myStationIdxInvalid() );
   helper->routerMacAddrIs( EthAddr() );
   session.agent().call( "handleRouting", false, false );
}

Act makeRouter( const Session& session, Words& words )
{
   const EthAddr mac = takeStationMac( words, "the router's MAC address" );
   return [ mac, units = session.takeUnits( words ) ](
             Session& live ) { routerIs( live, mac, units ); };
}

Act removeRouter( const Session& session, Words& words )
{
   const RoutingStatusHelper& helper = *session.agent().helper();
   if( helper.routerMacAddr().isZero() && !helper.routing4Enabled() && !helper.routing6Enabled() )
      words.failAt(
         words.line().words.front(), "the switch is not a router; 'router MAC' makes it one" );
   return routerDel;
}

} // namespace

std::vector<Command> routerCommands()
{
   return {
      { "router", "MAC [unit N]",
         "make the switch a router: its MAC address, routing on, my-station entries on all units "
         "or one",
         makeRouter },
      { "no router", "", "my-station entries and MAC address removed, routing off", removeRouter },
   };
}

} // namespace Strata::Tool
