// What a chip's parser sees, byte by byte: it looks as far as a frame makes sense, keeps what it saw, and
// bends to no lie about lengths. A library's parser takes a packet as a whole or not at all.
#include "platform/runtime/Errors.h"
#include "platform/runtime/Format.h"
#include "sim/packet/Frame.h"

#include <algorithm>
#include <array>

namespace Strata::Sim {

namespace {

using Vormel::format;

constexpr std::size_t ethernetHeader = 14;
constexpr std::size_t vlanTag = 4;
constexpr std::size_t vxlanHeader = 8;
constexpr std::size_t arpMessage = 28;
constexpr std::size_t ipv4FixedHeader = 20;
constexpr std::size_t ipv6FixedHeader = 40;
constexpr std::size_t udpHeader = 8;
constexpr std::size_t tcpFixedHeader = 20;
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
      try {
         switch( headers_.etherType ) {
         case etherTypeArp:
            return arp();
         case etherTypeIpv4:
            return ipv4();
         case etherTypeIpv6:
            return ipv6();
         case etherTypeMpls:
            return mpls();
         default:
            return;
         }
      } catch( const Broken& broken ) {
         headers_.problem = broken.problem;
      }
   }

 private:
   struct Broken
   {
      std::string problem;
   };

   /// Bytes from `offset` up to the end of what is around.
   std::size_t behind( std::size_t offset ) const { return end_ > offset ? end_ - offset : 0; }

   static void require( bool right, const char* layer )
   {
      if( !right )
         throw Broken{ std::string( "the " ) + layer + " header is cut short or malformed" };
   }

   /// What is looked at ends where the header of a layer says so.
   void endIs( std::size_t start, std::size_t length, const char* layer )
   {
      if( length > behind( start ) )
         throw Broken{
            format( "%s announces %d bytes, and %d are there", layer, length, behind( start ) ) };
      end_ = start + length;
   }

   void arp()
   {
      const std::size_t start = headers_.l3Offset;
      require( behind( start ) >= 8, "ARP" );
      // Ethernet, IPv4, and addresses of their lengths.
      if( u16At( bytes_, start ) != 1 || u16At( bytes_, start + 2 ) != etherTypeIpv4 ||
          u16At( bytes_, start + 4 ) != 0x0604 )
         throw Broken{ "the ARP message is not about Ethernet and IPv4" };
      require( behind( start ) >= arpMessage, "ARP" );
      headers_.arp =
         ArpHeader{ u16At( bytes_, start + 6 ), ipv4At( start + 14 ), ipv4At( start + 24 ) };
   }

   void ipv4()
   {
      const std::size_t start = headers_.l3Offset;
      const std::size_t headerSize =
         behind( start ) == 0 ? 0 : std::size_t{ bytes_[ start ] & 0x0Fu } * 4;
      require( headerSize >= ipv4FixedHeader && headerSize <= behind( start ) &&
                  bytes_[ start ] >> 4 == 4,
         "IPv4" );
      const U16 length = u16At( bytes_, start + 2 );
      headers_.ip = IpHeader{ ipv4At( start + 12 ), ipv4At( start + 16 ), bytes_[ start + 8 ],
         bytes_[ start + 9 ], headerSize > ipv4FixedHeader,
         internetChecksum( std::span( bytes_ ).subspan( start, headerSize ) ) == 0, length };
      if( length < headerSize )
         throw Broken{ format( "IPv4 announces %d bytes, less than its header", length ) };
      endIs( start, length, "IPv4" );
      const U16 fragment = u16At( bytes_, start + 6 );
      if( ( fragment & 0x1FFF ) == 0 ) // not a later one
         transport( start + headerSize, ( fragment & 0x2000 ) == 0 );
   }

   void ipv6()
   {
      const std::size_t start = headers_.l3Offset;
      require( behind( start ) >= ipv6FixedHeader && bytes_[ start ] >> 4 == 6, "IPv6" );
      const std::size_t length = ipv6FixedHeader + u16At( bytes_, start + 4 );
      U8 protocol = bytes_[ start + 6 ];
      headers_.ip = IpHeader{ ipv6At( start + 8 ), ipv6At( start + 24 ), bytes_[ start + 7 ],
         protocol, protocol == 0, true, static_cast<U32>( length ) };
      endIs( start, length, "IPv6" );
      std::size_t next = start + ipv6FixedHeader;
      while( isExtension( protocol ) ) {
         require( behind( next ) >= 8, "IPv6 extension" );
         const std::size_t size = 8 + std::size_t{ bytes_[ next + 1 ] } * 8;
         if( size > behind( next ) )
            throw Broken{ format( "an IPv6 extension header announces %d bytes, and %d are there",
               size, behind( next ) ) };
         headers_.ip->protocol = protocol = bytes_[ next ];
         next += size;
      }
      transport( next, true );
   }

