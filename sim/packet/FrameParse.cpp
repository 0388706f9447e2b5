// A chip's parser, byte by byte. It reads as far as the frame is well formed, keeps the headers up to there, and
// does not trust lengths. libtins cannot be used for this, because it accepts a packet only as a whole. Lengths are
// checked against the frame's length on the wire; a capture may have fewer bytes, which ends the parsing early.
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
constexpr std::size_t fragmentHeader = 8;
constexpr std::size_t mostTags = 2;
constexpr U8 ipProtocolTcp = 6;
constexpr U8 ipProtocolFragment = 44; // of IPv6

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

VlanTag tagAt( const Bytes& bytes, std::size_t offset )
{
   const U16 control = u16At( bytes, offset );
   return { static_cast<U16>( control & 0xFFF ), static_cast<U8>( control >> 13 ),
      ( control & 0x1000 ) != 0 };
}

/// The layers, one function each. An error is described in `headers.problem`.
class Parser
{
 public:
   Parser( const Frame& frame, Headers& headers )
      : bytes_( frame.bytes() ),
        headers_( headers ),
        end_( frame.length() )
   {}

   void parse()
   {
      try {
         link();
         network();
      } catch( const Broken& broken ) {
         add( broken.problem );
      }
      if( bytes_.size() < length_ )
         add( format( "the capture holds %d of %d bytes", bytes_.size(), length_ ) );
   }

 private:
   struct Broken
   {
      std::string problem; // none where the capture ends
   };

   void add( const std::string& problem )
   {
      if( !problem.empty() )
         headers_.problem += ( headers_.problem.empty() ? "" : "; " ) + problem;
   }

   void link()
   {
      headers_.dstMac = macAt( bytes_, 0 );
      headers_.srcMac = macAt( bytes_, 6 );
      headers_.etherType = u16At( bytes_, 12 );
      headers_.l3Offset = ethernetHeader;
      while( headers_.etherType == etherTypeVlan && headers_.tags < mostTags ) {
         const std::size_t start = headers_.l3Offset;
         if( behind( start ) < vlanTag )
            throw Broken{ "the VLAN tag is cut short" };
         hold( start, vlanTag );
         if( headers_.tags++ == 0 )
            headers_.tag = tagAt( bytes_, start );
         headers_.etherType = u16At( bytes_, start + 2 );
         headers_.l3Offset = start + vlanTag;
      }
   }

   void network()
   {
      switch( headers_.etherType ) {
      case etherTypeArp:
         return arp();
      case etherTypeIpv4:
         return ipv4();
      case etherTypeIpv6:
         return ipv6();
      case etherTypeMpls:
         return mpls();
      case etherTypeVlan:
         throw Broken{ format( "no more than %d VLAN tags are parsed", mostTags ) };
      default:
         return;
      }
   }

   /// Bytes from `offset` up to the end of the enclosing layer.
   std::size_t behind( std::size_t offset ) const { return end_ > offset ? end_ - offset : 0; }

   bool holds( std::size_t offset, std::size_t size ) const
   {
      return offset + size <= bytes_.size();
   }
   /// Checked before bytes are read, because the capture may lack bytes of the frame.
   void hold( std::size_t offset, std::size_t size ) const
   {
      if( !holds( offset, size ) )
         throw Broken{};
   }

   static void require( bool right, const char* layer )
   {
      if( !right )
         throw Broken{ std::string( "the " ) + layer + " header is cut short or malformed" };
   }
   /// Ends the parsing unless both the frame and the capture have these bytes of a layer's header.
   void require( std::size_t offset, std::size_t size, const char* layer ) const
   {
      require( behind( offset ) >= size, layer );
      hold( offset, size );
   }

   /// Ends the layer where its header says so; false if the frame ends before.
   bool endIs( std::size_t start, std::size_t length, const char* layer )
   {
      if( length > behind( start ) ) {
         add( format( "%s announces %d bytes, and %d are there", layer, length, behind( start ) ) );
         return false;
      }
      end_ = start + length;
      return true;
   }

