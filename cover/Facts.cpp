#include "cover/Facts.h"

#include "platform/runtime/Format.h"
#include "platform/state/StrataCommon.h"
#include "sim/chip/MyStationTable.h"
#include "sim/chip/RegisterLayout.h"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>
#include <vector>

namespace Strata::Cover {

using namespace Sim;
using Vormel::format;

namespace {

std::map<U32, U32> recircPorts( const SimSwitch& hardware )
{
   std::map<U32, U32> ports;
   for( const auto& [ unit, port ] : hardware.recircStatus()->recircPort() )
      ports[ unit ] = static_cast<U32>( port );
   return ports;
}

/// The questions that the evaluator asks about ports.
struct View
{
   explicit View( const Facts& facts )
      : recirc( recircPorts( facts.hardware ) ),
        packets( facts.hardware.chips(), *facts.hardware.scsd(), facts.tables, recirc, lookups )
   {}
   std::map<U32, U32> recirc;
   FieldLookups lookups;
   PacketView packets;
};

bool field( const Chip& chip, Register reg, RegisterField which )
{
   return registerField( chip.registerValue( reg ), which ) != 0;
}

/// Whether the chip checks the reverse path of a family, if port and VLAN ask for it.
bool checksReversePath( const Chip& chip, RegisterField ofFamily )
{
   return !chip.profile().supports( Register::IngConfig64 ) ||
          field( chip, Register::IngConfig64, ofFamily );
}

} // namespace

bool StationPlace::isMetFrom( const ArrivalPlace& arrival ) const
{
   const U32 from = arrival.stack ? FieldKey::stackPort : arrival.sdkPort;
   return portMask == 0 || ( from <= 0x7F && ( ( from ^ port ) & portMask ) == 0 );
}

Facts::Facts( const SimSwitch& ofHardware, const ForwardingTables& ofTables, U32 ofUnit,
   PortNames usedNames, const std::optional<PacketPlace>& place )
   : hardware( ofHardware ),
     tables( ofTables ),
     unit( ofUnit ),
     names( usedNames ),
     chip( ofHardware.chip( ofUnit ) ),
     routesOutOfTunnels( chip.profile().attributes.vxlanRoutingInOnePass ),
     checksReversePath4( checksReversePath( chip, RegisterField::Ip4UrpfOnL3Iif ) ),
     checksReversePath6( checksReversePath( chip, RegisterField::Ip6UrpfOnL3Iif ) ),
     trapsTtl( chip.trapsTtlExceptions() || !hardware.scsd()->vfiForwarding() )
{
   addStations();
   addVlans( place );
   addArrivals();
   for( std::size_t index = 0; place && index < arrivals.size(); ++index )
      if( arrivals[ index ].stack == place->stack &&
          ( place->stack || arrivals[ index ].port == place->port ) )
         placeArrival = index;
   addDestinations();
}

void Facts::addStations()
{
   const bool firstTableOnly =
      chip.profile().attributes.myStation1ForNonTunnels &&
      chip.profile().supports( Register::IngConfig64 ) &&
      field( chip, Register::IngConfig64, RegisterField::UseMyStation1ForNonTunnels );
   for( const auto& [ index, entry ] : chip.myStation().entries() ) {
      const auto value = [ &entry ]( MemoryField which ) { return memoryField( entry, which ); };
      if( value( MemoryField::Valid ) == 0 )
         continue;
      const U64 mask = memoryMacField( entry, MemoryField::MacAddrMask ).toNumber();
      stations.push_back( { memoryMacField( entry, MemoryField::MacAddr ).toNumber() & mask, mask,
         value( MemoryField::VlanId ), value( MemoryField::VlanIdMask ),
         value( MemoryField::IngressPortNum ), value( MemoryField::IngressPortNumMask ),
         !firstTableOnly || index < chip.myStation().size() / 2,
         value( MemoryField::Ipv4Termination ) != 0, value( MemoryField::Ipv6Termination ) != 0,
         value( MemoryField::MplsTermination ) != 0,
         value( MemoryField::ArpRarpTermination ) != 0 } );
   }
}

/// Of all units.
std::vector<PortRef> Facts::frontPanelMembers( U16 vlanId ) const
{
   std::vector<PortRef> members;
   for( const auto& [ ofUnit, chipOfUnit ] : hardware.chips() )
      if( const auto at = chipOfUnit.vlans().find( vlanId ); at != chipOfUnit.vlans().end() )
         for( const U32 port : at->second.members& chipOfUnit.frontPanelPorts() )
            members.push_back( { ofUnit, port } );
   return members;
}

void Facts::addVlans( const std::optional<PacketPlace>& entrance )
{
   std::set<std::tuple<std::set<VlanFlag>, std::string, std::string, std::vector<bool>>> kinds;
   std::set<std::tuple<std::set<VlanFlag>, std::vector<bool>, bool, std::size_t>> searchKinds;
   U16 unused = 4094;
   std::vector<U16> ids;
   for( const auto& [ id, vlan ] : chip.vlans() )
      ids.insert( entrance && id == entrance->vlan ? ids.begin() : ids.end(), id );
   for( const U16 id : ids ) {
      const ChipVlan& vlan = chip.vlans().at( id );
      const VlanProperties& row = tables.vlan( id );
      std::vector<bool> atStations;
      for( const StationPlace& station : stations )
         atStations.push_back( station.isMetIn( id ) );
      const std::string rowKey = format( "%d %d %d %d %d %d", row.svi, row.dropRouted,
         row.vni.has_value(), row.l3Class, static_cast<U32>( row.urpf ), row.mtu );
      if( !kinds.emplace( vlan.flags, vlan.members.toString(), rowKey, atStations ).second )
         continue;
      VlanPlace place{ .id = id, .row = row };
      place.ipv4 = !vlan.flags.contains( VlanFlag::vlanIp4RoutingOff );
      place.ipv6 = !vlan.flags.contains( VlanFlag::vlanIp6RoutingOff );
      place.multicast = vlan.flags.contains( VlanFlag::vlanMcastRoutingOn ) &&
                        !vlan.flags.contains( VlanFlag::vlanMcastRoutingOff );
      const std::vector<PortRef> members = frontPanelMembers( id );
      if( members.size() == 1 )
         place.onlyPort = members.front();
      const bool hasCpu =
         vlan.members.contains( static_cast<U32>( chip.profile().specialPorts.cpu ) );
      place.isFirstOfKind =
         searchKinds
            .emplace( vlan.flags, atStations, hasCpu, std::min<std::size_t>( members.size(), 2 ) )
            .second;
      vlans.push_back( place );
   }
   while( unused > 1 && ( chip.vlans().contains( unused ) || tables.vlans.contains( unused ) ) )
      --unused;
   const bool isNowhere = entrance && !chip.vlans().contains( entrance->vlan );
   if( isNowhere )
      unused = entrance->vlan;
   // A tunnel may end in a VLAN that is only named by a station.
   for( const StationPlace& station : stations )
      if( const U16 id = static_cast<U16>( station.vlan & station.vlanMask );
          id >= 1 && id <= 4094 && std::ranges::none_of( vlans, [ & ]( const VlanPlace& place ) {
             return station.isMetIn( place.id );
          } ) )
         vlans.push_back( { .id = id, .exists = false, .row = tables.vlan( id ) } );
   if( isNowhere )
      placeVlan = vlans.size();
   if( !chip.vlans().contains( unused ) )
      vlans.push_back( { .id = unused, .exists = false, .row = tables.vlan( unused ) } );
}

void Facts::addArrivals()
{
   const View view( *this );
   const auto add = [ & ]( ArrivalPlace place ) {
      const int sdkPort = static_cast<int>( chip.sdkPort( place.port.port ) );
      const auto ofPort = [ & ]( PortControl which ) {
         const auto at = chip.portControls().find( { sdkPort, which } );
         return at != chip.portControls().end() && at->second != 0;
      };
      place.sdkPort = static_cast<U32>( sdkPort );
      place.cpu = !place.stack && view.packets.isCpuPort( place.port );
      place.frontPanel = !place.stack && view.packets.isFrontPanel( place.port );
      place.up = !place.frontPanel || chip.activePorts().contains( place.port.port );
      place.ipv4 = !place.frontPanel || ofPort( PortControl::IP4 );
      place.ipv6 = !place.frontPanel || ofPort( PortControl::IP6 );
      place.usesRoutes = chip.control( sdkPort, SwitchControl::L3EgressMode ) != 0;
      place.looksUpSource = chip.control( sdkPort, SwitchControl::L2TrafficSrcIpLookup ) != 0;
      place.checksReversePath = !chip.profile().supports( SwitchControl::L3InterfaceUrpfEnable ) ||
                                chip.control( sdkPort, SwitchControl::L3InterfaceUrpfEnable ) != 0;
      for( const VlanPlace& vlan : vlans ) // a VLAN that is made has all ports
         place.inVlan.push_back( !vlan.exists || !place.frontPanel ||
                                 chip.vlans().at( vlan.id ).members.contains( place.port.port ) );
      arrivals.push_back( std::move( place ) );
   };
   for( const U32 port : chip.ports() )
      add( { .port = { unit, port }, .keyPort = port } );
   add( { .port = { unit, 0 }, .stack = true, .keyPort = FieldKey::stackPort } );
}

/// Ports of LAGs and internal ones come last: of a LAG only one port sends.
void Facts::addDestinations()
{
   const View view( *this );
   std::vector<PortRef> others;
   for( const auto& [ other, chipOfOther ] : hardware.chips() )
      for( const U32 port : chipOfOther.ports() ) {
         const PortRef ref{ other, port };
         const bool sends =
            view.packets.isFrontPanel( ref ) && lagName( view.packets, ref ).empty();
         ( sends ? destinations : others ).push_back( ref );
      }
   destinations.insert( destinations.end(), others.begin(), others.end() );
}

bool Facts::isCpu( PortRef port ) const
{
   return static_cast<int>( port.port ) == hardware.chip( port.unit ).profile().specialPorts.cpu;
}

U64 Facts::dstPort( PortRef port ) const
{
   const StrataUnit* const found = hardware.scsd()->units().find( port.unit );
   return FieldKey::dstPort(
      found ? found->modId : 0, hardware.chip( port.unit ).sdkPort( port.port ) );
}

U64 Facts::cpuHop() const
{
   return FieldKey::dstPort( StrataCommon::cpuNhInvalidModId_, 0 );
}
U64 Facts::floodHop() const
{
   return FieldKey::dstPort( hardware.scsd()->floodingModId(), StrataCommon::floodingPortId_ );
}
U64 Facts::vxlanFloodHop() const
{
   return FieldKey::dstPort( hardware.scsd()->floodingModId(), StrataCommon::vxlanFloodingPortId_ );
}
U64 Facts::tunnelHop() const
{
   return FieldKey::dstPort( hardware.scsd()->floodingModId(), StrataCommon::vxlanEncapPortId_ );
}

std::string Facts::portWords( PortRef port ) const
{
   if( names == PortNames::interfaces )
      for( const auto& [ intf, at ] : hardware.scsd()->strataIntfToPort() )
         if( at && at.unit() == port.unit && intf.isEthernet() &&
             portRef( hardware.chips(), at ) == port )
            return intf.toString();
   const SpecialPorts& special = chip.profile().specialPorts;
   const int number = static_cast<int>( hardware.chip( port.unit ).sdkPort( port.port ) );
   const std::string name = number == special.cpu             ? "cpu"
                            : number == special.loopback      ? "loopback"
                            : number == special.recirculation ? "recirculation"
                                                              : format( "port %d", number );
   return name + unitWords( port.unit );
}

std::string Facts::unitWords( U32 ofUnit ) const
{
   return hardware.units().size() == 1 ? "" : format( " unit %d", ofUnit );
}

std::string Facts::arrivalWords( const ArrivalPlace& arrival ) const
{
   return arrival.stack ? "higig" + unitWords( unit ) : portWords( arrival.port );
}

} // namespace Strata::Cover
