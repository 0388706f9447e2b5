// The tables by which packets are forwarded, which other parts of an agent own.
#include "platform/runtime/Format.h"
#include "platform/types/EthAddr.h"
#include "tool/Session.h"
#include "tool/packet/PacketWords.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <array>
#include <functional>
#include <iterator>
#include <optional>
#include <utility>

namespace Strata::Tool {

namespace {

using Vormel::EthAddr;

template<class E>
E takeEnum( Words& words, std::string_view what )
{
   std::vector<std::string_view> names;
   for( const auto& [ value, name ] : Vormel::enumTable<E> )
      names.push_back( name );
   return *Vormel::enumParse<E>( words.choose( what, names ) );
}

bool atWord( const Words& words, std::span<const std::string_view> stops )
{
   const Word* const next = words.peek();
   return next && std::ranges::find( stops, next->text ) != stops.end();
}

/// Takes ports that are not in the list yet, and adds them.
void addPorts( const Session& session, Words& words, std::vector<Sim::PortRef>& ports )
{
   for( const Sim::PortRef port : takePorts( session, words ) ) {
      if( std::ranges::find( ports, port ) != ports.end() )
         words.fail( session.packets().engine().portName( port ) + " is listed twice" );
      ports.push_back( port );
   }
}

/// Takes ports up to one of `stops`, or the end.
std::vector<Sim::PortRef> takePortList(
   const Session& session, Words& words, std::span<const std::string_view> stops )
{
   std::vector<Sim::PortRef> ports;
   do
      addPorts( session, words, ports );
   while( !words.done() && !atWord( words, stops ) );
   return ports;
}

/// The number of a multicast group; there is no group 0.
U32 takeGroup( const Session& session, Words& words )
{
   const U32 most = session.agent().hardware().profile().l2McastGroups - 1;
   return static_cast<U32>( words.number( "a multicast group", 1, most ) );
}

/// The front-panel ports of a VLAN; its internal ports are set by the slice and the chip.
void checkFrontPanel(
   const Session& session, const Words& words, const std::vector<Sim::PortRef>& ports )
{
   const Sim::Chips& chips = session.agent().hardware().chips();
   for( const Sim::PortRef port : ports )
      if( !chips.at( port.unit ).frontPanelPorts().contains( port.port ) )
         words.fail( session.packets().engine().portName( port ) +
                     " is not a front-panel port such as Ethernet1" );
}

constexpr std::array<std::string_view, 10> vlanProperties{ "svi", "no-svi", "drop-routed", "vxlan",
   "no-vxlan", "l3-class", "urpf", "mtu", "members", "tagged" };

/// The properties of a VLAN in a line.
struct VlanWords
{
   U16 vlanId = 0;
   Words::Taken taken;
   std::vector<std::function<void( Sim::VlanProperties& )>> properties;
   std::optional<std::vector<Sim::PortRef>> members; // of the front panel, just these
   std::optional<std::vector<Sim::PortRef>> tagged;  // of the members, just these
   const Word* taggedWord = nullptr;
   const Word* ofSvi = nullptr; // a property that only a routed interface has
};

/// The VNI of a VLAN, which no other VLAN has.
U32 takeVlanVni( const Session& session, Words& words, U16 vlanId )
{
   const U32 vni = takeVni( words );
   if( vni == 0 )
      words.fail( "VNI 0 is reserved; VLANs have 1 to 16777215" );
   if( const auto owner = session.packets().tables().vlanOfVni( vni ); owner && *owner != vlanId )
      words.fail( Vormel::format( "VNI %d belongs to VLAN %d", vni, *owner ) );
   return vni;
}

std::set<std::string> takeTunnels( const Session& session, Words& words )
{
   std::set<std::string> tunnels;
   while( words.peek() && !atWord( words, vlanProperties ) )
      if( const std::string name = takeTunnel( session, words ); !tunnels.insert( name ).second )
         words.fail( "tunnel " + name + " is listed twice" );
   return tunnels;
}

/// The longest packet that a routed interface sends.
U32 takeMtu( Words& words )
{
   constexpr U32 shortest = 68; // that a router must be able to send, RFC 791
   const U64 mtu = words.number( "an MTU in bytes", 0, Sim::longestFrame );
   if( mtu != 0 && mtu < shortest )
      words.fail( Vormel::format(
         "an MTU is %d to %d bytes, or 0 for no limit", shortest, Sim::longestFrame ) );
   return static_cast<U32>( mtu );
}

void takeVlanProperty( const Session& session, Words& words, VlanWords& asked )
{
   const auto set = [ & ]( auto&& change ) {
      asked.properties.emplace_back( std::forward<decltype( change )>( change ) );
   };
   const std::string_view property = words.chooseOnce( "a property", vlanProperties, asked.taken );
   constexpr std::array<std::string_view, 4> ofSvi{ "drop-routed", "l3-class", "urpf", "mtu" };
   if( std::ranges::find( ofSvi, property ) != ofSvi.end() )
      asked.ofSvi = words.last();
   if( property == "svi" ) {
      words.excludes( asked.taken, { "no-svi" } );
      set( []( Sim::VlanProperties& vlan ) { vlan.svi = true; } );
      if( words.accept( "mac" ) )
         set( [ mac = takeStationMac( words, "the router's MAC address in this VLAN" ) ](
                 Sim::VlanProperties& vlan ) { vlan.routerMac = mac; } );
   } else if( property == "no-svi" ) {
      words.excludes( asked.taken, { "svi", "drop-routed" } );
      set( []( Sim::VlanProperties& vlan ) { vlan.svi = vlan.dropRouted = false; } );
   } else if( property == "drop-routed" ) {
      words.excludes( asked.taken, { "no-svi" } );
      set( []( Sim::VlanProperties& vlan ) { vlan.dropRouted = true; } );
   } else if( property == "vxlan" ) {
      words.excludes( asked.taken, { "no-vxlan" } );
      const U32 vni = takeVlanVni( session, words, asked.vlanId );
      set( [ vni, tunnels = takeTunnels( session, words ) ]( Sim::VlanProperties& vlan ) {
         vlan.vni = vni;
         vlan.tunnels = tunnels;
      } );
   } else if( property == "no-vxlan" ) {
      words.excludes( asked.taken, { "vxlan" } );
      set( []( Sim::VlanProperties& vlan ) {
         vlan.vni.reset();
         vlan.tunnels.clear();
      } );
   } else if( property == "l3-class" ) {
      set( [ value = words.value<U32>( "the class of its L3 interface" ) ](
              Sim::VlanProperties& vlan ) { vlan.l3Class = value; } );
   } else if( property == "urpf" ) {
      set( [ mode = takeEnum<Sim::UrpfMode>( words, "a mode of the reverse-path check" ) ](
              Sim::VlanProperties& vlan ) { vlan.urpf = mode; } );
   } else if( property == "mtu" ) {
      set( [ mtu = takeMtu( words ) ]( Sim::VlanProperties& vlan ) { vlan.mtu = mtu; } );
   } else {
      if( property == "tagged" )
         asked.taggedWord = words.last();
      const std::vector<Sim::PortRef> ports = takePortList( session, words, vlanProperties );
      checkFrontPanel( session, words, ports );
      ( property == "tagged" ? asked.tagged : asked.members ) = ports;
   }
}

PortBitmap portsOn( U32 unit, const std::vector<Sim::PortRef>& ports )
{
   PortBitmap chosen;
   for( const Sim::PortRef port : ports )
      if( port.unit == unit )
         chosen.add( port.port );
   return chosen;
}

void setVlan( Session& session, U16 vlanId, const VlanWords& asked )
{
   Sim::SimSwitch& hardware = session.agent().hardware();
   hardware.vlanIs( vlanId );
   for( const auto& change : asked.properties )
      change( session.packets().tables().vlans[ vlanId ] );
   for( auto& [ unit, chip ] : hardware.chips() ) {
      Sim::ChipVlan& vlan = *chip.vlan( vlanId );
      if( asked.members ) {
         vlan.untagged = portsOn( unit, *asked.members );
         vlan.members = ( vlan.members - chip.frontPanelPorts() ) | vlan.untagged;
      }
      if( asked.tagged )
         vlan.untagged = ( vlan.members & chip.frontPanelPorts() ) - portsOn( unit, *asked.tagged );
   }
}

Act makeVlan( const Session& session, Words& words )
{
   const Sim::SimSwitch& hardware = session.agent().hardware();
   const U16 vlanId = takeVlanId( words );
   VlanWords asked;
   asked.vlanId = vlanId;
   while( !words.done() )
      takeVlanProperty( session, words, asked );
   const bool hasSvi =
      asked.taken.contains( "svi" ) ||
      ( session.packets().tables().vlan( vlanId ).svi && !asked.taken.contains( "no-svi" ) );
   if( asked.ofSvi && !hasSvi )
      words.failAt( *asked.ofSvi, "'" + asked.ofSvi->text +
                                     "' is a setting of a routed interface; "
                                     "give the VLAN one with 'svi'" );
   for( const auto& [ unit, chip ] : hardware.chips() ) {
      const auto vlan = chip.vlans().find( vlanId );
      const PortBitmap members = asked.members                ? portsOn( unit, *asked.members )
                                 : vlan != chip.vlans().end() ? vlan->second.members
                                                              : chip.frontPanelPorts();
      if( asked.tagged && !( portsOn( unit, *asked.tagged ) - members ).empty() )
         words.failAt( *asked.taggedWord, "a tagged port must be a member of the VLAN" );
   }
   return [ = ]( Session& live ) { setVlan( live, vlanId, asked ); };
}

Act removeVlan( const Session& session, Words& words )
{
   const U16 vlanId = takeVlan( session, words );
   return [ vlanId ]( Session& live ) {
      live.agent().hardware().vlanDel( vlanId );
      live.packets().tables().vlans.erase( vlanId );
   };
}

Act setNativeVlan( const Session& session, Words& words )
{
   const U16 vlanId = takeVlan( session, words );
   return [ vlanId, ports = takePortList( session, words, {} ) ]( Session& live ) {
      for( const Sim::PortRef port : ports )
         live.packets().tables().nativeVlan[ port ] = vlanId;
   };
}

Sim::Station::Place takeStationPlace( const Session& session, Words& words )
{
   if( words.accept( "tunnel" ) )
      return Sim::Station::Tunnel{ takeTunnel( session, words ) };
   if( !words.accept( "group" ) )
      return takePortOrLag( session, words );
   const U32 group = takeGroup( session, words );
   if( !session.packets().tables().l2Groups.contains( group ) )
      words.fail( Vormel::format( "there is no multicast group %d; make it first, as in 'l2mcast "
                                  "%d Ethernet1'",
         group, group ) );
   return Sim::Station::Group{ group };
}

Act addStation( const Session& session, Words& words )
{
   const EthAddr mac = words.value<EthAddr>( "a MAC address" );
   const Word& macWord = *words.last();
   words.expect( "vlan" );
   const Sim::StationKey key{ takeVlan( session, words ), mac };
   const Sim::Station station{ takeStationPlace( session, words ), true };
   const bool isGroup = std::holds_alternative<Sim::Station::Group>( station.place );
   if( mac.isZero() || mac.isBroadcast() || mac.isMulticast() != isGroup )
      words.failAt( macWord, mac.toString() + " is not the address of a " +
                                ( isGroup ? "group" : "station" ) +
                                "; a port, LAG or tunnel has a station, 'group N' a group" );
   return [ = ]( Session& live ) { live.packets().tables().stations[ key ] = station; };
}

Act removeStation( const Session& session, Words& words )
{
   const auto& stations = session.packets().tables().stations;
   if( words.accept( "learned" ) )
      return []( Session& live ) {
         std::erase_if( live.packets().tables().stations,
            []( const auto& item ) { return !item.second.fixed; } );
      };
   const EthAddr mac = words.value<EthAddr>( "a MAC address" );
   const Word& macWord = *words.last();
   words.expect( "vlan" );
   const Sim::StationKey key{ takeVlanId( words ), mac };
   if( !stations.contains( key ) )
      words.failAt( macWord, key.mac.toString() + " is not known in VLAN " +
                                std::to_string( key.vlanId ) +
                                "; 'show macs' lists the addresses" );
   return [ key ]( Session& live ) { live.packets().tables().stations.erase( key ); };
}

Act setStp( const Session& session, Words& words )
{
   const Sim::PortRef port = takePort( session, words );
   checkFrontPanel( session, words, { port } );
   const auto state = takeEnum<Sim::StpState>( words, "a spanning-tree state" );
   const U16 vlanId = words.accept( "vlan" ) ? takeVlan( session, words ) : U16{ 0 };
   return [ = ]( Session& live ) { live.packets().tables().stp[ { port, vlanId } ] = state; };
}

Act setOpenFlow( const Session& session, Words& words )
{
   return [ ports = takePortList( session, words, {} ) ]( Session& live ) {
      live.packets().tables().openFlowPorts.insert( ports.begin(), ports.end() );
   };
}

Act addRoute( const Session& session, Words& words )
{
   const Sim::IpPrefix prefix = takePrefix( words );
   Sim::Route route{ takeNextHop( session, words ), 0 };
   if( words.accept( "class" ) )
      route.sourceClass = words.value<U32>( "the class of its sources" );
   return [ = ]( Session& live ) { live.packets().tables().routes.routeIs( prefix, route ); };
}

Act removeRoute( const Session& session, Words& words )
{
   const Sim::IpPrefix prefix = takePrefix( words );
   if( std::ranges::none_of( session.packets().tables().routes.all(),
          [ & ]( const auto& route ) { return route.prefix == prefix; } ) )
      words.fail( "there is no route " + prefix.toString() + "; 'show routes' lists them" );
   return [ prefix ]( Session& live ) { live.packets().tables().routes.routeDel( prefix ); };
}

Sim::IpAddress takeTunnelEnd( Words& words, std::string_view what )
{
   const Sim::IpAddress address = takeAddress( words, what );
   if( address.isMartian( true ) )
      words.fail( address.toString() + " is not the unicast address of a switch" );
   return address;
}

Act addTunnel( const Session& session, Words& words )
{
   constexpr std::array<std::string_view, 1> behind{ "local" };
   const std::string name = words.name( "a tunnel's name", behind );
   if( std::ranges::find( vlanProperties, name ) != vlanProperties.end() )
      words.fail( "'" + name + "' is a property of VLANs; give the tunnel another name" );
   words.expect( "local" );
   const Sim::IpAddress local = takeTunnelEnd( words, "the address of this end" );
   words.expect( "remote" );
   const Sim::IpAddress remote = takeTunnelEnd( words, "the address of the other end" );
   if( local.isV6() != remote.isV6() )
      words.fail( "both ends of a tunnel have addresses of one family; " + local.toString() +
                  " is of the other" );
   if( local == remote )
      words.fail(
         "both ends of the tunnel are " + local.toString() + "; the other end is another switch" );
   const Word* const way = words.peek( 1 ); // behind "via"
   const Sim::NextHop underlay = takeNextHop( session, words );
   if( underlay.kind != Sim::NextHop::Kind::port )
      words.failAt( *way, "the next hop of a tunnel must be on a port" );
   return [ = ]( Session& live ) {
      live.packets().tables().tunnels[ name ] = { local, remote, underlay };
   };
}

Act addSteering( const Session& session, Words& words )
{
   constexpr std::array<std::string_view, 4> behind{ "in", "from", "to", "via" };
   const std::string name = words.name( "the rule's name", behind );
   Sim::SteeringRule rule;
   if( words.accept( "in" ) )
      rule.port = takePort( session, words );
   if( words.accept( "from" ) )
      rule.source = takePrefix( words );
   if( words.accept( "to" ) )
      rule.destination = takePrefix( words );
   if( rule.source && rule.destination &&
       rule.source->address.isV6() != rule.destination->address.isV6() )
      words.fail( "'from' and 'to' have prefixes of one family; " + rule.source->toString() +
                  " is of the other" );
   rule.nextHop = takeNextHop( session, words );
   return [ = ]( Session& live ) { live.packets().tables().steering[ name ] = rule; };
}

Act removeSteering( const Session& session, Words& words )
{
   const std::string name = words.take( "the rule's name" ).text;
   if( !session.packets().tables().steering.contains( name ) )
      words.fail( "there is no rule '" + name + "'; 'show forwarding' lists them" );
   return [ name ]( Session& live ) { live.packets().tables().steering.erase( name ); };
}

Act addLabel( const Session& session, Words& words )
{
   const auto isReserved = []( U32 label ) { return label < 16; }; // RFC 3032, 2.1
   const U32 label = takeLabel( words, "a label" );
   if( isReserved( label ) )
      words.fail( "labels 0 to 15 are reserved; write 16 to 1048575" );
   Sim::LabelRule rule;
   if( words.accept( "swap" ) ) {
      rule.swap = takeLabel( words, "the new label" );
      if( isReserved( *rule.swap ) && *rule.swap != 0 && *rule.swap != 2 )
         words.fail( "labels 0 to 15 are reserved; of them, a swap accepts only 0 and 2" );
   } else {
      words.choose( "an action", std::array<std::string_view, 2>{ "pop", "swap" } );
   }
   if( rule.swap || !words.done() )
      rule.nextHop = takeNextHop( session, words );
   return [ = ]( Session& live ) { live.packets().tables().labels[ label ] = rule; };
}

Act setGroup( const Session& session, Words& words )
{
   const U32 number = takeGroup( session, words );
   Sim::McastGroup group;
   std::vector<Sim::PortRef> ports;
   Words::Taken taken;
   while( !words.done() ) {
      if( words.acceptOnce( "cpu", taken ) )
         group.cpu = true;
      else if( !words.accept( "tunnel" ) )
         addPorts( session, words, ports );
      else if( const std::string name = takeTunnel( session, words );
               !group.tunnels.insert( name ).second )
         words.fail( "tunnel " + name + " is listed twice" );
   }
   checkFrontPanel( session, words, ports );
   group.ports.insert( ports.begin(), ports.end() );
   return [ = ]( Session& live ) { live.packets().tables().l2Groups[ number ] = group; };
}

Act addMcastRoute( const Session& session, Words& words )
{
   const Sim::IpAddress address = takeAddress( words, "an IP multicast group" );
   if( !address.isMulticast() )
      words.fail( address.toString() + " is not a multicast address; 'route' routes unicast" );
   if( address.isLinkLocal() )
      words.fail( address.toString() + " stays on its link; no router forwards it" );
   std::set<U16> into;
   while( !words.done() ) {
      words.expect( "vlan" );
      if( const U16 vlanId = takeVlan( session, words ); !into.insert( vlanId ).second )
         words.fail( "VLAN " + std::to_string( vlanId ) + " is listed twice" );
   }
   return [ = ]( Session& live ) { live.packets().tables().mcastRoutes[ address ] = into; };
}

} // namespace

std::vector<Command> tableCommands()
{
   return {
      { "vlan",
         "ID [svi [mac MAC]|no-svi] [drop-routed] [vxlan VNI TUNNEL...|no-vxlan] [l3-class N] "
         "[urpf off|loose|strict] [mtu N] [members PORTS] [tagged PORTS]",
         "make a VLAN of all ports on every unit; set its properties", makeVlan },
      { "no vlan", "ID", "remove a VLAN", removeVlan },
      { "native-vlan", "ID PORTS", "the VLAN of untagged packets from these ports; 1 by default",
         setNativeVlan },
      { "mac", "MAC vlan ID PORT|LAG|tunnel NAME|group N", "configure a MAC address", addStation },
      { "no mac", "MAC vlan ID|learned", "remove one MAC address, or all that were learned",
         removeStation },
      { "stp", "PORT forwarding|learning|blocking [vlan ID]", "spanning-tree state", setStp },
      { "openflow", "PORTS", "packets from these ports belong to OpenFlow", setOpenFlow },
      { "route", "PREFIX via NEXTHOP [class N]", "add a route", addRoute },
      { "no route", "PREFIX", "remove a route", removeRoute },
      { "tunnel", "NAME local ADDRESS remote ADDRESS via PORT|LAG mac MAC vlan ID",
         "make a VXLAN tunnel", addTunnel },
      { "pbr", "NAME [in PORT] [from PREFIX] [to PREFIX] via NEXTHOP",
         "add a policy-routing rule; rules are tried in order of their names", addSteering },
      { "no pbr", "NAME", "remove a rule", removeSteering },
      { "mpls", "LABEL swap LABEL|pop [via NEXTHOP]",
         "switch by a label; behind a label that is popped without a next hop, the packet is looked up",
         addLabel },
      { "l2mcast", "GROUP [PORTS|tunnel NAME|cpu]...", "set the members of an L2 multicast group",
         setGroup },
      { "mroute", "ADDRESS [vlan ID]...", "route an IP multicast group into these VLANs",
         addMcastRoute },
   };
}

} // namespace Strata::Tool
