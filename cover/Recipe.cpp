#include "cover/Recipe.h"

#include "platform/runtime/Format.h"

#include <algorithm>

namespace Strata::Cover {

using namespace Sim;
using Vormel::format;

namespace {

constexpr const char* hopMac = "02:00:00:00:00:03";
// As frames have them where their words do not say otherwise.
constexpr const char* usualSource4 = "10.0.0.1";
constexpr const char* usualSource6 = "2001:db8::1";
constexpr const char* usualDestination4 = "10.0.0.2";
constexpr const char* usualDestination6 = "2001:db8::2";
constexpr const char* ruleName = "cover";
constexpr U32 unknownLabel = 1;
constexpr U32 switchedLabel = 1048575;

IpAddress address( const char* text )
{
   return *IpAddress::parse( text );
}

std::string macText( U64 number )
{
   EthAddr mac;
   for( U32 i = 0; i < EthAddr::size; ++i )
      mac.byteIs( i, static_cast<U8>( number >> ( 40 - 8 * i ) ) );
   return mac.toString();
}

} // namespace

Recipe::Recipe( const Facts& facts, const Shape& shape ) : facts_( facts ), shape_( shape )
{
   makeVlans();
   makeArrival();
   if( shape.tunnel )
      makeTunnel();
   makeStation();
   makeRoutes();
   makeMulticast();
   packet_ = makePacket();
}

// --- Addresses -----------------------------------------------------------------------------------

bool Recipe::looksUpIp( bool v6 ) const
{
   if( shape_.popped )
      return shape_.popsV6 == v6;
   return lookedUp() == ( v6 ? Payload::ipv6 : Payload::ipv4 );
}

IpAddress Recipe::source( bool v6 ) const
{
   return address( v6 ? usualSource6 : usualSource4 );
}

IpAddress Recipe::outerDestination() const
{
   return shape_.payload == Payload::ipv4 ? IpAddress::v4( shape_.dstIp )
                                          : address( "2001:db8:1::1" );
}

IpAddress Recipe::destination() const
{
   const bool v6 = looksUpIp( true );
   const U64 mac = shape_.tunnel ? shape_.innerMac : shape_.dstMac;
   if( shape_.replicated && v6 ) {
      std::array<U8, 16> bytes{ 0xFF, 0x1E };
      for( U32 i = 0; i < 4; ++i )
         bytes[ 12 + i ] = static_cast<U8>( mac >> ( 24 - 8 * i ) );
      return IpAddress::v6( bytes );
   }
   if( !v6 && !shape_.tunnel && !shape_.popped )
      return IpAddress::v4( shape_.dstIp );
   if( shape_.replicated )
      return IpAddress::v4( 0xEF000000 | static_cast<U32>( mac & 0x7FFFFF ) );
   return address( v6 ? usualDestination6 : usualDestination4 );
}

// --- Rows ----------------------------------------------------------------------------------------

U32 Recipe::vniOf( U16 vlanId )
{
   if( const auto& has = facts_.tables.vlan( vlanId ).vni )
      return *has;
   U32 vni = 5000 + vlanId;
   while( facts_.tables.vlanOfVni( vni ) )
      vni += 4096;
   return vni;
}

void Recipe::makeVlan(
   const VlanPlace& place, bool svi, bool dropRouted, bool vxlan, bool isDomain )
{
   const VlanProperties& now = facts_.tables.vlan( place.id );
   std::string add;
   std::string remove;
   const auto property = [ & ]( bool has, bool wanted, const char* name,
                            const std::string& words = "" ) {
      if( wanted && ( !has || !words.empty() ) )
         add += std::string( " " ) + name + words;
      else if( has && !wanted )
         remove += std::string( " " ) + name;
   };
   property( now.svi, svi, "svi" );
   if( now.dropRouted && !dropRouted ? svi : now.dropRouted != dropRouted ) // it goes with the SVI
      property( now.dropRouted, dropRouted, "drop-routed" );
   if( vxlan && !now.vni )
      add += format( " vxlan %d", vniOf( place.id ) );
   else if( !vxlan && now.vni )
      remove += " vxlan";
   if( isDomain ) {
      if( shape_.l3Class != now.l3Class )
         property(
            now.l3Class != 0, shape_.l3Class != 0, "l3-class", format( " %d", shape_.l3Class ) );
      if( shape_.checked && now.urpf == UrpfMode::off )
         add += " urpf loose";
      else if( !shape_.checked && now.urpf != UrpfMode::off )
         remove += " urpf";
      if( now.mtu != 0 )
         remove += " mtu";
   }
   if( !remove.empty() )
      row( format( "no vlan %d", place.id ) + remove );
   if( !add.empty() || !place.exists )
      row( format( "vlan %d", place.id ) + add );
}

void Recipe::makeVlans()
{
   makeVlan( vlan(), shape_.svi, shape_.dropRouted, shape_.vxlan, shape_.domain == shape_.vlan );
   if( shape_.domain != shape_.vlan )
      makeVlan( domain(), shape_.domainSvi, shape_.domainDropRouted, true, true );
}

void Recipe::makeArrival()
{
   const ArrivalPlace& arrival = facts_.arrivals[ shape_.arrival ];
   if( arrival.stack )
      return;
   const std::string words = facts_.portWords( arrival.port );
   const bool isBlocked = facts_.tables.stpState( arrival.port, vlan().id ) != StpState::forwarding;
   if( arrival.frontPanel && shape_.blocked != isBlocked )
      row( format(
         "stp %s %s vlan %d", words, shape_.blocked ? "blocking" : "forwarding", vlan().id ) );
   if( shape_.openFlow != facts_.tables.openFlowPorts.contains( arrival.port ) )
      row( ( shape_.openFlow ? "openflow " : "no openflow " ) + words );
}

std::string Recipe::somePort() const
{
   return facts_.portWords( facts_.destinations.front() );
}

void Recipe::makeTunnel()
{
   vni_ = vniOf( domain().id );
   const IpAddress local = outerDestination();
   tunnelSource_ = local.isV6() ? address( "2001:db8:1::2" ) : address( "192.0.2.2" );
   if( tunnelSource_ == local )
      tunnelSource_ = address( "192.0.2.3" );
   for( const auto& [ name, tunnel ] : facts_.tables.tunnels )
      if( tunnel.local == local ) {
         tunnelSource_ = tunnel.remote;
         tunnelMade_ = name;
         return;
      }
   tunnelMade_ = ruleName;
   row( format( "tunnel %s local %s remote %s via %s mac %s vlan %d", ruleName, local.toString(),
      tunnelSource_.toString(), somePort(), hopMac, vlan().id ) );
}

std::string Recipe::tunnelName()
{
   if( !tunnelMade_.empty() )
      return tunnelMade_;
   if( !facts_.tables.tunnels.empty() )
      return facts_.tables.tunnels.begin()->first;
   tunnelMade_ = ruleName;
   row( format( "tunnel %s local 192.0.2.1 remote 192.0.2.2 via %s mac %s vlan %d", ruleName,
      somePort(), hopMac, vlan().id ) );
   return tunnelMade_;
}

void Recipe::makeStation()
{
   const U64 mac = shape_.tunnel ? shape_.innerMac : shape_.dstMac;
   const auto& stations = facts_.tables.stations;
   const auto known = std::ranges::find_if( stations, [ & ]( const auto& item ) {
      return item.first.vlanId == domain().id && item.first.mac.toNumber() == mac;
   } );
   const std::string key = format( "mac %s vlan %d", macText( mac ), domain().id );
   switch( shape_.fate ) {
   case Fate::flooded:
      if( known != stations.end() )
         row( "no " + key );
      return;
   case Fate::toPort:
      return row( key + " " + facts_.portWords( facts_.destinations[ shape_.port ] ) );
   case Fate::toGroup:
      if( !facts_.tables.l2Groups.contains( shape_.group ) )
         row( format( "l2mcast %d cpu", shape_.group ) );
      return row( key + format( " group %d", shape_.group ) );
   case Fate::toTunnel:
      return row( key + " tunnel " + tunnelName() );
   default:
      return; // not bridged
   }
}

/// Whether a packet that is too long can be routed into it, because it has the interface that an MTU is of.
bool Recipe::takesMtu( const VlanPlace& place ) const
{
   const bool hasSvi = &place == &domain() ? shape_.domainSvi
                       : &place == &vlan() ? shape_.svi
                                           : true;
   return !shape_.tooLong || hasSvi;
}

U16 Recipe::vlanWith( bool vxlan )
{
   const auto fits = [ & ]( const VlanPlace& place ) {
      if( !takesMtu( place ) )
         return false;
      if( &place == &domain() && shape_.tunnel )
         return vxlan;
      if( &place == &vlan() )
         return shape_.vxlan == vxlan;
      return place.exists && facts_.tables.vlan( place.id ).vni.has_value() == vxlan;
   };
   if( fits( domain() ) )
      return domain().id;
   for( const VlanPlace& place : facts_.vlans )
      if( fits( place ) )
         return place.id;
   U16 made = facts_.vlans.back().id;
   if( made == domain().id )
      --made;
   row( format( "vlan %d", made ) + ( vxlan ? format( " vxlan %d", vniOf( made ) ) : "" ) );
   return made;
}

std::string Recipe::nextHop()
{
   const auto behind = [ & ]( const std::string& place, U16 vlanId ) {
      return format( " via %s mac %s vlan %d", place, hopMac, vlanId );
   };
   const auto near = [ & ] { return takesMtu( domain() ) ? domain().id : vlanWith( false ); };
   switch( shape_.fate ) {
   case Fate::hopCpu:
      return " via cpu";
   case Fate::hopFlood:
      return behind( "flood", vlanWith( false ) );
   case Fate::hopVxlanFlood:
      return behind( "flood", vlanWith( true ) );
   case Fate::hopTunnel:
      return behind( "tunnel " + tunnelName(), near() );
   default:
      break;
   }
   const PortRef port = facts_.destinations[ shape_.port ];
   return behind( facts_.isCpu( port ) // which 'via cpu' would make a next hop at the CPU
                     ? format( "port %d unit %d", port.port, port.unit )
                     : facts_.portWords( port ),
      near() );
}

void Recipe::makeRoutes()
{
   const bool v6 = looksUpIp( true );
   const bool isIp = v6 || looksUpIp( false );
   if( shape_.switched )
      return row( format( "mpls %d pop", switchedLabel ) + nextHop() );
   if( !isIp )
      return;
   const IpAddress to = destination();
   const IpAddress from = source( v6 );
   const char* const whole = v6 ? "/128" : "/32";
   if( const auto found = facts_.tables.routes.lookup( from );
       ( found ? found->route->sourceClass : 0 ) != shape_.sourceClass )
      row( format( "route %s%s via cpu class %d", from.toString(), whole, shape_.sourceClass ) );
   if( !isHop() && shape_.fate != Fate::lost )
      return;
   for( const auto& [ name, rule ] : facts_.tables.steering )
      if( ( !rule.port || *rule.port == facts_.arrivals[ shape_.arrival ].port ) &&
          ( !rule.source || rule.source->contains( from ) ) &&
          ( !rule.destination || rule.destination->contains( to ) ) )
         row( "no pbr " + name );
   if( isHop() ) {
      const std::string hop = nextHop();
      if( shape_.tooLong )
         row( "vlan" + hop.substr( hop.rfind( ' ' ) ) + " svi mtu 68" );
      return row(
         ( shape_.steered ? format( "pbr %s", ruleName ) : "route " + to.toString() + whole ) +
         hop );
   }
   for( const RouteTable::Found& route : facts_.tables.routes.all() )
      if( route.prefix.contains( to ) )
         row( "no route " + route.prefix.toString() );
}

void Recipe::makeMulticast()
{
   if( lookedUp() != Payload::ipv4 && lookedUp() != Payload::ipv6 )
      return;
   const IpAddress to = destination();
   if( shape_.replicated != facts_.tables.mcastRoutes.contains( to ) )
      row( ( shape_.replicated ? "mroute " : "no mroute " ) + to.toString() );
}

// --- The packet ----------------------------------------------------------------------------------

std::string Recipe::ipWords( bool v6, bool outer ) const
{
   const bool innermost = shape_.popped || ( shape_.tunnel && !outer );
   const bool isTunnel = outer && shape_.tunnel;
   std::string text = v6 ? "ipv6" : "ipv4";
   if( isTunnel )
      text += " src " + tunnelSource_.toString() + " dst " + outerDestination().toString();
   else if( destination() != address( v6 ? usualDestination6 : usualDestination4 ) )
      text += " dst " + destination().toString();
   if( const U32 ttl = innermost ? shape_.innerTtl : shape_.ttl; ttl != 64 )
      text += format( " ttl %d", ttl );
   if( isTunnel )
      return text +
             format( " udp vxlan %d dmac %s %s", vni_, macText( shape_.innerMac ),
                shape_.tagged ? "vlan 2 " : "" ) +
             network( shape_.inner, false );
   if( innermost )
      return text;
   if( shape_.protocol == ipProtocolUdp && shape_.l4Port == 53 )
      return text; // as frames have it
   if( shape_.protocol == 6 || shape_.protocol == ipProtocolUdp )
      return text + ( shape_.protocol == 6 ? " tcp" : " udp" ) +
             format( " dport %d", shape_.l4Port );
   return text + ( v6 ? " icmp" : format( " protocol %d", shape_.protocol ) );
}

std::string Recipe::network( Payload payload, bool outer ) const
{
   switch( payload ) {
   case Payload::arpRequest:
      return "arp request";
   case Payload::arpReply:
      return "arp reply";
   case Payload::ipv4:
      return ipWords( false, outer );
   case Payload::ipv6:
      return ipWords( true, outer );
   case Payload::mpls:
      if( shape_.popped )
         return format( "mpls %d ", shape_.popsV6 ? 2 : 0 ) + ipWords( shape_.popsV6, false );
      return format( "mpls %d ipv4", shape_.switched ? switchedLabel : unknownLabel );
   case Payload::other:
      break;
   }
   return format( "ethertype 0x%x", outer ? shape_.etherType : usualEtherType );
}

std::string Recipe::makePacket() const
{
   std::string text = "in " + facts_.arrivalWords( facts_.arrivals[ shape_.arrival ] ) + " dmac " +
                      macText( shape_.dstMac ) + format( " vlan %d", vlan().id );
   if( shape_.priority != 0 )
      text += format( " priority %d", shape_.priority );
   return text + " " + network( shape_.payload, true ) + ( shape_.tooLong ? " length 400" : "" );
}

} // namespace Strata::Cover
