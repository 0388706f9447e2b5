#include "tool/packet/FrameLayers.h"

#include <algorithm>
#include <span>
#include <utility>

namespace Strata::Tool {

using Sim::Bytes;
using Sim::IpAddress;

namespace {

constexpr std::size_t ethernetHeader = 14;
constexpr std::size_t ipv6Header = 40;
constexpr U8 protocolHopByHop = 0;
constexpr U8 protocolIcmp = 1;
constexpr U8 protocolTcp = 6;
constexpr U8 protocolIcmpv6 = 58;

void putU16( Bytes& bytes, std::size_t offset, std::size_t value )
{
   bytes[ offset ] = static_cast<U8>( value >> 8 );
   bytes[ offset + 1 ] = static_cast<U8>( value );
}

void appendU16( Bytes& bytes, std::size_t value )
{
   bytes.resize( bytes.size() + 2 );
   putU16( bytes, bytes.size() - 2, value );
}

void append( Bytes& bytes, std::span<const U8> more )
{
   bytes.insert( bytes.end(), more.begin(), more.end() );
}

std::span<const U8> wireBytes( const IpAddress& address )
{
   return std::span( address.bytes() ).first( address.bits() / 8 );
}

} // namespace

void FrameLayers::add( Kind kind, U16 etherType, Bytes header )
{
   if( layers_.empty() )
      etherType_ = etherType;
   layers_.push_back( { kind, std::move( header ) } );
}

/// Of the IP layer that was added last.
void FrameLayers::protocolIs( U8 protocol )
{
   auto& [ kind, header ] = layers_.back();
   if( kind == Kind::ipv4 )
      header[ 9 ] = protocol;
   else
      header[ header.size() > ipv6Header ? ipv6Header : 6 ] = protocol;
}

void FrameLayers::addArp(
   U16 operation, const Vormel::EthAddr& target, const IpAddress& sender, const IpAddress& wanted )
{
   Bytes header{ 0, 1, 0x08, 0, 6, 4 };
   appendU16( header, operation );
   append( header, srcMac.bytes() );
   append( header, wireBytes( sender ) );
   append( header, target.bytes() );
   append( header, wireBytes( wanted ) );
   add( Kind::arp, Sim::etherTypeArp, std::move( header ) );
}

void FrameLayers::addIpv4(
   const IpAddress& source, const IpAddress& destination, U8 ttl, bool options )
{
   Bytes header{ 0x45, 0, 0, 0, 0, 1, 0, 0, ttl, 0, 0, 0 };
   append( header, wireBytes( source ) );
   append( header, wireBytes( destination ) );
   if( options ) {
      header[ 0 ] = 0x46;
      header.insert( header.end(), 4, 1 );
   }
   add( Kind::ipv4, Sim::etherTypeIpv4, std::move( header ) );
}

void FrameLayers::addIpv6(
   const IpAddress& source, const IpAddress& destination, U8 hopLimit, bool hopByHop )
{
   Bytes header{ 0x60, 0, 0, 0, 0, 0, protocolHopByHop, hopLimit };
   append( header, wireBytes( source ) );
   append( header, wireBytes( destination ) );
   if( hopByHop )
      append( header, Bytes{ 0, 0, 1, 4, 0, 0, 0, 0 } );
   add( Kind::ipv6, Sim::etherTypeIpv6, std::move( header ) );
}

void FrameLayers::addMpls( U32 label, U8 ttl )
{
   add( Kind::mpls, Sim::etherTypeMpls,
      { static_cast<U8>( label >> 12 ), static_cast<U8>( label >> 4 ),
         static_cast<U8>( label << 4 ), ttl } );
}

void FrameLayers::addIcmp()
{
   const bool v6 = layers_.back().kind == Kind::ipv6;
   protocolIs( v6 ? protocolIcmpv6 : protocolIcmp );
   add(
      v6 ? Kind::icmpv6 : Kind::icmp, 0, { static_cast<U8>( v6 ? 128 : 8 ), 0, 0, 0, 0, 0, 0, 0 } );
}

void FrameLayers::addTcp( U16 source, U16 destination )
{
   constexpr U8 words = 5;
   Bytes header;
   appendU16( header, source );
   appendU16( header, destination );
   append( header, Bytes{ 0, 0, 0, 0, 0, 0, 0, 0, words << 4, 0, 0x7F, 0xA6, 0, 0, 0, 0 } );
   protocolIs( protocolTcp );
   add( Kind::tcp, 0, std::move( header ) );
}

void FrameLayers::addUdp( U16 source, U16 destination )
{
   Bytes header;
   appendU16( header, source );
   appendU16( header, destination );
   header.resize( 8 );
   protocolIs( Sim::ipProtocolUdp );
   add( Kind::udp, 0, std::move( header ) );
}

void FrameLayers::addProtocol( U8 protocol, const Bytes& bytes )
{
   protocolIs( protocol );
   add( Kind::other, 0, bytes );
}

void FrameLayers::addOther( U16 etherType, const Bytes& bytes )
{
   add( Kind::other, etherType, bytes );
}

void FrameLayers::addPayload( const Bytes& bytes )
{
   append( payload_, bytes );
}

std::size_t FrameLayers::unpaddedLength() const
{
   std::size_t length = ethernetHeader + payload_.size();
   for( const Layer& layer : layers_ )
      length += layer.header.size();
   return length;
}

/// TCP, UDP and ICMPv6 also sum the addresses of the IP layer around them.
U16 FrameLayers::checksumWithAddresses( std::size_t layer, U8 protocol, const Bytes& bytes ) const
{
   const auto& [ kind, header ] = layers_[ layer - 1 ];
   const auto addresses = kind == Kind::ipv4 ? std::span( header ).subspan( 12, 8 )
                                             : std::span( header ).subspan( 8, 32 );
   Bytes summed( addresses.begin(), addresses.end() );
   appendU16( summed, protocol );
   appendU16( summed, bytes.size() );
   append( summed, bytes );
   return Sim::internetChecksum( summed );
}

/// Fills in what depends on the bytes that the layer carries.
void FrameLayers::finish( std::size_t layer, Bytes& bytes ) const
{
   const auto& [ kind, header ] = layers_[ layer ];
   switch( kind ) {
   case Kind::ipv4:
      putU16( bytes, 2, bytes.size() );
      putU16( bytes, 10, Sim::internetChecksum( std::span( bytes ).first( header.size() ) ) );
      return;
   case Kind::ipv6:
      putU16( bytes, 4, bytes.size() - ipv6Header );
      return;
   case Kind::mpls:
      bytes[ 2 ] |= layers_[ layer + 1 ].kind != Kind::mpls; // the last label
      return;
   case Kind::icmp:
      putU16( bytes, 2, Sim::internetChecksum( bytes ) );
      return;
   case Kind::icmpv6:
      putU16( bytes, 2, checksumWithAddresses( layer, protocolIcmpv6, bytes ) );
      return;
   case Kind::tcp:
      putU16( bytes, 16, checksumWithAddresses( layer, protocolTcp, bytes ) );
      return;
   case Kind::udp: {
      putU16( bytes, 4, bytes.size() );
      const U16 checksum = checksumWithAddresses( layer, Sim::ipProtocolUdp, bytes );
      putU16( bytes, 6, checksum == 0 ? 0xFFFF : checksum ); // 0 means none
      return;
   }
   case Kind::arp:
   case Kind::other:
      return;
   }
}

Bytes FrameLayers::bytes() const
{
   Bytes inside = payload_;
   for( std::size_t layer = layers_.size(); layer-- > 0; ) {
      inside.insert(
         inside.begin(), layers_[ layer ].header.begin(), layers_[ layer ].header.end() );
      finish( layer, inside );
   }
   Bytes frame;
   append( frame, dstMac.bytes() );
   append( frame, srcMac.bytes() );
   appendU16( frame, etherType_ );
   append( frame, inside );
   frame.resize( std::max( frame.size(), Sim::shortestFrame ) );
   return frame;
}

} // namespace Strata::Tool
