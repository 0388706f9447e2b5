// The edits that chips make to frames. Like a chip, they change bytes in place and leave all other bytes as they
// were, even if these are malformed.
#include "platform/runtime/Errors.h"
#include "sim/packet/Frame.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Strata::Sim {

namespace {

constexpr std::size_t macs = 12; // bytes of both addresses
constexpr std::size_t tagSize = 4;
constexpr std::size_t labelSize = 4;
constexpr U8 tunnelTtl = 64;

Bytes::difference_type place( std::size_t offset )
{
   return static_cast<Bytes::difference_type>( offset );
}

void putU16( Bytes& bytes, std::size_t offset, U16 value )
{
   bytes[ offset ] = static_cast<U8>( value >> 8 );
   bytes[ offset + 1 ] = static_cast<U8>( value );
}

void putMac( Bytes& bytes, std::size_t offset, const EthAddr& mac )
{
   std::ranges::copy( mac.bytes(), bytes.begin() + place( offset ) );
}

void append( Bytes& bytes, std::span<const U8> more )
{
   bytes.insert( bytes.end(), more.begin(), more.end() );
}

void appendU16( Bytes& bytes, std::size_t value )
{
   append( bytes, std::array{ static_cast<U8>( value >> 8 ), static_cast<U8>( value ) } );
}

/// A frame with these bytes; as many as before are missing from the capture.
Frame changed( Bytes bytes, std::size_t missing )
{
   const std::size_t length = bytes.size() + missing;
   return Frame( std::move( bytes ), length );
}

/// Updates the checksum for a change of one 16-bit word without reading the others, so that a wrong checksum
/// stays wrong.
U16 updatedChecksum( U16 checksum, U16 before, U16 after )
{
   U32 sum = static_cast<U16>( ~checksum ) + U32{ static_cast<U16>( ~before ) } + after;
   sum = ( sum & 0xFFFF ) + ( sum >> 16 );
   sum = ( sum & 0xFFFF ) + ( sum >> 16 );
   return static_cast<U16>( ~sum );
}

} // namespace

U16 internetChecksum( std::span<const U8> bytes )
{
   U32 sum = 0;
   for( std::size_t i = 0; i < bytes.size(); ++i )
      sum += i % 2 == 0 ? U32{ bytes[ i ] } << 8 : bytes[ i ];
   while( sum >> 16 != 0 )
      sum = ( sum & 0xFFFF ) + ( sum >> 16 );
   return static_cast<U16>( ~sum );
}

static void putTag( Bytes& bytes, const VlanTag& tag )
{
   putU16( bytes, macs, etherTypeVlan );
   putU16( bytes, macs + 2,
      static_cast<U16>( tag.priority << 13 | ( tag.dropEligible ? 0x1000 : 0 ) | tag.vlanId ) );
}

Frame retagged( Frame frame, const std::optional<VlanTag>& tag )
{
   if( frame.headers().tags == 0 )
      return tag ? tagged( frame, *tag ) : frame;
   const std::size_t missing = frame.missing();
   Bytes bytes = std::move( frame ).bytes();
   if( tag )
      putTag( bytes, *tag );
   else
      bytes.erase( bytes.begin() + place( macs ), bytes.begin() + place( macs + tagSize ) );
   return changed( std::move( bytes ), missing );
}

Frame tagged( const Frame& frame, const VlanTag& tag )
{
   Bytes bytes = frame.bytes();
   bytes.insert( bytes.begin() + place( macs ), tagSize, 0 );
   putTag( bytes, tag );
   return changed( std::move( bytes ), frame.missing() );
}

static void removeTags( Bytes& bytes, const Headers& headers )
{
   bytes.erase(
      bytes.begin() + place( macs ), bytes.begin() + place( macs + headers.tags * tagSize ) );
}

Frame untagged( const Frame& frame )
{
   Bytes bytes = frame.bytes();
   removeTags( bytes, frame.headers() );
   return changed( std::move( bytes ), frame.missing() );
}

Frame padded( Frame frame )
{
   if( frame.length() >= shortestFrame )
      return frame;
   const bool complete = frame.missing() == 0;
   Bytes bytes = std::move( frame ).bytes();
   if( complete )
      bytes.resize( shortestFrame );
   return Frame( std::move( bytes ), shortestFrame );
}

static void decrementTtl( Bytes& bytes, const Headers& headers )
{
   const std::size_t l3 = headers.l3Offset;
   if( !headers.mpls.empty() ) {
      --bytes[ l3 + 3 ];
   } else if( headers.ip && headers.ip->destination.isV6() ) {
      --bytes[ l3 + 7 ];
   } else if( headers.ip ) {
      const auto word = [ & ]( std::size_t at ) {
         return static_cast<U16>( bytes[ l3 + at ] << 8 | bytes[ l3 + at + 1 ] );
      };
      const U16 before = word( 8 );
      --bytes[ l3 + 8 ];
      putU16( bytes, l3 + 10, updatedChecksum( word( 10 ), before, word( 8 ) ) );
   }
}

