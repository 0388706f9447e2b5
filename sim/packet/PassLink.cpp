// The link layer: VLAN, spanning tree, the end of tunnels, router MACs, bridging, learning.
#include "platform/runtime/Format.h"
#include "sim/chip/MyStationTable.h"
#include "sim/chip/RegisterLayout.h"
#include "sim/packet/Pass.h"

#include <algorithm>

namespace Strata::Sim {

using Vormel::format;

/// Whether a frame is accepted. A frame that is not skips all lookups.
bool Pass::link()
{
   const Headers& received = arrival_.frame.headers();
   if( !received.problem.empty() )
      note( "parser", [ & ] { return received.problem + "; it is parsed up to there"; } );
   const bool tagged = received.tag && received.tag->vlanId != 0;
   constexpr U16 vlanOfStackLink = 1;
   const auto port = arrivedOn();
   vlanId_ = domain_ = tagged ? received.tag->vlanId
                       : port ? tables().untaggedVlan( *port )
                              : vlanOfStackLink;
   if( received.tag ) {
      priority_ = received.tag->priority;
      dropEligible_ = received.tag->dropEligible;
   }
   note( "VLAN", [ & ] {
      return std::to_string( vlanId_ ) +
             ( tagged  ? ", from the tag"
                : port ? ", the port's own"
                       : ", for the stack link" ) +
             ( priority_ != 0 ? "; priority " + std::to_string( priority_ ) : "" );
   } );

   if( received.srcMac.isMulticast() ) {
      drop( format( "its source %s is a group address", received.srcMac.toString() ),
         "its source is a group address" );
      return false;
   }
   const ChipVlan* const vlan = view_.vlan( arrival_.port.unit, vlanId_ );
   if( !vlan ) {
      drop( format( "there is no VLAN %d", U32{ vlanId_ } ), "there is no such VLAN" );
      return false;
   }
   if( arrival_.higig || !view_.isFrontPanel( arrival_.port ) )
      return true;
   if( !chip_.activePorts().contains( arrival_.port.port ) )
      drop( view_.portName( arrival_.port ) + " is down", "the port is down" );
   else if( !vlan->members.contains( arrival_.port.port ) )
      drop(
         format( "%s is not a member of VLAN %d", view_.portName( arrival_.port ), U32{ vlanId_ } ),
         "the port is not a member of the VLAN" );
   if( !drop_.empty() )
      return false;
   stp_ = tables().stpState( arrival_.port, vlanId_ );
   if( stp_ != StpState::forwarding ) {
      drop( "spanning tree: the port is " + Vormel::enumText( stp_ ) );
      note( "STP", [ & ] { return Vormel::enumText( stp_ ) + ": not forwarded"; } );
   }
   return true;
}

static std::optional<U32> findStation(
   const Chip& chip, const EthAddr& mac, U16 vlanId, U32 port, bool inTunnel, MemoryEntry& found )
{
   const ChipProfile& profile = chip.profile();
   // The memory has two tables; this field limits packets outside tunnels to the first.
   const bool firstTableOnly = !inTunnel && profile.attributes.myStation1ForNonTunnels &&
                               profile.supports( Register::IngConfig64 ) &&
                               registerField( chip.registerValue( Register::IngConfig64 ),
                                  RegisterField::UseMyStation1ForNonTunnels ) != 0;
   const U32 end = chip.myStation().size() / ( firstTableOnly ? 2 : 1 );
   for( const auto& [ index, entry ] : chip.myStation().entries() ) {
      if( index >= end )
         break;
      const auto field = [ &entry ]( MemoryField role ) { return memoryField( entry, role ); };
      const U64 mask = memoryMacField( entry, MemoryField::MacAddrMask ).toNumber();
      const U64 wanted = memoryMacField( entry, MemoryField::MacAddr ).toNumber();
      const U32 portMask = field( MemoryField::IngressPortNumMask );
      if( field( MemoryField::Valid ) != 0 && ( ( mac.toNumber() ^ wanted ) & mask ) == 0 &&
          ( ( vlanId ^ field( MemoryField::VlanId ) ) & field( MemoryField::VlanIdMask ) ) == 0 &&
          ( portMask == 0 || ( port <= 0x7F && ( ( port ^ field( MemoryField::IngressPortNum ) ) &
                                                  portMask ) == 0 ) ) ) {
         found = entry;
         return index;
      }
   }
   return std::nullopt;
}

static bool terminatesAnything( const MemoryEntry& entry )
{
   for( const MemoryField field : { MemoryField::Ipv4Termination, MemoryField::Ipv6Termination,
           MemoryField::MplsTermination, MemoryField::ArpRarpTermination } )
      if( memoryField( entry, field ) != 0 )
         return true;
   return false;
}

void Pass::lookUpStation()
{
   const U32 port = arrival_.higig ? FieldKey::stackPort : static_cast<U32>( sdkArrivalPort() );
   const auto index =
      findStation( chip_, headers().dstMac, domain_, port, !terminated_.empty(), stationEntry_ );
   note( "my-station", [ & ] {
      return index ? format( "index %d: %s", *index, myStationText( stationEntry_ ) )
                   : headers().dstMac.toString() + " is not a router MAC here";
   } );
   if( index )
      looked( { ChipPlace::Kind::myStation, *index }, 1 );
   // An entry that terminates nothing hides later entries: for its packets the MAC is not the router's.
   if( index && terminatesAnything( stationEntry_ ) )
      station_ = index;
}

bool Pass::terminates( MemoryField termination ) const
{
   return station_ && memoryField( stationEntry_, termination ) != 0;
}

void Pass::terminateTunnel()
{
   const Headers& outer = arrival_.frame.headers();
   if( !outer.vxlan || !attributes().vxlanSupported )
      return;
   if( !outer.ip->checksumRight && control( SwitchControl::IPv4DoNotVerifyIncomingChecksum ) == 0 )
      return note( "tunnel", [] { return std::string( "VXLAN, but the checksum is wrong" ); } );
   const U32 port = arrival_.higig ? FieldKey::stackPort : static_cast<U32>( sdkArrivalPort() );
   MemoryEntry entry;
   const auto* const tunnel = tables().tunnelBetween( outer.ip->destination, outer.ip->source );
   const auto vlanId = tables().vlanOfVni( outer.vxlan->vni );
   const MemoryField family =
      outer.ip->destination.isV6() ? MemoryField::Ipv6Termination : MemoryField::Ipv4Termination;
   const bool forUs = findStation( chip_, outer.dstMac, vlanId_, port, false, entry ) &&
                      memoryField( entry, family );
   if( !tunnel || !vlanId || !forUs ) {
      note( "tunnel", [ & ] {
         return std::string( "VXLAN, but " ) + ( !tunnel
                                                     ? "no tunnel between these addresses ends here"
                                                  : !vlanId ? "no VLAN has its number"
                                                            : "not addressed to a router MAC" );
      } );
      return;
   }
   terminated_ = tunnel->first;
   domain_ = *vlanId;
   frame_ = decapsulated( arrival_.frame );
   if( headers().tag )
      drop( "the frame in the tunnel has a VLAN tag" ); // RFC 7348, 6.1
   if( headers().srcMac.isMulticast() )
      drop(
         format( "the source in the tunnel, %s, is a group address", headers().srcMac.toString() ),
         "its source is a group address" );
   note( "tunnel", [ & ] {
      return format( "%s ends here: VXLAN %d is VLAN %d; inside, %s", terminated_, outer.vxlan->vni,
         U32{ domain_ }, frame_.text() );
   } );
}

Pass::Destination Pass::onePort( PortRef port ) const
{
   Destination destination;
   destination.dstPort =
      FieldKey::dstPort( view_.modId( port.unit ), view_.chip( port.unit ).sdkPort( port.port ) );
   if( view_.isCpuPort( port ) )
      destination.cpu = true;
   else
      destination.ports = { port };
   destination.named = port;
   return destination;
}

std::string Pass::textOf( const Destination& destination ) const
{
   return ( destination.named ? view_.portName( *destination.named ) : "" ) + destination.text;
}

Pass::Destination Pass::floodIn( U16 vlanId, bool withCpu ) const
{
   Destination destination;
   for( const auto& [ unit, chip ] : view_.chips() )
      if( const ChipVlan* const vlan = view_.vlan( unit, vlanId ) )
         for( const U32 port : vlan->members& chip.frontPanelPorts() )
            destination.ports.push_back( { unit, port } );
   const VlanProperties& properties = tables().vlan( vlanId );
   destination.tunnels.assign( properties.tunnels.begin(), properties.tunnels.end() );
   destination.cpu = withCpu;
   destination.text = format( "flood in VLAN %d", U32{ vlanId } );
   thin( destination, vlanId );
   return destination;
}

Pass::Destination Pass::groupMembers( U32 number ) const
{
   Destination destination;
   destination.isGroup = true;
   destination.text = "multicast group " + std::to_string( number );
   const auto at = tables().l2Groups.find( number );
   if( at == tables().l2Groups.end() )
      return destination;
   const McastGroup& group = at->second;
   destination.ports.assign( group.ports.begin(), group.ports.end() );
   destination.tunnels.assign( group.tunnels.begin(), group.tunnels.end() );
   destination.cpu = group.cpu;
   if( group.everyPort )
      for( const auto& [ unit, chip ] : view_.chips() )
         for( const U32 port : chip.frontPanelPorts() )
            destination.ports.push_back( { unit, port } );
   if( group.everyTunnel )
      for( const auto& [ name, tunnel ] : tables().tunnels )
         destination.tunnels.push_back( name );
   thin( destination, egressVlan() );
   return destination;
}

/// Removes internal ports, which are in no flood or group, and all members of each LAG except the first that may send.
void Pass::thin( Destination& destination, U16 vlanId ) const
{
   std::vector<PortRef>& ports = destination.ports;
   std::erase_if( ports, [ & ]( PortRef port ) { return view_.isInternal( port ); } );
   for( const Lag& lag : view_.lags() ) {
      if( vlanId == domain_ && cameInBy( lag.ports.front() ) )
         continue; // all members are refused for the same reason
      const auto sender = std::ranges::find_if( lag.ports, [ & ]( PortRef port ) {
         return std::ranges::find( ports, port ) != ports.end() && refusal( port, vlanId ).empty();
      } );
      if( sender == lag.ports.end() )
         continue;
      std::erase_if( ports, [ & ]( PortRef port ) {
         if( port == *sender || !lag.has( port ) )
            return false;
         destination.leftOut[ view_.portName( *sender ) + " sends for " + lag.name ].push_back(
            port );
         return true;
      } );
   }
}

/// A bridged frame does not leave by the port that it came in by, nor by other ports of its LAG.
bool Pass::cameInBy( PortRef port ) const
{
   if( nextHop_ || !terminated_.empty() || arrival_.higig )
      return false;
   return port == arrival_.port || std::ranges::any_of( view_.lags(), [ & ]( const Lag& lag ) {
      return lag.has( port ) && lag.has( arrival_.port );
   } );
}

/// A frame for a port of a LAG leaves by the LAG's first member that may send.
PortRef Pass::memberThatSends( PortRef port, U16 vlanId ) const
{
   for( const Lag& lag : view_.lags() )
      if( lag.has( port ) )
         for( const PortRef member : lag.ports )
            if( refusal( member, vlanId ).empty() )
               return member;
   return port;
}

Pass::Destination Pass::portOrLag( PortRef port, U16 vlanId ) const
{
   const PortRef sender = memberThatSends( port, vlanId );
   Destination destination = onePort( sender );
   for( const Lag& lag : view_.lags() )
      if( lag.has( sender ) )
         destination.text += " of " + lag.name;
   return destination;
}

void Pass::knownStation( const Station& station )
{
   if( const auto* const group = std::get_if<Station::Group>( &station.place ) ) {
      destination_ = groupMembers( group->number );
      destination_.group = group->number;
      packetResult_ = PacketResult::L2MCKNOWN;
      return;
   }
   if( const auto* const port = std::get_if<PortRef>( &station.place ) )
      destination_ = portOrLag( *port, domain_ );
   else {
      destination_.tunnels = { std::get<Station::Tunnel>( station.place ).name };
      destination_.text = "tunnel " + destination_.tunnels.front();
   }
   if( !isRouterMac() )
      packetResult_ = PacketResult::L2UC;
}

/// Addresses of protocols between neighbours: 01:80:c2:00:00:00 to 0f.
static bool staysOnLink( const EthAddr& mac )
{
   return mac.toNumber() >> 4 == 0x0180C2000000 >> 4;
}

void Pass::bridge()
{
   const EthAddr& mac = headers().dstMac;
   const bool forNeighbour = staysOnLink( mac ) && !fromCpu();
   if( forNeighbour )
      drop( mac.toString() + " is never bridged", "a reserved address is never bridged" );
   const auto known = tables().stations.find( { domain_, mac } );
   if( known != tables().stations.end() ) {
      knownStation( known->second );
   } else if( !forNeighbour ) {
      // Of all floods the CPU gets only broadcasts; whether it gets a known group depends on the group's members.
      destination_ = floodIn( domain_, mac.isBroadcast() );
      if( !mac.isMulticast() && !isRouterMac() )
         packetResult_ = PacketResult::L2UNKNOWN;
   }
   note( "MAC", [ & ] {
      if( forNeighbour )
         return mac.toString() + " is only for the neighbour";
      return format( "%s in VLAN %d is %s: %s", mac.toString(), U32{ domain_ },
         known != tables().stations.end() ? "known"
         : mac.isBroadcast()              ? "for everyone"
                                          : "unknown",
         textOf( destination_ ) );
   } );
   const auto& ip = headers().ip;
   if( drop_.empty() && ip && ip->protocol == ipProtocolIgmp &&
       IpPrefix{ IpAddress::v4( 0xE0000000 ), 24 }.contains( ip->destination ) &&
       control( SwitchControl::IgmpReservedMcastEnable ) != 0 )
      askCpu( "IGMP to a reserved group (IgmpReservedMcastEnable)" );
   if( ip && control( SwitchControl::L2TrafficSrcIpLookup ) != 0 )
      lookUpSource();
   if( ip && ip->destination.isMulticast() )
      routeMulticast();
}

void Pass::learn()
{
   const EthAddr& mac = headers().srcMac;
   const StationKey key{ domain_, mac };
   // Its port was learned in the previous pass; the station has not moved to an internal port.
   const bool unusable =
      mac.isMulticast() || mac.isZero() || arrival_.higig || fromCpu() || arrival_.source == key ||
      ( view_.isInternal( arrival_.port ) && !view_.isLoopback( arrival_.port ) );
   if( unusable || doNotLearn_ || stp_ == StpState::blocking )
      return;
   Station::Place place = arrival_.port;
   if( !terminated_.empty() )
      place = Station::Tunnel{ terminated_ };
   const auto known = tables().stations.find( key );
   if( known != tables().stations.end() && ( known->second.fixed || known->second.place == place ) )
      return;
   result_.verdict.learning = Learning{ key, place };
   note( "learning", [ & ] {
      return format( "%s in VLAN %d is %s", mac.toString(), U32{ domain_ },
         terminated_.empty() ? "on " + view_.portName( arrival_.port ) : "behind " + terminated_ );
   } );
}

} // namespace Strata::Sim
