// hashValue: the customisable hash of HashMap. A new key type adds a friend found by
// argument-dependent lookup: `friend constexpr U64 hashValue( MyKey k, U32 seed )`, built from
// hashMix. Equal keys and seeds give equal hashes in every run and on every machine of one byte
// order.
#pragma once

#include "platform/runtime/Types.h"

#include <bit>
#include <concepts>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace Vormel {

/// Spreads every bit of `value` over the result: one multiplication, its halves folded together.
constexpr U64 hashMix( U64 value, U32 seed )
{
   __extension__ using U128 = unsigned __int128;
   // Seed 0 has no cost; any other constant is folded by the compiler.
   const U128 product =
      static_cast<U128>( value ^ ( seed * U64{ 0x9e3779b97f4a7c15 } ) ) * U64{ 0xff51afd7ed558ccd };
   return static_cast<U64>( product ) ^ static_cast<U64>( product >> 64 );
}

template<class T>
requires std::integral<T> || std::is_enum_v<T>
constexpr U64 hashValue( T value, U32 seed )
{
   return hashMix( static_cast<U64>( value ), seed );
}

inline U64 hashValue( std::string_view text, U32 seed )
{
   U64 hash = text.size();
   while( !text.empty() ) {
      U64 word = 0;
      const auto length = text.size() < sizeof word ? text.size() : sizeof word;
      std::memcpy( &word, text.data(), length );
      hash = std::rotl( hashMix( hash ^ word, seed ), 23 );
      text.remove_prefix( length );
   }
   return hashMix( hash, seed );
}

} // namespace Vormel
