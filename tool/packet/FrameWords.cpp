// Frames from words: layers from the outside in, built by libtins.
#include "platform/runtime/Errors.h"
#include "platform/types/EthAddr.h"
#include "tool/Session.h"
#include "tool/packet/CaptureFile.h"
#include "tool/packet/PacketWords.h"

#include <tins/arp.h>
#include <tins/endianness.h>
#include <tins/ethernetII.h>
#include <tins/exceptions.h>
#include <tins/icmp.h>
#include <tins/icmpv6.h>
#include <tins/ip.h>
#include <tins/ipv6.h>
#include <tins/mpls.h>
#include <tins/rawpdu.h>
#include <tins/tcp.h>
#include <tins/udp.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <ranges>
#include <span>
#include <vector>

namespace Strata::Tool {

namespace {

using Sim::Bytes;
using Sim::longestFrame;
using Vormel::EthAddr;

constexpr U32 deepestTunnel = 8;

/// Whether the word is behind the frame of an `explain`.
bool isBehindFrame( const Word* word )
{
   return word && ( word->text == "after" || word->text == "wants" );
}

/// "88b5 0102", from words to the end of the packet.
Bytes takeHex( Words& words )
{
   std::string digits;
   do
      digits += words.take( "bytes in hexadecimal" ).text;
   while( !words.done() && !isBehindFrame( words.peek() ) );
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
      Sim::Frame frame( frame_.serialize() );
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

   static Tins::HWAddress<6> tinsMac( const EthAddr& mac ) { return { mac.bytes().data() }; }

   void takeLink( std::vector<Sim::VlanTag>& tags )
   {
      // The priority of the last tag; before there is one, that of a priority tag.
      const auto tag = [ & ]() -> Sim::VlanTag& {
         return tags.empty() ? tags.emplace_back() : tags.back();
      };
      frame_.src_addr( tinsMac( EthAddr( 2, 0, 0, 0, 0, 1 ) ) );
      frame_.dst_addr( tinsMac( EthAddr( 2, 0, 0, 0, 0, 2 ) ) );
      Words::Taken taken;
      for( ;; ) {
         if( words_.acceptOnce( "dmac", taken ) )
            frame_.dst_addr( tinsMac( takeMac( "the destination's MAC address" ) ) );
         else if( words_.acceptOnce( "smac", taken ) )
            frame_.src_addr( tinsMac( takeMac( "the source's MAC address" ) ) );
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
      frame_.payload_type(
         static_cast<U16>( words_.number( "an EtherType, as in 0x88b5,", 0x600, 0xFFFF ) ) );
      frame_ /= Tins::RawPDU( Bytes( 46, 0 ) );
   }

   void arp()
   {
      static constexpr std::array<std::string_view, 2> operations{ "request", "reply" };
      const bool reply = words_.choose( "an ARP operation", operations ) == "reply";
      Tins::ARP arp;
      arp.opcode( reply ? Tins::ARP::REPLY : Tins::ARP::REQUEST );
      arp.sender_hw_addr( frame_.src_addr() );
      if( reply )
         arp.target_hw_addr( frame_.dst_addr() );
      Words::Taken taken;
      for( ;; ) {
         if( words_.acceptOnce( "from", taken ) )
            arp.sender_ip_addr( takeV4() );
         else if( words_.acceptOnce( "for", taken ) )
            arp.target_ip_addr( takeV4() );
         else
            break;
      }
      frame_ /= arp;
   }

   Tins::IPv4Address takeV4()
   {
      const Sim::IpAddress address = takeAddress( words_, "an IPv4 address" );
      if( address.isV6() )
         words_.fail( address.toString() + " is not an IPv4 address such as 10.1.0.1" );
      return Tins::IPv4Address( address.toString() );
   }

   Tins::IPv6Address takeV6()
   {
      const Sim::IpAddress address = takeAddress( words_, "an IPv6 address" );
      if( !address.isV6() )
         words_.fail( address.toString() + " is not an IPv6 address such as 2001:db8::1" );
      return Tins::IPv6Address( address.toString() );
   }

   void ipv4()
   {
      Tins::IP ip( "10.0.0.2", "10.0.0.1" );
      ip.ttl( 64 );
      Words::Taken taken;
      for( ;; ) {
         if( words_.acceptOnce( "src", taken ) )
            ip.src_addr( takeV4() );
         else if( words_.acceptOnce( "dst", taken ) )
            ip.dst_addr( takeV4() );
         else if( words_.acceptOnce( "ttl", taken ) )
            ip.ttl( words_.value<U8>( "a TTL" ) );
         else if( words_.acceptOnce( "options", taken ) )
            for( int i = 0; i < 4; ++i )
               ip.noop();
         else if( words_.acceptOnce( "bad-checksum", taken ) )
            badChecksum_ = true;
         else
            break;
      }
      if( words_.accept( "icmp" ) )
         frame_ /= ip / Tins::ICMP();
      else if( words_.accept( "igmp" ) )
         igmp( ip );
      else if( words_.accept( "protocol" ) )
         protocolIs( ip, words_.value<U8>( "a protocol number" ) );
      else
         transport( ip );
   }

   /// A version 2 report of the group that the packet goes to.
   void igmp( Tins::IP& ip )
   {
      const U32 group = Tins::Endian::be_to_host<U32>( U32( ip.dst_addr() ) );
      U32 sum = 0x1600 + ( group >> 16 ) + ( group & 0xFFFF );
      sum = ~( ( sum & 0xFFFF ) + ( sum >> 16 ) );
      Bytes report{ 0x16, 0, static_cast<U8>( sum >> 8 ), static_cast<U8>( sum ) };
      for( int shift = 24; shift >= 0; shift -= 8 )
         report.push_back( static_cast<U8>( group >> shift ) );
      ip.protocol( Sim::ipProtocolIgmp );
      frame_ /= ip / Tins::RawPDU( report );
   }

   void protocolIs( Tins::IP& ip, U8 protocol )
   {
      ip.protocol( protocol );
      frame_ /= ip / Tins::RawPDU( Bytes( 8, 0 ) );
   }

   void ipv6()
   {
      Tins::IPv6 ip( "2001:db8::2", "2001:db8::1" );
      ip.hop_limit( 64 );
      Words::Taken taken;
      for( ;; ) {
         if( words_.acceptOnce( "src", taken ) )
            ip.src_addr( takeV6() );
         else if( words_.acceptOnce( "dst", taken ) )
            ip.dst_addr( takeV6() );
         else if( words_.acceptOnce( "ttl", taken ) )
            ip.hop_limit( words_.value<U8>( "a hop limit" ) );
         else if( words_.acceptOnce( "hop-by-hop", taken ) )
            ip.add_header( { Tins::IPv6::HOP_BY_HOP, 6, Bytes{ 1, 4, 0, 0, 0, 0 }.data() } );
         else
            break;
      }
      if( words_.accept( "icmp" ) )
         frame_ /= ip / Tins::ICMPv6();
      else
         transport( ip );
   }

   /// UDP by default.
   template<class Ip>
   void transport( const Ip& ip )
   {
      frame_ /= ip;
      if( words_.accept( "tcp" ) ) {
         Words::Taken taken;
         frame_ /= takePorts( Tins::TCP( 80, 40000 ), taken );
      } else {
         words_.accept( "udp" );
         udp();
      }
   }

   template<class Layer>
   Layer takePorts( Layer layer, Words::Taken& taken )
   {
      for( ;; ) {
         if( words_.acceptOnce( "sport", taken ) )
            layer.sport( words_.value<U16>( "a port" ) );
         else if( words_.acceptOnce( "dport", taken ) )
            layer.dport( words_.value<U16>( "a port" ) );
         else
            return layer;
      }
   }

   void udp()
   {
      Words::Taken taken;
      Tins::UDP udp = takePorts( Tins::UDP( 53, 40000 ), taken );
      if( !words_.accept( "vxlan" ) ) {
         frame_ /= udp;
         return;
      }
      if( taken.contains( "dport" ) )
         words_.fail( "'vxlan' sets the destination port; leave 'dport' out" );
      if( depth_ == deepestTunnel )
         words_.fail(
            "tunnels in tunnels are at most " + std::to_string( deepestTunnel ) + " deep here" );
      const U32 vni = takeVni( words_ );
      udp.dport( Sim::udpPortVxlan );
      Bytes payload{ 0x08, 0, 0, 0, static_cast<U8>( vni >> 16 ), static_cast<U8>( vni >> 8 ),
         static_cast<U8>( vni ), 0 };
      const Bytes inner = FrameBuilder( session_, words_, depth_ + 1 ).take();
      payload.insert( payload.end(), inner.begin(), inner.end() );
      frame_ /= udp / Tins::RawPDU( payload );
   }

   void mpls()
   {
      do {
         Tins::MPLS label;
         label.label( takeLabel( words_, "a label" ) );
         label.ttl( words_.accept( "ttl" ) ? words_.value<U8>( "a TTL" ) : U8{ 64 } );
         frame_ /= label;
      } while( words_.accept( "mpls" ) );
      if( words_.accept( "ipv6" ) )
         return ipv6();
      words_.accept( "ipv4" );
      ipv4();
   }

   void pad( U32 length )
   {
      const U32 now = frame_.size();
      if( length < now || length > longestFrame )
         words_.fail( "this frame can be " + std::to_string( now ) + " to " +
                      std::to_string( longestFrame ) + " bytes long" );
      // The trailer of a short frame is removed when the payload grows.
      const U32 carried = length - ( now - frame_.trailer_size() );
      frame_ /= Tins::RawPDU( Bytes( carried, 0 ) );
   }

   const Session& session_;
   Words& words_;
   U32 depth_;
   Tins::EthernetII frame_;
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
   try {
      return checkedFrame( Sim::Frame( FrameBuilder( session, words ).take() ) );
   } catch( const Tins::exception_base& error ) {
      words.fail( std::string( "such a frame cannot be built: " ) + error.what() );
   }
}

} // namespace Strata::Tool