   void arp()
   {
      const std::size_t start = headers_.l3Offset;
      require( start, 8, "ARP" );
      // Ethernet, IPv4, and addresses of their lengths.
      if( u16At( bytes_, start ) != 1 || u16At( bytes_, start + 2 ) != etherTypeIpv4 ||
          u16At( bytes_, start + 4 ) != 0x0604 )
         throw Broken{ "the ARP message is not for Ethernet and IPv4" };
      require( start, arpMessage, "ARP" );
      headers_.arp =
         ArpHeader{ u16At( bytes_, start + 6 ), ipv4At( start + 14 ), ipv4At( start + 24 ) };
   }

   void ipv4()
   {
      const std::size_t start = headers_.l3Offset;
      require( start, ipv4FixedHeader, "IPv4" );
      const std::size_t headerSize = std::size_t{ bytes_[ start ] & 0x0Fu } * 4;
      require( headerSize >= ipv4FixedHeader && headerSize <= behind( start ) &&
                  bytes_[ start ] >> 4 == 4,
         "IPv4" );
      const U16 length = u16At( bytes_, start + 2 );
      if( length < headerSize )
         throw Broken{ format( "IPv4 announces %d bytes, less than its header", length ) };
      headers_.ip = IpHeader{ ipv4At( start + 12 ), ipv4At( start + 16 ), bytes_[ start + 1 ],
         bytes_[ start + 8 ], bytes_[ start + 9 ], headerSize > ipv4FixedHeader,
         !holds( start, headerSize ) ||
            internetChecksum( std::span( bytes_ ).subspan( start, headerSize ) ) == 0,
         length };
      const bool whole = endIs( start, length, "IPv4" );
      const U16 fragment = u16At( bytes_, start + 6 );
      if( ( fragment & 0x1FFF ) == 0 ) // not a later one
         transport( start + headerSize, whole && ( fragment & 0x2000 ) == 0 );
   }

   void ipv6()
   {
      const std::size_t start = headers_.l3Offset;
      require( start, ipv6FixedHeader, "IPv6" );
      require( bytes_[ start ] >> 4 == 6, "IPv6" );
      const std::size_t length = ipv6FixedHeader + u16At( bytes_, start + 4 );
      const U8 first = bytes_[ start + 6 ];
      headers_.ip = IpHeader{ ipv6At( start + 8 ), ipv6At( start + 24 ),
         static_cast<U8>( u16At( bytes_, start ) >> 4 ), bytes_[ start + 7 ], first, first == 0,
         true, static_cast<U32>( length ) };
      bool whole = endIs( start, length, "IPv6" );
      std::size_t next = start + ipv6FixedHeader;
      while( isExtension( headers_.ip->protocol ) ) {
         require( next, 8, "IPv6 extension" );
         const bool fragments = headers_.ip->protocol == ipProtocolFragment;
         const U16 fragment = fragments ? u16At( bytes_, next + 2 ) : U16{ 0 };
         if( fragment >> 3 != 0 )
            return; // a later one
         whole = whole && ( fragment & 1 ) == 0;
         const std::size_t size =
            fragments ? fragmentHeader : 8 + std::size_t{ bytes_[ next + 1 ] } * 8;
         if( size > behind( next ) )
            throw Broken{ format( "an IPv6 extension header announces %d bytes, and %d are there",
               size, behind( next ) ) };
         headers_.ip->protocol = bytes_[ next ];
         next += size;
      }
      transport( next, whole );
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
      return protocol == 0 || protocol == 43 || protocol == ipProtocolFragment || protocol == 60;
   }

