// Routes with several next hops (ECMP): a flow keeps to one of them.
#include "platform/runtime/Format.h"
#include "sim/packet/Pass.h"

#include <span>
#include <string>
#include <vector>

namespace Strata::Sim {

using Vormel::format;

namespace {

/// CRC-32 as in IEEE 802.3, zip and zlib.
U32 crc32( std::span<const U8> bytes )
{
   constexpr U32 polynomial = 0xEDB88320; // reflected
   U32 crc = ~U32{ 0 };
   for( const U8 byte : bytes ) {
      crc ^= byte;
      for( int bit = 0; bit < 8; ++bit )
         crc = ( crc >> 1 ) ^ ( ( crc & 1 ) != 0 ? polynomial : 0 );
   }
   return ~crc;
}

/// Source, destination, protocol, and the ports where the packet has some, as they are on the wire. Permanent: tests
/// of users depend on the next hop that it selects.
U32 flowHash( const Headers& headers )
{
   const IpHeader& ip = *headers.ip;
   std::vector<U8> flow;
   for( const IpAddress& address : { ip.source, ip.destination } )
      flow.insert(
         flow.end(), address.bytes().begin(), address.bytes().begin() + address.bits() / 8 );
   flow.push_back( ip.protocol );
   if( headers.l4 )
      for( const U16 port : { headers.l4->source, headers.l4->destination } ) {
         flow.push_back( static_cast<U8>( port >> 8 ) );
         flow.push_back( static_cast<U8>( port ) );
      }
   return crc32( flow );
}

std::string flowText( const Headers& headers )
{
   const IpHeader& ip = *headers.ip;
   std::string text = format(
      "%s, %s, protocol %d", ip.source.toString(), ip.destination.toString(), U32{ ip.protocol } );
   if( headers.l4 )
      text +=
         format( ", ports %d and %d", U32{ headers.l4->source }, U32{ headers.l4->destination } );
   return text;
}

} // namespace

/// Why no packet can leave by the next hop; empty if one can.
std::string Pass::whyLost( const NextHop& nextHop ) const
{
   switch( nextHop.kind ) {
   case NextHop::Kind::port:
      return refusal( memberThatSends( nextHop.port, nextHop.vlanId ), nextHop.vlanId );
   case NextHop::Kind::tunnel:
      if( const auto at = tables().tunnels.find( nextHop.tunnel ); at != tables().tunnels.end() )
         return whyLost( at->second.underlay );
      return "there is no such tunnel";
   case NextHop::Kind::cpu:
   case NextHop::Kind::flood:
      break;
   }
   return {};
}

/// The hash selects among all next hops. Only flows whose next hop is lost are distributed among the others, so all
/// other flows keep theirs.
const NextHop& Pass::oneOf( const std::vector<NextHop>& nextHops )
{
   if( nextHops.size() == 1 )
      return nextHops.front();
   const U32 hash = flowHash( headers() );
   const auto count = static_cast<U32>( nextHops.size() );
   const U32 first = hash % count;
   std::vector<U32> usable;
   for( U32 i = 0; i < count; ++i ) {
      const std::string lost = whyLost( nextHops[ i ] );
      if( lost.empty() )
         usable.push_back( i );
      note( "next hop", [ & ] {
         return format( "%d: %s%s", i, nextHopText( view_, nextHops[ i ] ),
            lost.empty() ? std::string() : "; lost: " + lost );
      } );
   }
   const bool passedOver = !usable.empty() && !std::ranges::binary_search( usable, first );
   const auto others = static_cast<U32>( usable.size() );
   const U32 chosen = passedOver ? usable[ hash / count % others ] : first;
   note( "ECMP", [ & ] {
      std::string text = format( "hash 0x%08x of %s: modulo %d it selects next hop %d", hash,
         flowText( headers() ), count, first );
      if( passedOver && others == 1 )
         text += format( ", which is lost; only next hop %d is left", chosen );
      else if( passedOver )
         text += format( ", which is lost; divided by %d, modulo the %d that are left, it selects "
                         "next hop %d",
            count, others, chosen );
      return text;
   } );
   return nextHops[ chosen ];
}

} // namespace Strata::Sim