Frame oneHopLess( const Frame& frame )
{
   Bytes bytes = frame.bytes();
   decrementTtl( bytes, frame.headers() );
   return changed( std::move( bytes ), frame.missing() );
}

Frame routed( const Frame& frame, const EthAddr& dstMac, const EthAddr& srcMac )
{
   Bytes bytes = frame.bytes();
   putMac( bytes, 0, dstMac );
   putMac( bytes, 6, srcMac );
   decrementTtl( bytes, frame.headers() );
   removeTags( bytes, frame.headers() );
   return changed( std::move( bytes ), frame.missing() );
}

Frame relabelled( const Frame& frame, std::optional<U32> label )
{
   const std::size_t l3 = frame.headers().l3Offset;
   Bytes bytes = frame.bytes();
   if( label ) {
      putU16( bytes, l3, static_cast<U16>( *label >> 4 ) );
      bytes[ l3 + 2 ] = static_cast<U8>( *label << 4 | ( bytes[ l3 + 2 ] & 0x0F ) );
      return changed( std::move( bytes ), frame.missing() );
   }
   bytes.erase( bytes.begin() + place( l3 ), bytes.begin() + place( l3 + labelSize ) );
   if( frame.headers().mpls.front().bottom )
      putU16( bytes, l3 - 2, frame.headers().labelled );
   return changed( std::move( bytes ), frame.missing() );
}

Frame decapsulated( const Frame& frame )
{
   if( !frame.headers().vxlan )
      throw Vormel::ValueError( "there is no VXLAN packet in the frame" );
   const auto& [ vni, offset, end ] = *frame.headers().vxlan;
   const auto begin = frame.bytes().begin();
   const std::size_t heldEnd = std::min( end, frame.bytes().size() );
   return Frame( Bytes( begin + place( offset ), begin + place( heldEnd ) ), end - offset );
}

/// Up to the payload, which has this length.
static void appendIp( Bytes& bytes, const VxlanOuter& outer, U8 trafficClass, std::size_t length )
{
   const bool v6 = outer.destination.isV6();
   const std::size_t addressSize = v6 ? 16 : 4;
   const std::size_t start = bytes.size();
   if( v6 ) {
      append( bytes, std::array<U8, 4>{ static_cast<U8>( 0x60 | trafficClass >> 4 ),
                        static_cast<U8>( trafficClass << 4 ), 0, 0 } );
      appendU16( bytes, length );
      append( bytes, std::array{ ipProtocolUdp, tunnelTtl } );
   } else {
      append( bytes, std::array<U8, 2>{ 0x45, trafficClass } );
      appendU16( bytes, 20 + length );
      append( bytes, std::array<U8, 8>{ 0, 0, 0x40, 0, tunnelTtl, ipProtocolUdp, 0, 0 } ); // DF
   }
   append( bytes, std::span( outer.source.bytes() ).first( addressSize ) );
   append( bytes, std::span( outer.destination.bytes() ).first( addressSize ) );
   if( !v6 )
      putU16( bytes, start + 10, internetChecksum( std::span( bytes ).subspan( start ) ) );
}

Frame encapsulated( const Frame& inner, const VxlanOuter& outer )
{
   constexpr std::size_t udpAndVxlan = 16;
   const std::size_t length = udpAndVxlan + inner.length();
   const auto& ip = inner.headers().ip;
   // The source port distinguishes flows; here it depends only on the MAC addresses.
   const U64 flow = inner.headers().dstMac.toNumber() ^ inner.headers().srcMac.toNumber();
   Bytes bytes;
   append( bytes, outer.dstMac.bytes() );
   append( bytes, outer.srcMac.bytes() );
   appendU16( bytes, outer.destination.isV6() ? etherTypeIpv6 : etherTypeIpv4 );
   appendIp( bytes, outer, ip ? ip->trafficClass : U8{ 0 }, length );
   appendU16( bytes, 0xC000 | ( flow & 0x3FFF ) );
   appendU16( bytes, udpPortVxlan );
   appendU16( bytes, length );
   appendU16( bytes, 0 );
   append( bytes, std::array<U8, 8>{ 0x08, 0, 0, 0, static_cast<U8>( outer.vni >> 16 ),
                     static_cast<U8>( outer.vni >> 8 ), static_cast<U8>( outer.vni ), 0 } );
   append( bytes, inner.bytes() );
   return changed( std::move( bytes ), inner.missing() );
}

} // namespace Strata::Sim
