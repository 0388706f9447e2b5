// What a chip's parser sees. The link layer is read here, so that a frame whose upper layers make no
// sense can still be switched; the layers above are libtins', each tried by itself.
#include "platform/runtime/Errors.h"
#include "platform/runtime/Format.h"
#include "sim/packet/Frame.h"

#include <tins/arp.h>
#include <tins/exceptions.h>
#include <tins/ip.h>
#include <tins/mpls.h>
#include <tins/tcp.h>
#include <tins/udp.h>

#include <algorithm>

namespace Strata::Sim {

namespace {

using Vormel::format;

constexpr std::size_t ethernetHeader = 14;
constexpr std::size_t vlanTag = 4;
constexpr std::size_t vxlanHeader = 8;
constexpr std::size_t ipv6FixedHeader = 40;
constexpr U8 ipProtocolTcp = 6;
constexpr U8 ipProtocolUdp = 17;

U16 u16At( const Bytes& bytes, std::size_t offset )
{
   return static_cast<U16>( bytes[ offset ] << 8 | bytes[ offset + 1 ] );
}

EthAddr macAt( const Bytes& bytes, std::size_t offset )
{
   EthAddr mac;
   for( U32 i = 0; i < EthAddr::size; ++i )
      mac.byteIs( i, bytes[ offset + i ] );
   return mac;
}

IpAddress addressOf( const Tins::IPv4Address& address )
{
   const U32 wire = address; // in network order
   U8 bytes[ 4 ];
   std::copy_n( reinterpret_cast<const U8*>( &wire ), 4, bytes );
   return IpAddress::v4(
      U32{ bytes[ 0 ] } << 24 | U32{ bytes[ 1 ] } << 16 | U32{ bytes[ 2 ] } << 8 | bytes[ 3 ] );
}

/// The layers above Ethernet, one function each. What is wrong ends in `headers.problem`.
class Parser
{
 public:
   Parser( const Bytes& bytes, Headers& headers ) : bytes_( bytes ), headers_( headers ) {}

   void link()
   {
      headers_.dstMac = macAt( bytes_, 0 );
      headers_.srcMac = macAt( bytes_, 6 );
      std::size_t typeAt = 12;
      while( u16At( bytes_, typeAt ) == etherTypeVlan ) {
         if( bytes_.size() < typeAt + vlanTag + 2 ) {
            headers_.problem = "the VLAN tag is cut short";
            break;
         }
         const U16 control = u16At( bytes_, typeAt + 2 );
         if( !headers_.tag )
            headers_.tag =
               VlanTag{ static_cast<U16>( control & 0xFFF ), static_cast<U8>( control >> 13 ) };
         typeAt += vlanTag;
      }
      headers_.etherType = u16At( bytes_, typeAt );
      headers_.l3Offset = typeAt + 2;
   }

   void network()
   {
      switch( headers_.etherType ) {
      case etherTypeArp:
         return attempt( "ARP", [ this ] { arp(); } );
      case etherTypeIpv4:
         return attempt( "IPv4", [ this ] { ipv4(); } );
      case etherTypeIpv6:
         return attempt( "IPv6", [ this ] { ipv6(); } );
      case etherTypeMpls:
         return attempt( "MPLS", [ this ] { mpls(); } );
      default:
         return;
      }
   }

 private:
   template<class Work>
   void attempt( const char* layer, Work work )
   {
      try {
         work();
      } catch( const Tins::exception_base& ) {
         headers_.problem = std::string( "the " ) + layer + " header is cut short or malformed";
      }
   }

   const U8* at( std::size_t offset ) const { return bytes_.data() + offset; }
   U32 behind( std::size_t offset ) const { return static_cast<U32>( bytes_.size() - offset ); }

   void arp()
   {
      const Tins::ARP arp( at( headers_.l3Offset ), behind( headers_.l3Offset ) );
      headers_.arp = ArpHeader{
         arp.opcode(), addressOf( arp.sender_ip_addr() ), addressOf( arp.target_ip_addr() ) };
   }

   void ipv4()
   {
      const std::size_t start = headers_.l3Offset;
      const U32 available = behind( start );
      const std::size_t headerSize =
         available == 0 ? 0 : std::size_t{ bytes_[ start ] & 0x0Fu } * 4;
      if( headerSize < 20 || headerSize > available || bytes_[ start ] >> 4 != 4 )
         throw Tins::malformed_packet();
      // The header alone: a broken payload does not keep a packet from being routed.
      const Tins::IP ip( at( start ), static_cast<U32>( headerSize ) );
      headers_.ip = IpHeader{ addressOf( ip.src_addr() ), addressOf( ip.dst_addr() ), ip.ttl(),
         ip.protocol(), headerSize > 20,
         internetChecksum( std::span( bytes_ ).subspan( start, headerSize ) ) == 0,
         u16At( bytes_, start + 2 ) };
      if( headers_.ip->length < headerSize || headers_.ip->length > available ) {
         headers_.problem =
            format( "IPv4 announces %d bytes, and %d are there", headers_.ip->length, available );
         return;
      }
      if( ( u16At( bytes_, start + 6 ) & 0x1FFF ) == 0 ) // not a later fragment
         transport( start + headerSize );
   }

