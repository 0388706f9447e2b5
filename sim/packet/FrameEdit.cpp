// What chips do to frames. They change bytes in place and leave the rest as it came, broken or not; so
// does this. Only what is new, the outer headers of a tunnel, is built by libtins.
#include "platform/runtime/Errors.h"
#include "sim/packet/Frame.h"

#include <tins/ethernetII.h>
#include <tins/ip.h>
#include <tins/ipv6.h>
#include <tins/rawpdu.h>
#include <tins/udp.h>

#include <algorithm>

namespace Strata::Sim {

namespace {

constexpr std::size_t macs = 12; // bytes of both addresses
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

Tins::HWAddress<6> tinsMac( const EthAddr& mac )
{
   return { mac.bytes().data() };
}

/// The checksum follows a change of one 16-bit word without a look at the others, so that a wrong one
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

Frame retagged( const Frame& frame, const std::optional<VlanTag>& tag )
{
   Bytes bytes = frame.bytes();
   if( frame.headers().tag )
      bytes.erase( bytes.begin() + place( macs ), bytes.begin() + place( macs + 4 ) );
   if( tag ) {
      bytes.insert( bytes.begin() + place( macs ), 4, 0 );
      putU16( bytes, macs, etherTypeVlan );
      putU16( bytes, macs + 2, static_cast<U16>( tag->priority << 13 | tag->vlanId ) );
   }
   return Frame( std::move( bytes ) );
}

Frame withMacs( const Frame& frame, const EthAddr& dstMac, const EthAddr& srcMac )
{
   Bytes bytes = frame.bytes();
   putMac( bytes, 0, dstMac );
   putMac( bytes, 6, srcMac );
   return Frame( std::move( bytes ) );
}

Frame oneHopLess( const Frame& frame )
{
   const Headers& headers = frame.headers();
   Bytes bytes = frame.bytes();
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
   return Frame( std::move( bytes ) );
}

Frame relabelled( const Frame& frame, std::optional<U32> label )
{
   const std::size_t l3 = frame.headers().l3Offset;
   Bytes bytes = frame.bytes();
   if( label ) {
      putU16( bytes, l3, static_cast<U16>( *label >> 4 ) );
      bytes[ l3 + 2 ] = static_cast<U8>( *label << 4 | ( bytes[ l3 + 2 ] & 0x0F ) );
      return Frame( std::move( bytes ) );
   }
   bytes.erase( bytes.begin() + place( l3 ), bytes.begin() + place( l3 + labelSize ) );
   if( frame.headers().mpls.size() == 1 ) {
      const bool v6 = bytes.size() > l3 && bytes[ l3 ] >> 4 == 6;
      putU16( bytes, l3 - 2, v6 ? etherTypeIpv6 : etherTypeIpv4 );
   }
   return Frame( std::move( bytes ) );
}

Frame decapsulated( const Frame& frame )
{
   if( !frame.headers().vxlan )
      throw Vormel::ValueError( "there is no VXLAN packet in the frame" );
   const VxlanHeader& vxlan = *frame.headers().vxlan;
   const auto begin = frame.bytes().begin();
   return Frame( Bytes( begin + place( vxlan.innerOffset ), begin + place( vxlan.innerEnd ) ) );
}

Frame encapsulated( const Frame& inner, const VxlanOuter& outer )
{
   Bytes payload{ 0x08, 0, 0, 0, static_cast<U8>( outer.vni >> 16 ),
      static_cast<U8>( outer.vni >> 8 ), static_cast<U8>( outer.vni ), 0 };
   payload.insert( payload.end(), inner.bytes().begin(), inner.bytes().end() );
   // The source port tells flows apart; here by the stations alone.
   const U64 flow = inner.headers().dstMac.toNumber() ^ inner.headers().srcMac.toNumber();
   const U16 sourcePort = static_cast<U16>( 0xC000 | ( flow & 0x3FFF ) );
   const Tins::UDP udp = Tins::UDP( udpPortVxlan, sourcePort ) / Tins::RawPDU( payload );
   Tins::EthernetII link( tinsMac( outer.dstMac ), tinsMac( outer.srcMac ) );
   if( outer.destination.isV6() ) {
      Tins::IPv6 ip( Tins::IPv6Address( outer.destination.toString() ),
         Tins::IPv6Address( outer.source.toString() ) );
      ip.hop_limit( tunnelTtl );
      link /= ip / udp;
   } else {
      Tins::IP ip( Tins::IPv4Address( outer.destination.toString() ),
         Tins::IPv4Address( outer.source.toString() ) );
      ip.ttl( tunnelTtl );
      link /= ip / udp;
   }
   return Frame( link.serialize() );
}

} // namespace Strata::Sim
