// hashValue: the customisable hash of HashMap. A new key type adds a friend found by
// argument-dependent lookup: `friend constexpr U64 hashValue( MyKey k, U32 seed )`, built from
// hashMix. Equal keys and seeds give equal hashes in every run and on every machine of one byte
// order.
#pragma once

#include "platform/runtime/Types.h"

#include <concepts>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace Vormel {

/// A product of twice the width, its halves folded together.
constexpr U64 hashProduct( U64 a, U64 b )
{
   __extension__ using U128 = unsigned __int128;
   const U128 product = static_cast<U128>( a ) * b;
   return static_cast<U64>( product ) ^ static_cast<U64>( product >> 64 );
}

/// Spreads every bit of `value` over the result.
constexpr U64 hashMix( U64 value, U32 seed )
{
   // Seed 0 has no cost; any other constant is folded by the compiler.
   return hashProduct( value ^ ( seed * U64{ 0x9e3779b97f4a7c15 } ), 0xff51afd7ed558ccd );
}

template<class T>
requires std::integral<T> || std::is_enum_v<T>
constexpr U64 hashValue( T value, U32 seed )
{
   return hashMix( static_cast<U64>( value ), seed );
}

inline U64 hashValue( std::string_view text, U32 seed )
{
   constexpr std::size_t wordSize = sizeof( U64 );
   const std::size_t size = text.size();
   if( size < wordSize ) {
      U64 word = size;
      for( const char c : text )
         word = word << 8 | static_cast<unsigned char>( c );
      return hashMix( word, seed );
   }
   const auto wordAt = [ & ]( std::size_t at ) {
      U64 word = 0;
      std::memcpy( &word, text.data() + at, wordSize );
      return word;
   };
   const auto mixed = [ & ]( U64 hash, std::size_t first, std::size_t second ) {
      return hashProduct( hash ^ wordAt( first ), 0x9e3779b97f4a7c15 ^ wordAt( second ) );
   };
   U64 hash = hashMix( size, seed );
   std::size_t at = 0;
   for( ; at + 2 * wordSize < size; at += 2 * wordSize )
      hash = mixed( hash, at, at + wordSize );
   // The last two words may overlap others.
   return mixed( hash, size < 2 * wordSize ? 0 : size - 2 * wordSize, size - wordSize );
}

} // namespace Vormel