   IpAddress ipv4At( std::size_t offset ) const
   {
      return IpAddress::v4( U32{ u16At( bytes_, offset ) } << 16 | u16At( bytes_, offset + 2 ) );
   }

   IpAddress ipv6At( std::size_t offset ) const
   {
      std::array<U8, 16> bytes;
      std::copy_n( bytes_.data() + offset, bytes.size(), bytes.begin() );
      return IpAddress::v6( bytes );
   }

   static bool isExtension( U8 protocol )
   {
      return protocol == 0 || protocol == 43 || protocol == 60;
   }

   void transport( std::size_t offset, bool whole )
   {
      if( headers_.ip->protocol == ipProtocolUdp ) {
         require( behind( offset ) >= udpHeader, "UDP" );
         portsAt( offset );
         if( whole ) // a first fragment announces more than is there
            udp( offset );
      } else if( headers_.ip->protocol == ipProtocolTcp ) {
         require( behind( offset ) >= tcpFixedHeader, "TCP" );
         portsAt( offset );
      }
   }

   void portsAt( std::size_t offset )
   {
      headers_.l4 = L4Ports{ u16At( bytes_, offset ), u16At( bytes_, offset + 2 ) };
   }

   void udp( std::size_t offset )
   {
      const U16 length = u16At( bytes_, offset + 4 );
      if( length < udpHeader )
         throw Broken{ format( "UDP announces %d bytes, less than its header", length ) };
      endIs( offset, length, "UDP" );
      if( headers_.l4->destination == udpPortVxlan )
         vxlan( offset + udpHeader );
   }

   void vxlan( std::size_t offset )
   {
      if( behind( offset ) < vxlanHeader + ethernetHeader )
         throw Broken{ "the VXLAN header or the frame in it is cut short" };
      if( ( bytes_[ offset ] & 0x08 ) == 0 )
         throw Broken{ "the VXLAN header says that its VNI is not valid" };
      headers_.vxlan = VxlanHeader{ U32{ bytes_[ offset + 4 ] } << 16 | u16At( bytes_, offset + 5 ),
         offset + vxlanHeader, end_ };
   }

   /// Whatever is behind the last one.
   void mpls()
   {
      bool last = false;
      for( std::size_t offset = headers_.l3Offset; !last; offset += 4 ) {
         require( behind( offset ) >= 4, "MPLS" );
         headers_.mpls.push_back( { U32{ u16At( bytes_, offset ) } << 4 | bytes_[ offset + 2 ] >> 4,
            bytes_[ offset + 3 ] } );
         last = ( bytes_[ offset + 2 ] & 1 ) != 0;
      }
   }

   const Bytes& bytes_;
   Headers& headers_;
   std::size_t end_ = bytes_.size();
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

static std::string arpText( const ArpHeader& arp )
{
   switch( arp.operation ) {
   case 1:
      return format( "ARP request: %s asks for %s", arp.sender.toString(), arp.target.toString() );
   case 2:
      return format( "ARP reply from %s to %s", arp.sender.toString(), arp.target.toString() );
   default:
      return "ARP operation " + std::to_string( arp.operation );
   }
}

static std::string ipText( const IpHeader& ip )
{
   const bool v6 = ip.source.isV6();
   return format( "%s %s -> %s ttl %d%s%s, %s", v6 ? "IPv6" : "IPv4", ip.source.toString(),
      ip.destination.toString(), U32{ ip.ttl },
      !ip.options ? ""
      : v6        ? " hop-by-hop"
                  : " options",
      ip.checksumRight ? "" : " bad-checksum", protocolText( ip.protocol ) );
}

static std::string networkText( const Headers& headers )
{
   std::string text;
   if( headers.arp )
      text = arpText( *headers.arp );
   for( const MplsLabel& label : headers.mpls )
      text += ( text.empty() ? "" : ", " ) +
              format( "MPLS label %d ttl %d", label.label, U32{ label.ttl } );
   if( headers.ip )
      text += ipText( *headers.ip );
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
