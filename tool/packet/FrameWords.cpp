// Frames from words: layers from the outside in.
#include "platform/runtime/Errors.h"
#include "platform/types/EthAddr.h"
#include "tool/Session.h"
#include "tool/packet/CaptureFile.h"
#include "tool/packet/FrameLayers.h"
#include "tool/packet/PacketWords.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <ranges>
#include <span>
#include <vector>

namespace Strata::Tool {

namespace {

using Sim::Bytes;
using Sim::IpAddress;
using Sim::longestFrame;
using Vormel::EthAddr;

constexpr U32 deepestTunnel = 8;

/// "88b5 0102", from words to the end of the line.
Bytes takeHex( Words& words )
{
   std::string digits;
   do
      digits += words.take( "bytes in hexadecimal" ).text;
   while( !words.done() );
   Bytes bytes;
   for( std::size_t i = 0; i < digits.size(); i += 2 ) {
      U8 byte = 0;
      const char* const end = digits.data() + std::min( i + 2, digits.size() );
      const auto result = std::from_chars( digits.data() + i, end, byte, 16 );
      if( result.ec != std::errc() || result.ptr != digits.data() + i + 2 )
         words.fail( "bytes are pairs of hexadecimal digits, as in 88b5" );
      bytes.push_back( byte );
   }
   return bytes;
}

/// Takes the layers of one Ethernet frame.
class FrameBuilder
{
 public:
   /// `depth` tunnels are around it.
   FrameBuilder( const Session& session, Words& words, U32 depth = 0 )
      : session_( session ),
        words_( words ),
        depth_( depth )
   {}

   Bytes take()
   {
      std::vector<Sim::VlanTag> tags; // from the outside in
      takeLink( tags );
      network();
      checkNoLink();
      if( words_.accept( "length" ) )
         pad( words_.value<U32>( "the frame's length in bytes, without a tag" ) );
      Sim::Frame frame( frame_.bytes() );
      if( badChecksum_ ) {
         Bytes bytes = frame.bytes();
         bytes[ frame.headers().l3Offset + 4 * frame.headers().mpls.size() + 10 ] ^= 0xFF;
         frame = Sim::Frame( std::move( bytes ) );
      }
      for( const Sim::VlanTag& tag : std::views::reverse( tags ) )
         frame = tagged( frame, tag );
      return frame.bytes();
   }

 private:
   EthAddr takeMac( std::string_view what )
   {
      const auto& helper = session_.agent().helper();
      if( words_.accept( "router" ) )
         return known(
            helper->routerMacAddr(), "router MAC; give it one, as in 'router 02:00:a1:00:00:01'" );
      if( words_.accept( "virtual-router" ) )
         return known(
            helper->virtualRouterMacAddr(), "virtual router MAC; set virtualRouterMacAddr" );
      return words_.value<EthAddr>( what );
   }

   EthAddr known( const EthAddr& mac, const std::string& what ) const
   {
      if( mac.isZero() )
         words_.fail( "the helper has no " + what );
      return mac;
   }

   void takeLink( std::vector<Sim::VlanTag>& tags )
   {
      // The priority of the last tag; before there is one, that of a priority tag.
      const auto tag = [ & ]() -> Sim::VlanTag& {
         return tags.empty() ? tags.emplace_back() : tags.back();
      };
      Words::Taken taken;
      for( ;; ) {
         if( words_.acceptOnce( "dmac", taken ) )
            frame_.dstMac = takeMac( "the destination's MAC address" );
         else if( words_.acceptOnce( "smac", taken ) )
            frame_.srcMac = takeMac( "the source's MAC address" );
         else if( words_.accept( "vlan" ) ) {
            if( tag().vlanId != 0 ) {
               tags.emplace_back();
               taken.erase( "priority" );
               taken.erase( "dei" );
            }
            tag().vlanId = takeVlanId( words_ );
         } else if( words_.acceptOnce( "priority", taken ) )
            tag().priority = takePriority();
         else if( words_.acceptOnce( "dei", taken ) )
            tag().dropEligible = true;
         else
            return;
      }
   }

   U8 takePriority() { return static_cast<U8>( words_.number( "a priority", 0, 7 ) ); }

   bool atOneOf( std::span<const std::string_view> names ) const
   {
      const Word* const next = words_.peek();
      return next && !next->quoted && std::ranges::find( names, next->text ) != names.end();
   }