   void ipv6()
   {
      const std::size_t start = headers_.l3Offset;
      const U32 available = behind( start );
      if( available < ipv6FixedHeader || bytes_[ start ] >> 4 != 6 )
         throw Tins::malformed_packet();
      // By hand, too: libtins takes the fixed header only with all that follows.
      std::size_t next = start + ipv6FixedHeader;
      U8 protocol = bytes_[ start + 6 ];
      const bool hopByHop = protocol == 0;
      while( isExtension( protocol ) && next + 8 <= bytes_.size() ) {
         protocol = bytes_[ next ];
         next += 8 + std::size_t{ bytes_[ next + 1 ] } * 8;
      }
      headers_.ip =
         IpHeader{ ipv6At( start + 8 ), ipv6At( start + 24 ), bytes_[ start + 7 ], protocol,
            hopByHop, true, static_cast<U32>( ipv6FixedHeader + u16At( bytes_, start + 4 ) ) };
      if( headers_.ip->length > available )
         headers_.problem =
            format( "IPv6 announces %d bytes, and %d are there", headers_.ip->length, available );
      else if( next <= bytes_.size() )
         transport( next );
   }

   IpAddress ipv6At( std::size_t offset ) const
   {
      std::array<U8, 16> bytes;
      std::copy_n( at( offset ), bytes.size(), bytes.begin() );
      return IpAddress::v6( bytes );
   }

   static bool isExtension( U8 protocol )
   {
      return protocol == 0 || protocol == 43 || protocol == 60;
   }

   void transport( std::size_t offset )
   {
      if( headers_.ip->protocol == ipProtocolUdp )
         attempt( "UDP", [ this, offset ] { udp( offset ); } );
      else if( headers_.ip->protocol == ipProtocolTcp )
         attempt( "TCP", [ this, offset ] {
            const Tins::TCP tcp( at( offset ), behind( offset ) );
            headers_.l4 = L4Ports{ tcp.sport(), tcp.dport() };
         } );
   }

   void udp( std::size_t offset )
   {
      const Tins::UDP udp( at( offset ), behind( offset ) );
      headers_.l4 = L4Ports{ udp.sport(), udp.dport() };
      if( udp.dport() != udpPortVxlan )
         return;
      const std::size_t header = offset + udp.header_size();
      if( behind( header ) < vxlanHeader + ethernetHeader )
         headers_.problem = "the VXLAN header or the frame in it is cut short";
      else
         headers_.vxlan = VxlanHeader{
            U32{ bytes_[ header + 4 ] } << 16 | u16At( bytes_, header + 5 ), header + vxlanHeader };
   }

   void mpls()
   {
      for( std::size_t offset = headers_.l3Offset;; offset += 4 ) {
         const Tins::MPLS label( at( offset ), behind( offset ) );
         headers_.mpls.push_back( { label.label(), label.ttl() } );
         if( label.bottom_of_stack() )
            return;
      }
   }

   const Bytes& bytes_;
   Headers& headers_;
};

} // namespace

Frame::Frame( Bytes bytes ) : bytes_( std::move( bytes ) )
{
   if( bytes_.size() < ethernetHeader )
      throw Vormel::ValueError( format(
         "a frame of %d bytes has no whole Ethernet header, which has 14", bytes_.size() ) );
   Parser parser( bytes_, headers_ );
   parser.link();
   if( headers_.problem.empty() )
      parser.network();
}

static std::string protocolText( U8 protocol )
{
   switch( protocol ) {
   case 1:
      return "ICMP";
   case ipProtocolIgmp:
      return "IGMP";
   case ipProtocolTcp:
      return "TCP";
   case ipProtocolUdp:
      return "UDP";
   case 58:
      return "ICMPv6";
   default:
      return "protocol " + std::to_string( protocol );
   }
}

static std::string networkText( const Headers& headers )
{
   std::string text;
   if( headers.arp )
      text = format( "ARP %s: %s asks for %s", headers.isArp( 2 ) ? "reply" : "request",
         headers.arp->sender.toString(), headers.arp->target.toString() );
   if( headers.isArp( 2 ) )
      text = format( "ARP reply from %s to %s", headers.arp->sender.toString(),
         headers.arp->target.toString() );
   for( const MplsLabel& label : headers.mpls )
      text += ( text.empty() ? "" : ", " ) +
              format( "MPLS label %d ttl %d", label.label, U32{ label.ttl } );
   if( const auto& ip = headers.ip )
      text += format( "%s %s -> %s ttl %d, %s", ip->source.isV6() ? "IPv6" : "IPv4",
         ip->source.toString(), ip->destination.toString(), U32{ ip->ttl },
         protocolText( ip->protocol ) );
   if( headers.l4 )
      text += format( " %d -> %d", headers.l4->source, headers.l4->destination );
   if( text.empty() )
      text = format( headers.etherType < 0x600 ? "802.3 length %d" : "EtherType 0x%04x",
         U32{ headers.etherType } );
   return text;
}

std::string Frame::payloadText() const
{
   std::string text = networkText( headers_ );
   if( headers_.vxlan )
      text += format( ", VXLAN %d [ %s ]", headers_.vxlan->vni, decapsulated( *this ).text() );
   if( !headers_.problem.empty() )
      text += " (" + headers_.problem + ")";
   return text;
}

std::string Frame::text() const
{
   std::string text = headers_.srcMac.toString() + " -> " + headers_.dstMac.toString();
   if( headers_.tag ) {
      text += " vlan " + std::to_string( headers_.tag->vlanId );
      if( headers_.tag->priority != 0 )
         text += " priority " + std::to_string( headers_.tag->priority );
   }
   return text + ", " + payloadText();
}

} // namespace Strata::Sim
