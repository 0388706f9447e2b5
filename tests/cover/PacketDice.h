// Packets and table rows at random.
#pragma once

#include "cover/Facts.h"
#include "platform/types/EthAddr.h"
#include "tool/Session.h"
#include "tool/packet/PacketWords.h"

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace Strata::Cover {

/// Rows, frames and ports at random, of addresses, VLANs and numbers that the switch knows or nearly knows.
class PacketDice
{
 public:
   PacketDice( Tool::Session& session, U64 seed ) : session_( session ), random_( seed )
   {
      for( const auto& [ unit, chip ] : hardware().chips() ) {
         for( const auto& [ id, vlan ] : chip.vlans() )
            vlans_.insert( id );
         for( const U32 port : chip.ports() )
            ports_.push_back( { unit, port } );
         const Facts facts( hardware(), session.packets().tables(), unit );
         for( const StationPlace& station : facts.stations )
            macs_.push_back( Vormel::EthAddr::fromNumber( station.mac ).toString() );
      }
   }

   /// A row of the tables. The VLANs stay, because those that are there belong to the state of the switch.
   std::string row()
   {
      const std::string no = oneIn( 4 ) ? "no " : "";
      switch( below( 10 ) ) {
      case 0:
         return oneIn( 8 ) ? "no route " + prefix() : "route " + prefix() + hops();
      case 1:
         return no.empty()
                   ? "pbr rule in " + port() + ( oneIn( 2 ) ? " to " + prefix() : "" ) + hop()
                   : "no pbr rule";
      case 2:
         return no + "mac " + mac() + " vlan " + vlan() + ( no.empty() ? place() : "" );
      case 3:
         return no + "mroute " + group() + ( no.empty() && oneIn( 2 ) ? " vlan " + vlan() : "" );
      case 4:
         return "l2mcast 5 " + ( oneIn( 2 ) ? port() : "cpu" );
      case 5:
         return oneIn( 3 )
                   ? "no stp " + port()
                   : "stp " + port() + pick( { " blocking", " learning" } ) + " vlan " + vlan();
      case 6:
         return no + "openflow " + port();
      case 7:
         return no + "mpls " + label() +
                ( no.empty()
                      ? oneIn( 2 ) ? " pop" + ( oneIn( 2 ) ? hop() : "" ) : " swap 20" + hop()
                      : "" );
      case 8:
         return "no vlan " + vlan() + pick( { " svi", " drop-routed", " vxlan", " urpf", " mtu" } );
      default:
         return "vlan " + vlan() +
                pick( { " svi", " svi drop-routed", " svi l3-class 3", " svi mtu 300",
                   " svi urpf loose", " svi urpf strict", " vxlan 5030", " vxlan 5031" } );
      }
   }

   std::string tunnelRow()
   {
      return "tunnel dice local 192.0.2.1 remote 192.0.2.2 via " + port() +
             " mac 00:00:00:00:08:08 vlan " + vlan();
   }

   /// InputError for words that make no packet.
   Sim::Arrival arrival()
   {
      const Tool::Line line = Tool::splitLine( "test", 1, frame( 0 ) );
      Tool::Words words( line );
      Sim::Frame taken = Tool::takeFrame( session_, words );
      if( oneIn( 6 ) ) { // what no words make
         Sim::Bytes bytes = taken.bytes();
         const std::size_t end = std::min<std::size_t>( bytes.size(), 70 );
         bytes[ 12 + below( end - 12 ) ] ^= static_cast<U8>( 1U << below( 8 ) );
         taken = Sim::Frame( std::move( bytes ) );
      }
      const Sim::PortRef at = ports_[ below( ports_.size() ) ];
      return oneIn( 10 ) ? Sim::Arrival{ { at.unit, 0 }, taken, true } : Sim::Arrival{ at, taken };
   }

   std::size_t below( std::size_t limit ) { return random_() % limit; }

 private:
   bool oneIn( std::size_t number ) { return below( number ) == 0; }
   std::string pick( const std::vector<std::string>& of ) { return of[ below( of.size() ) ]; }
   Sim::SimSwitch& hardware() { return session_.agent().hardware(); }

   std::string vlan()
   {
      return std::to_string(
         *std::next( vlans_.begin(), static_cast<std::ptrdiff_t>( below( vlans_.size() ) ) ) );
   }
   std::string port()
   {
      const Sim::PortRef ref = ports_[ below( ports_.size() ) ];
      return "port " + std::to_string( hardware().chip( ref.unit ).sdkPort( ref.port ) ) +
             " unit " + std::to_string( ref.unit );
   }
   std::string mac()
   {
      if( !macs_.empty() && oneIn( 2 ) )
         return pick( macs_ );
      return pick( { "02:00:00:00:00:02", "00:00:00:00:09:09", "ff:ff:ff:ff:ff:ff",
         "01:80:c2:00:00:02", "01:00:5e:01:02:03", "33:33:01:02:03:04", "00:00:00:00:00:00" } );
   }
   std::string group()
   {
      return pick( { "239.1.2.3", "225.1.2.3", "224.0.0.5", "ff1e::102:304" } );
   }
   std::string v4()
   {
      return pick( { "10.0.0.1", "10.1.0.1", "10.2.0.1", "10.3.0.1", "10.9.0.1", "127.0.0.1",
         "169.254.1.1", "0.0.0.0", "255.255.255.255", "239.1.2.3", "192.0.2.1" } );
   }
   std::string v6()
   {
      return pick(
         { "2001:db8::1", "2001:db8:2::1", "fe80::1", "::1", "ff1e::102:304", "ff02::1" } );
   }
   std::string prefix()
   {
      return pick( { "10.0.0.0/8", "10.2.0.0/16", "10.3.0.1/32", "0.0.0.0/0", "169.254.0.0/16",
         "2001:db8::/32", "2001:db8:2::/48", "::/0", "fe80::/16" } );
   }
   std::string label() { return pick( { "16", "17", "20" } ); }
   std::string tunnel()
   {
      const auto& tunnels = session_.packets().tables().tunnels;
      return tunnels.empty() ? "none" : tunnels.begin()->first;
   }
   std::string hop()
   {
      const std::string behind = " mac 02:00:00:00:00:03 vlan " + vlan();
      switch( below( 5 ) ) {
      case 0:
         return " via cpu";
      case 1:
         return " via flood" + behind;
      case 2:
         return " via tunnel " + tunnel() + behind;
      default:
         return " via " + port() + behind;
      }
   }
   std::string hops()
   {
      return hop() + ( oneIn( 4 ) ? hop() : "" ) + ( oneIn( 3 ) ? " class 5" : "" );
   }
   std::string place()
   {
      return oneIn( 3 ) ? " group 5" : oneIn( 4 ) ? " tunnel " + tunnel() : " " + port();
   }

   std::string l4( U32 depth )
   {
      const auto& tunnels = session_.packets().tables().tunnels;
      if( depth == 0 && !tunnels.empty() && oneIn( 2 ) )
         return " udp vxlan " + pick( { "5030", "5031", "77" } ) + " " + frame( 1 );
      return pick(
         { "", " tcp", " udp", " udp dport 3503", " tcp dport 179", " udp dport 4789", " icmp" } );
   }
   std::string ip( bool isV6, U32 depth )
   {
      const auto& tunnels = session_.packets().tables().tunnels;
      std::string text = isV6 ? "ipv6" : "ipv4";
      const std::string behind = l4( depth );
      if( behind.find( "vxlan" ) != behind.npos && !isV6 && !oneIn( 6 ) ) {
         const Sim::Tunnel& ends = tunnels.begin()->second;
         text += " src " + ends.remote.toString() + " dst " + ends.local.toString();
      } else {
         text += ( oneIn( 3 ) ? " src " + ( isV6 ? v6() : v4() ) : "" ) +
                 ( oneIn( 4 ) ? "" : " dst " + ( isV6 ? v6() : v4() ) );
      }
      if( oneIn( 3 ) )
         text += " ttl " + pick( { "0", "1", "2", "255" } );
      if( oneIn( 12 ) )
         text += isV6 ? " hop-by-hop" : pick( { " options", " bad-checksum" } );
      return text + behind;
   }
   std::string frame( U32 depth )
   {
      std::string text = "dmac " + mac();
      if( oneIn( 20 ) )
         text += " smac 01:00:5e:00:00:09";
      if( !oneIn( 4 ) && ( depth == 0 || oneIn( 8 ) ) )
         text += " vlan " + vlan() + ( oneIn( 8 ) ? " vlan 7" : "" );
      if( depth == 0 && oneIn( 4 ) )
         text += " priority " + pick( { "1", "5", "7" } );
      text += " ";
      switch( below( 8 ) ) {
      case 0:
         return text + pick( { "arp request", "arp reply" } );
      case 1:
         return text + "mpls " + pick( { "0", "2", "3", label() } ) +
                ( oneIn( 4 ) ? " ttl 1" : "" ) + ( oneIn( 4 ) ? " mpls " + label() : "" ) +
                ( oneIn( 2 ) ? " ipv4 dst " + v4() : " ipv6 dst " + v6() );
      case 2:
         return text + "ethertype " + pick( { "0x88b5", "0x8808", "0x888e", "0x800", "0x806" } );
      case 3:
      case 4:
         return text + ip( true, depth );
      default:
         return text + ip( false, depth );
      }
   }

   Tool::Session& session_;
   std::mt19937_64 random_;
   std::set<U16> vlans_;
   std::vector<Sim::PortRef> ports_;
   std::vector<std::string> macs_;
};

} // namespace Strata::Cover
