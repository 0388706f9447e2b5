#include "desk/AddressMap.h"

#include <algorithm>
#include <span>

namespace Strata::Desk {

using Vormel::EthAddr;

namespace {

/// Addresses that begin alike and are mapped to themselves.
struct Block
{
   AddressFamily family;
   U32 length;
   AddressBits bits;
};

constexpr std::array<Block, 10> reserved{ {
   { AddressFamily::mac, 1, { 0x80 } },        // group addresses
   { AddressFamily::mac, 48, {} },             // zero; on the way to it the local bit is fixed
   { AddressFamily::ip4, 8, {} },              // this network
   { AddressFamily::ip4, 8, { 127 } },         // loopback
   { AddressFamily::ip4, 16, { 169, 254 } },   // link-local
   { AddressFamily::ip4, 3, { 224 } },         // multicast, and what is above
   { AddressFamily::ip6, 127, {} },            // :: and ::1
   { AddressFamily::ip6, 8, { 0xff } },        // multicast
   { AddressFamily::ip6, 10, { 0xfe, 0x80 } }, // link-local
   { AddressFamily::ip6, 96,
      { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff } }, // followed by an IPv4 address
} };

bool bitOf( const AddressBits& bits, U32 i )
{
   return ( bits[ i / 8 ] >> ( 7 - i % 8 ) & 1 ) != 0;
}

bool startAlike( const AddressBits& a, const AddressBits& b, U32 length )
{
   for( U32 i = 0; i < length; ++i )
      if( bitOf( a, i ) != bitOf( b, i ) )
         return false;
   return true;
}

AddressBits operator&( AddressBits bits, const AddressBits& mask )
{
   std::ranges::transform(
      bits, mask, bits.begin(), []( U8 a, U8 b ) { return static_cast<U8>( a & b ); } );
   return bits;
}

/// Whether the bit behind the first `length` ones is fixed: these lead to a reserved block, or into one.
bool isFixed( AddressFamily family, const AddressBits& bits, U32 length )
{
   return std::ranges::any_of( reserved, [ & ]( const Block& block ) {
      return block.family == family &&
             startAlike( bits, block.bits, std::min( length, block.length ) );
   } );
}

} // namespace

AddressBits bitsOf( const EthAddr& mac )
{
   AddressBits bits{};
   std::ranges::copy( mac.bytes(), bits.begin() );
   bits[ 0 ] = static_cast<U8>( ( mac[ 0 ] & 1 ) << 7 | ( mac[ 0 ] & 2 ) << 5 | mac[ 0 ] >> 2 );
   return bits;
}

AddressBits bitsOf( U32 ip )
{
   return { static_cast<U8>( ip >> 24 ), static_cast<U8>( ip >> 16 ), static_cast<U8>( ip >> 8 ),
      static_cast<U8>( ip ) };
}

EthAddr macOf( const AddressBits& bits )
{
   EthAddr mac;
   for( U32 i = 0; i < EthAddr::size; ++i )
      mac.byteIs( i, bits[ i ] );
   mac.byteIs( 0, static_cast<U8>( bits[ 0 ] >> 7 | ( bits[ 0 ] >> 5 & 2 ) | bits[ 0 ] << 2 ) );
   return mac;
}

AddressBits prefixMask( U32 length )
{
   AddressBits mask{};
   for( U32 i = 0; i < length; ++i )
      mask[ i / 8 ] |= static_cast<U8>( 0x80 >> i % 8 );
   return mask;
}

AddressBits mapped( const SipKey& key, AddressFamily family, const AddressBits& bits )
{
   AddressBits result = bits;
   std::array<U8, 18> before{ static_cast<U8>( family ) }; // how many bits there are, and these
   for( U32 i = 0; i < lengthOf( family ); ++i ) {
      const auto bit = static_cast<U8>( 0x80 >> i % 8 );
      before[ 1 ] = static_cast<U8>( i );
      if( !isFixed( family, bits, i ) && ( sipHash( key, before ) & 1 ) != 0 )
         result[ i / 8 ] ^= bit;
      before[ 2 + i / 8 ] |= static_cast<U8>( bits[ i / 8 ] & bit );
   }
   const Block& embedding = reserved.back();
   if( family == AddressFamily::ip6 && startAlike( bits, embedding.bits, embedding.length ) ) {
      AddressBits embedded{};
      std::copy_n( bits.begin() + 12, 4, embedded.begin() );
      std::ranges::copy_n(
         mapped( key, AddressFamily::ip4, embedded ).begin(), 4, result.begin() + 12 );
   }
   return result;
}

AddressBits mapped(
   const SipKey& key, AddressFamily family, const AddressBits& bits, const AddressBits& mask )
{
   const AddressBits whole = mapped( key, family, bits );
   return ( bits & mask ) == bits ? whole & mask : whole;
}

} // namespace Strata::Desk
