// The tables by which packets are bridged, which other parts of an agent own: VLANs, MAC addresses, spanning tree,
// multicast groups.
#include "platform/runtime/Format.h"
#include "platform/types/EthAddr.h"
#include "tool/Session.h"
#include "tool/packet/PacketWords.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <array>
#include <functional>
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
      set( []( Sim::VlanProperties& vlan ) { vlan.svi = true; } );
      if( words.accept( "mac" ) )
         set( [ mac = takeStationMac( words, "the router's MAC address in this VLAN" ) ](
                 Sim::VlanProperties& vlan ) { vlan.routerMac = mac; } );
   } else if( property == "drop-routed" ) {
      set( []( Sim::VlanProperties& vlan ) { vlan.dropRouted = true; } );
   } else if( property == "vxlan" ) {
      const U32 vni = takeVlanVni( session, words, asked.vlanId );
      set( [ vni, tunnels = takeTunnels( session, words ) ]( Sim::VlanProperties& vlan ) {
         vlan.vni = vni;
         vlan.tunnels = tunnels;
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
      asked.taken.contains( "svi" ) || session.packets().tables().vlan( vlanId ).svi;
   if( asked.ofSvi && !hasSvi )
      words.failAt( *asked.ofSvi, "'" + asked.ofSvi->text +
                                     "' is a setting of a routed interface; "
                                     "give the VLAN one with 'svi'" );
   for( const auto& [ unit, chip ] : hardware.chips() ) {
      const auto vlan = chip.vlans().find( vlanId );
      const PortBitmap members = asked.members                ? portsOn( unit, *asked.members )
                                 : vlan != chip.vlans().end() ? vlan->second.members
                                                              : chip.frontPanelPorts();
      for( const Sim::PortRef port : asked.tagged.value_or( std::vector<Sim::PortRef>() ) )
         if( port.unit == unit && !members.contains( port.port ) )
            words.failAt( *asked.taggedWord, "a tagged port must be a member of the VLAN; " +
                                                session.packets().engine().portName( port ) +
                                                " is not" );
   }
   return [ = ]( Session& live ) { setVlan( live, vlanId, asked ); };
}

void resetVlanProperty( Sim::VlanProperties& vlan, std::string_view property )
{
   const Sim::VlanProperties plain;
   if( property == "svi" ) { // its settings go with it
      Sim::VlanProperties without;
      std::swap( without.vni, vlan.vni );
      std::swap( without.tunnels, vlan.tunnels );
      vlan = without;
   } else if( property == "drop-routed" ) {
      vlan.dropRouted = false;
   } else if( property == "vxlan" ) {
      vlan.vni.reset();
      vlan.tunnels.clear();
   } else if( property == "l3-class" ) {
      vlan.l3Class = plain.l3Class;
   } else if( property == "urpf" ) {
      vlan.urpf = plain.urpf;
   } else {
      vlan.mtu = plain.mtu;
   }
}

/// Takes ports out of a VLAN, or lets them send untagged frames.
void resetVlanPorts( Session& session, U16 vlanId, const VlanWords& asked )
{
   for( auto& [ unit, chip ] : session.agent().hardware().chips() ) {
      if( !chip.vlans().contains( vlanId ) )
         continue;
      Sim::ChipVlan& vlan = *chip.vlan( vlanId );
      if( asked.members ) {
         vlan.members = vlan.members - portsOn( unit, *asked.members );
         vlan.untagged = vlan.untagged - portsOn( unit, *asked.members );
      }
      if( asked.tagged )
         vlan.untagged = vlan.untagged | ( vlan.members & portsOn( unit, *asked.tagged ) );
   }
}

/// In the order of an agent: first what belongs to the VLAN. The slice forgets a VLAN when it is named once more.
void vlanDel( Session& session, U16 vlanId )
{
   Sim::ForwardingTables& tables = session.packets().tables();
   std::erase_if(
      tables.stations, [ & ]( const auto& item ) { return item.first.vlanId == vlanId; } );
   std::erase_if( tables.nativeVlan, [ & ]( const auto& item ) { return item.second == vlanId; } );
   std::erase_if( tables.stp, [ & ]( const auto& item ) { return item.first.second == vlanId; } );
   tables.vlans.erase( vlanId );
   session.agent().hardware().vlanDel( vlanId );
   session.agent().call( "enableVlanRouting", vlanId, false );
}

Act removeVlan( const Session& session, Words& words )
{
   const U16 vlanId = takeVlan( session, words );
   if( words.done() )
      return [ vlanId ]( Session& live ) { vlanDel( live, vlanId ); };
   VlanWords asked;
   do {
      const std::string_view property =
         words.chooseOnce( "a property", vlanProperties, asked.taken );
      if( property == "members" || property == "tagged" ) {
         const std::vector<Sim::PortRef> ports = takePortList( session, words, vlanProperties );
         checkFrontPanel( session, words, ports );
         ( property == "tagged" ? asked.tagged : asked.members ) = ports;
      } else {
         asked.properties.emplace_back(
            [ property ]( Sim::VlanProperties& vlan ) { resetVlanProperty( vlan, property ); } );
      }
   } while( !words.done() );
   return [ = ]( Session& live ) {
      for( const auto& change : asked.properties )
         change( live.packets().tables().vlans[ vlanId ] );
      resetVlanPorts( live, vlanId, asked );
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

Act resetNativeVlan( const Session& session, Words& words )
{
   std::vector<Sim::PortRef> ports;
   do
      for( const Sim::PortRef port : takePorts( session, words ) ) {
         if( !session.packets().tables().nativeVlan.contains( port ) )
            words.fail( session.packets().engine().portName( port ) +
                        " has VLAN 1 already; 'native-vlan ID PORTS' gives it another" );
         ports.push_back( port );
      }
   while( !words.done() );
   return [ ports ]( Session& live ) {
      for( const Sim::PortRef port : ports )
         live.packets().tables().nativeVlan.erase( port );
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

Act resetStp( const Session& session, Words& words )
{
   const Sim::PortRef port = takePort( session, words );
   const Word& word = *words.last();
   const U16 vlanId = words.accept( "vlan" ) ? takeVlanId( words ) : U16{ 0 };
   const std::pair key( port, vlanId );
   if( !session.packets().tables().stp.contains( key ) )
      words.failAt( word, session.packets().engine().portName( port ) + " has no state of its own" +
                             ( vlanId == 0 ? "" : " in VLAN " + std::to_string( vlanId ) ) +
                             "; 'show forwarding' lists the states" );
   return [ key ]( Session& live ) { live.packets().tables().stp.erase( key ); };
}

Act setOpenFlow( const Session& session, Words& words )
{
   return [ ports = takePortList( session, words, {} ) ]( Session& live ) {
      live.packets().tables().openFlowPorts.insert( ports.begin(), ports.end() );
   };
}

Act resetOpenFlow( const Session& session, Words& words )
{
   std::vector<Sim::PortRef> ports;
   do
      for( const Sim::PortRef port : takePorts( session, words ) ) {
         if( !session.packets().tables().openFlowPorts.contains( port ) )
            words.fail( session.packets().engine().portName( port ) +
                        " does not belong to OpenFlow; 'show forwarding' lists the ports" );
         ports.push_back( port );
      }
   while( !words.done() );
   return [ ports ]( Session& live ) {
      for( const Sim::PortRef port : ports )
         live.packets().tables().openFlowPorts.erase( port );
   };
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

Act removeGroup( const Session& session, Words& words )
{
   const U32 number = takeGroup( session, words );
   if( !session.packets().tables().l2Groups.contains( number ) )
      words.fail( "there is no multicast group " + std::to_string( number ) +
                  "; 'show forwarding' lists them" );
   return [ number ]( Session& live ) { live.packets().tables().l2Groups.erase( number ); };
}

} // namespace

std::vector<Command> tableCommands()
{
   return {
      { "vlan",
         "ID [svi [mac MAC]] [drop-routed] [vxlan VNI [TUNNEL]...] [l3-class N] "
         "[urpf off|loose|strict] [mtu N] [members PORTS] [tagged PORTS]",
         "make a VLAN of all ports on every unit; set its properties", makeVlan },
      { "no vlan",
         "ID [svi] [drop-routed] [vxlan] [l3-class] [urpf] [mtu] [members PORTS] [tagged PORTS]",
         "remove a VLAN with its MAC addresses, or only some of its properties or ports",
         removeVlan },
      { "native-vlan", "ID PORTS", "the VLAN of untagged packets from these ports; 1 by default",
         setNativeVlan },
      { "no native-vlan", "PORTS", "VLAN 1 for untagged packets from these ports",
         resetNativeVlan },
      { "mac", "MAC vlan ID PORT|LAG|tunnel NAME|group N", "configure a MAC address", addStation },
      { "no mac", "MAC vlan ID|learned", "remove one MAC address, or all that were learned",
         removeStation },
      { "stp", "PORT forwarding|learning|blocking [vlan ID]", "spanning-tree state", setStp },
      { "no stp", "PORT [vlan ID]", "forwarding again, or the port's state again in this VLAN",
         resetStp },
      { "openflow", "PORTS", "packets from these ports belong to OpenFlow", setOpenFlow },
      { "no openflow", "PORTS", "packets from these ports are switched again", resetOpenFlow },
      { "l2mcast", "GROUP [PORTS|tunnel NAME|cpu]...", "set the members of an L2 multicast group",
         setGroup },
      { "no l2mcast", "GROUP", "remove an L2 multicast group", removeGroup },
   };
}

} // namespace Strata::Tool
