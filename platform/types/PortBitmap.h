// A set of logical port numbers, 0 to 1023: a value that can be copied bytewise. As thread-safe as any
// plain value.
#pragma once

#include "platform/runtime/Errors.h"
#include "platform/runtime/Export.h"
#include "platform/runtime/Types.h"

#include <array>
#include <bit>
#include <cstddef>
#include <iosfwd>
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Strata {

class VORMEL_EXPORT PortBitmap
{
 public:
   static constexpr U32 size = 1024;
   class Iterator;

   constexpr PortBitmap() = default;

   /// Word w, bit b is port 32 * w + b; missing words are empty. RangeError for more than 32 words.
   static PortBitmap fromWords( std::span<const U32> words );

   /// RangeError from port 1024 on, in all three functions.
   constexpr void add( U32 port ) { wordOf( port ) |= bitOf( port ); }
   constexpr void remove( U32 port ) { wordOf( port ) &= ~bitOf( port ); }
   constexpr bool contains( U32 port ) const
   {
      return ( words_[ checked( port ) / 64 ] & bitOf( port ) ) != 0;
   }

   constexpr U32 count() const
   {
      U32 total = 0;
      for( const U64 word : words_ )
         total += static_cast<U32>( std::popcount( word ) );
      return total;
   }
   constexpr bool empty() const { return *this == PortBitmap{}; }
   constexpr void clear() { words_ = {}; }

   constexpr PortBitmap& operator|=( const PortBitmap& other )
   {
      for( U32 i = 0; i < wordCount_; ++i )
         words_[ i ] |= other.words_[ i ];
      return *this;
   }
   constexpr PortBitmap& operator&=( const PortBitmap& other )
   {
      for( U32 i = 0; i < wordCount_; ++i )
         words_[ i ] &= other.words_[ i ];
      return *this;
   }
   /// Removes the ports of `other`.
   constexpr PortBitmap& operator-=( const PortBitmap& other )
   {
      for( U32 i = 0; i < wordCount_; ++i )
         words_[ i ] &= ~other.words_[ i ];
      return *this;
   }
   friend constexpr PortBitmap operator|( PortBitmap a, const PortBitmap& b ) { return a |= b; }
   friend constexpr PortBitmap operator&( PortBitmap a, const PortBitmap& b ) { return a &= b; }
   friend constexpr PortBitmap operator-( PortBitmap a, const PortBitmap& b ) { return a -= b; }
   friend constexpr bool operator==( const PortBitmap&, const PortBitmap& ) = default;

   /// The ports in ascending order. Requires: the bitmap does not change during the iteration.
   constexpr Iterator begin() const;
   constexpr std::default_sentinel_t end() const { return {}; }

   /// "1-4,7,1023"; "-" when empty.
   std::string toString() const;
   /// The inverse of toString(); also accepts ports in any order and repeated ports.
   static std::optional<PortBitmap> parse( std::string_view text );
   static constexpr std::string_view valueSyntax = "ports such as 1-4,7 (- for none)";

 private:
   static constexpr U32 wordCount_ = size / 64;

   static constexpr U32 checked( U32 port )
   {
      if( port >= size )
         throw Vormel::RangeError( port, size );
      return port;
   }
   static constexpr U64 bitOf( U32 port ) { return U64{ 1 } << port % 64; }
   constexpr U64& wordOf( U32 port ) { return words_[ checked( port ) / 64 ]; }

   std::array<U64, wordCount_> words_{};
};

class PortBitmap::Iterator
{
 public:
   using value_type = U32;
   using difference_type = std::ptrdiff_t;

   constexpr Iterator() = default;
   explicit constexpr Iterator( const PortBitmap& ports )
      : words_{ ports.words_.data() },
        rest_{ ports.words_[ 0 ] }
   {
      skipEmptyWords();
   }

   constexpr U32 operator*() const
   {
      return word_ * 64 + static_cast<U32>( std::countr_zero( rest_ ) );
   }
   constexpr Iterator& operator++()
   {
      rest_ &= rest_ - 1;
      skipEmptyWords();
      return *this;
   }
   constexpr void operator++( int ) { ++*this; }
   friend constexpr bool operator==( const Iterator& i, std::default_sentinel_t )
   {
      return i.word_ == size / 64;
   }

 private:
   constexpr void skipEmptyWords()
   {
      while( rest_ == 0 && ++word_ < wordCount_ )
         rest_ = words_[ word_ ];
   }

   const U64* words_ = nullptr;
   U64 rest_ = 0; // the bits of the current word that are not yet visited
   U32 word_ = 0;
};

constexpr PortBitmap::Iterator PortBitmap::begin() const
{
   return Iterator( *this );
}

VORMEL_EXPORT std::ostream& operator<<( std::ostream& stream, const PortBitmap& ports );

} // namespace Strata