   /// Layers are written from the outside in: these belong in front of the layer that was taken.
   void checkNoLink() const
   {
      static constexpr std::array<std::string_view, 5> outer{
         "dmac", "smac", "vlan", "priority", "dei" };
      if( atOneOf( outer ) )
         words_.failAt( *words_.peek(), "'" + words_.peek()->text +
                                           "' comes before the frame's other layers, as in "
                                           "'dmac MAC vlan ID ipv4'" );
   }

   void checkNotInner() const
   {
      static constexpr std::array<std::string_view, 9> inner{
         "tcp", "udp", "icmp", "igmp", "protocol", "vxlan", "src", "dst", "ttl" };
      if( atOneOf( inner ) )
         words_.failAt( *words_.peek(),
            "'" + words_.peek()->text + "' comes behind 'ipv4' or 'ipv6', as in 'ipv4 ttl 9 tcp'" );
   }

   void network()
   {
      static constexpr std::array<std::string_view, 5> layers{
         "ethertype", "arp", "ipv4", "ipv6", "mpls" };
      checkNotInner();
      const std::string_view layer = words_.choose( "what is in the frame", layers );
      if( layer == "arp" )
         arp();
      else if( layer == "ipv4" )
         ipv4();
      else if( layer == "ipv6" )
         ipv6();
      else if( layer == "mpls" )
         mpls();
      else
         other();
   }

   void other()
   {
      // Smaller numbers are lengths.
      frame_.addOther(
         static_cast<U16>( words_.number( "an EtherType, as in 0x88b5,", 0x600, 0xFFFF ) ),
         Bytes( 46, 0 ) );
   }

   void arp()
   {
      static constexpr std::array<std::string_view, 2> operations{ "request", "reply" };
      const bool reply = words_.choose( "an ARP operation", operations ) == "reply";
      IpAddress sender;
      IpAddress wanted;
      Words::Taken taken;
      for( ;; ) {
         if( words_.acceptOnce( "from", taken ) )
            sender = takeV4();
         else if( words_.acceptOnce( "for", taken ) )
            wanted = takeV4();
         else
            break;
      }
      frame_.addArp( reply ? 2 : 1, reply ? frame_.dstMac : EthAddr(), sender, wanted );
   }

   IpAddress takeV4()
   {
      const IpAddress address = takeAddress( words_, "an IPv4 address" );
      if( address.isV6() )
         words_.fail( address.toString() + " is not an IPv4 address such as 10.1.0.1" );
      return address;
   }

   IpAddress takeV6()
   {
      const IpAddress address = takeAddress( words_, "an IPv6 address" );
      if( !address.isV6() )
         words_.fail( address.toString() + " is not an IPv6 address such as 2001:db8::1" );
      return address;
   }

   void ipv4()
   {
      IpAddress source = IpAddress::v4( 0x0A000001 );
      IpAddress destination = IpAddress::v4( 0x0A000002 );
      U8 ttl = 64;
      bool options = false;
      Words::Taken taken;
      for( ;; ) {
         if( words_.acceptOnce( "src", taken ) )
            source = takeV4();
         else if( words_.acceptOnce( "dst", taken ) )
            destination = takeV4();
         else if( words_.acceptOnce( "ttl", taken ) )
            ttl = words_.value<U8>( "a TTL" );
         else if( words_.acceptOnce( "options", taken ) )
            options = true;
         else if( words_.acceptOnce( "bad-checksum", taken ) )
            badChecksum_ = true;
         else
            break;
      }
      frame_.addIpv4( source, destination, ttl, options );
      if( words_.accept( "icmp" ) )
         frame_.addIcmp();
      else if( words_.accept( "igmp" ) )
         igmp( destination );
      else if( words_.accept( "protocol" ) )
         frame_.addProtocol( words_.value<U8>( "a protocol number" ), Bytes( 8, 0 ) );
      else
         transport();
   }

   /// A version 2 report of the group that the packet goes to.
   void igmp( const IpAddress& destination )
   {
      const U32 group = destination.v4Number();
      U32 sum = 0x1600 + ( group >> 16 ) + ( group & 0xFFFF );
      sum = ~( ( sum & 0xFFFF ) + ( sum >> 16 ) );
      Bytes report{ 0x16, 0, static_cast<U8>( sum >> 8 ), static_cast<U8>( sum ) };
      for( int shift = 24; shift >= 0; shift -= 8 )
         report.push_back( static_cast<U8>( group >> shift ) );
      frame_.addProtocol( Sim::ipProtocolIgmp, report );
   }

