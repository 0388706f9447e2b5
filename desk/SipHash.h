// SipHash-2-4: a pseudorandom function of a text. Without the key, its values cannot be told from random numbers.
#pragma once

#include "platform/runtime/Types.h"

#include <array>
#include <bit>
#include <cstddef>
#include <span>

namespace Strata::Desk {

using SipKey = std::array<U64, 2>;

inline U64 sipHash( const SipKey& key, std::span<const U8> text )
{
   U64 v0 = key[ 0 ] ^ 0x736f6d6570736575;
   U64 v1 = key[ 1 ] ^ 0x646f72616e646f6d;
   U64 v2 = key[ 0 ] ^ 0x6c7967656e657261;
   U64 v3 = key[ 1 ] ^ 0x7465646279746573;
   const auto rounds = [ & ]( int count ) {
      while( count-- > 0 ) {
         v0 += v1;
         v2 += v3;
         v1 = std::rotl( v1, 13 ) ^ v0;
         v3 = std::rotl( v3, 16 ) ^ v2;
         v0 = std::rotl( v0, 32 ) + v3;
         v2 += v1;
         v1 = std::rotl( v1, 17 ) ^ v2;
         v3 = std::rotl( v3, 21 ) ^ v0;
         v2 = std::rotl( v2, 32 );
      }
   };
   const auto take = [ & ]( U64 word ) {
      v3 ^= word;
      rounds( 2 );
      v0 ^= word;
   };
   U64 word = 0;
   for( std::size_t i = 0; i < text.size(); ++i ) {
      word |= static_cast<U64>( text[ i ] ) << ( i % 8 * 8 );
      if( i % 8 == 7 ) {
         take( word );
         word = 0;
      }
   }
   take( word | static_cast<U64>( text.size() ) << 56 );
   v2 ^= 0xff;
   rounds( 4 );
   return v0 ^ v1 ^ v2 ^ v3;
}

} // namespace Strata::Desk