   /// `whole`: not a fragment, and no length beyond the frame's end.
   void transport( std::size_t offset, bool whole )
   {
      const bool udp = headers_.ip->protocol == ipProtocolUdp;
      if( !udp && headers_.ip->protocol != ipProtocolTcp )
         return;
      if( behind( offset ) >= 4 && holds( offset, 4 ) )
         headers_.l4 = L4Ports{ u16At( bytes_, offset ), u16At( bytes_, offset + 2 ) };
      require( behind( offset ) >= ( udp ? udpHeader : tcpFixedHeader ), udp ? "UDP" : "TCP" );
      if( udp && whole )
         datagram( offset );
   }

   void datagram( std::size_t offset )
   {
      hold( offset, udpHeader );
      const U16 length = u16At( bytes_, offset + 4 );
      if( length < udpHeader )
         throw Broken{ format( "UDP announces %d bytes, less than its header", length ) };
      if( endIs( offset, length, "UDP" ) && headers_.l4->destination == udpPortVxlan )
         vxlan( offset + udpHeader );
   }

   void vxlan( std::size_t offset )
   {
      if( behind( offset ) < vxlanHeader + ethernetHeader )
         throw Broken{ "the VXLAN header or the frame in it is cut short" };
      hold( offset, vxlanHeader + ethernetHeader );
      if( ( bytes_[ offset ] & 0x08 ) == 0 )
         throw Broken{ "the VXLAN header says that its VNI is not valid" };
      headers_.vxlan = VxlanHeader{ U32{ bytes_[ offset + 4 ] } << 16 | u16At( bytes_, offset + 5 ),
         offset + vxlanHeader, end_ };
   }

   /// The payload behind the last label has no type field; its first four bits show whether it may be IP.
   void mpls()
   {
      std::size_t offset = headers_.l3Offset;
      for( bool bottom = false; !bottom; offset += 4 ) {
         require( offset, 4, "MPLS" );
         bottom = ( bytes_[ offset + 2 ] & 1 ) != 0;
         headers_.mpls.push_back( { U32{ u16At( bytes_, offset ) } << 4 | bytes_[ offset + 2 ] >> 4,
            bytes_[ offset + 3 ], bottom } );
      }
      if( behind( offset ) == 0 || !holds( offset, 1 ) )
         return;
      const int version = bytes_[ offset ] >> 4;
      headers_.labelled = version == 4 ? etherTypeIpv4 : version == 6 ? etherTypeIpv6 : U16{ 0 };
   }

   const Bytes& bytes_;
   Headers& headers_;
   std::size_t end_;                 // of the present layer, on the wire
   const std::size_t length_ = end_; // of the frame
};

} // namespace

Frame::Frame( Bytes bytes ) : Frame( std::move( bytes ), 0 ) {}

Frame::Frame( Bytes bytes, std::size_t length )
   : bytes_( std::move( bytes ) ),
     missing_( std::max( length, bytes_.size() ) - bytes_.size() )
{
   if( bytes_.size() < ethernetHeader )
      throw Vormel::ValueError( format(
         "a frame of %d bytes has no whole Ethernet header, which has 14", bytes_.size() ) );
   Parser( *this, headers_ ).parse();
}

std::size_t Frame::untaggedLength() const
{
   return length() - headers_.tags * vlanTag;
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

/// The text of all tags, including those behind the parsed ones.
static std::string tagsText( const Bytes& bytes )
{
   std::string text;
   for( std::size_t at = ethernetHeader;
        u16At( bytes, at - 2 ) == etherTypeVlan && at + vlanTag <= bytes.size(); at += vlanTag ) {
      const VlanTag tag = tagAt( bytes, at );
      text += " vlan " + std::to_string( tag.vlanId );
      if( tag.priority != 0 )
         text += " priority " + std::to_string( tag.priority );
      if( tag.dropEligible )
         text += " dei";
   }
   return text;
}

std::string Frame::text() const
{
   return headers_.srcMac.toString() + " -> " + headers_.dstMac.toString() + tagsText( bytes_ ) +
          ", " + payloadText();
}

} // namespace Strata::Sim