   void ipv6()
   {
      IpAddress source = *IpAddress::parse( "2001:db8::1" );
      IpAddress destination = *IpAddress::parse( "2001:db8::2" );
      U8 hopLimit = 64;
      bool hopByHop = false;
      Words::Taken taken;
      for( ;; ) {
         if( words_.acceptOnce( "src", taken ) )
            source = takeV6();
         else if( words_.acceptOnce( "dst", taken ) )
            destination = takeV6();
         else if( words_.acceptOnce( "ttl", taken ) )
            hopLimit = words_.value<U8>( "a hop limit" );
         else if( words_.acceptOnce( "hop-by-hop", taken ) )
            hopByHop = true;
         else
            break;
      }
      frame_.addIpv6( source, destination, hopLimit, hopByHop );
      if( words_.accept( "icmp" ) )
         frame_.addIcmp();
      else
         transport();
   }

   /// UDP by default.
   void transport()
   {
      Words::Taken taken;
      if( words_.accept( "tcp" ) ) {
         const Sim::L4Ports ports = takeL4Ports( 80, taken );
         frame_.addTcp( ports.source, ports.destination );
      } else {
         words_.accept( "udp" );
         udp();
      }
   }

   Sim::L4Ports takeL4Ports( U16 destination, Words::Taken& taken )
   {
      Sim::L4Ports ports{ 40000, destination };
      for( ;; ) {
         if( words_.acceptOnce( "sport", taken ) )
            ports.source = words_.value<U16>( "a port" );
         else if( words_.acceptOnce( "dport", taken ) )
            ports.destination = words_.value<U16>( "a port" );
         else
            return ports;
      }
   }

   void udp()
   {
      Words::Taken taken;
      const Sim::L4Ports ports = takeL4Ports( 53, taken );
      if( !words_.accept( "vxlan" ) ) {
         frame_.addUdp( ports.source, ports.destination );
         return;
      }
      if( taken.contains( "dport" ) )
         words_.fail( "'vxlan' sets the destination port; leave 'dport' out" );
      if( depth_ == deepestTunnel )
         words_.fail(
            "tunnels in tunnels are at most " + std::to_string( deepestTunnel ) + " deep here" );
      const U32 vni = takeVni( words_ );
      frame_.addUdp( ports.source, Sim::udpPortVxlan );
      frame_.addPayload( { 0x08, 0, 0, 0, static_cast<U8>( vni >> 16 ), static_cast<U8>( vni >> 8 ),
         static_cast<U8>( vni ), 0 } );
      frame_.addPayload( FrameBuilder( session_, words_, depth_ + 1 ).take() );
   }

   void mpls()
   {
      do {
         const U32 label = takeLabel( words_, "a label" );
         frame_.addMpls( label, words_.accept( "ttl" ) ? words_.value<U8>( "a TTL" ) : U8{ 64 } );
      } while( words_.accept( "mpls" ) );
      if( words_.accept( "ipv6" ) )
         return ipv6();
      words_.accept( "ipv4" );
      ipv4();
   }

   void pad( U32 length )
   {
      const std::size_t now = std::max( frame_.unpaddedLength(), Sim::shortestFrame );
      if( length < now || length > longestFrame )
         words_.fail( "this frame can be " + std::to_string( now ) + " to " +
                      std::to_string( longestFrame ) + " bytes long" );
      frame_.addPayload( Bytes( length - frame_.unpaddedLength(), 0 ) );
   }

   const Session& session_;
   Words& words_;
   U32 depth_;
   FrameLayers frame_;
   bool badChecksum_ = false;
};

} // namespace

Sim::Frame checkedFrame( Sim::Frame frame )
{
   const std::size_t length = frame.untaggedLength();
   if( length > longestFrame )
      throw Vormel::ValueError( "a frame has at most " + std::to_string( longestFrame ) +
                                " bytes; this one has " + std::to_string( length ) );
   return frame;
}

Sim::Frame takeFrame( const Session& session, Words& words )
{
   if( words.accept( "hex" ) )
      return checkedFrame( Sim::Frame( takeHex( words ) ) );
   if( words.accept( "pcap" ) ) {
      const Word& name = words.take( "a pcap file", "FILE" );
      const std::string& file = name.text;
      const bool numbered = words.accept( "frame" );
      const U32 number = numbered ? words.value<U32>( "the frame's number" ) : 1;
      if( number == 0 )
         words.fail( "frames count from 1" );
      const Word& culprit = numbered ? *words.last() : name;
      return words.blaming( name, [ & ] {
         try {
            return checkedFrame( frameInFile( file, number ) );
         } catch( const NoSuchFrame& problem ) {
            words.failAt( culprit, problem.what() );
         }
      } );
   }
   return checkedFrame( Sim::Frame( FrameBuilder( session, words ).take() ) );
}

} // namespace Strata::Tool
