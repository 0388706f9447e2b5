// A MAC address: six bytes, a value. As thread-safe as any plain value.
#pragma once

#include "platform/runtime/Errors.h"
#include "platform/runtime/Export.h"
#include "platform/runtime/Hash.h"
#include "platform/runtime/Types.h"

#include <array>
#include <compare>
#include <cstring>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace Vormel {

class VORMEL_EXPORT EthAddr
{
 public:
   static constexpr U32 size = 6;
   static const EthAddr zero;
   static const EthAddr broadcast;

   constexpr EthAddr() = default;
   constexpr EthAddr( U8 b0, U8 b1, U8 b2, U8 b3, U8 b4, U8 b5 ) : bytes_{ b0, b1, b2, b3, b4, b5 }
   {}
   explicit constexpr EthAddr( const std::array<U8, size>& bytes ) : bytes_{ bytes } {}

   /// Byte 0 is the first on the wire; RangeError from 6 on.
   constexpr U8 operator[]( U32 index ) const { return bytes_[ checked( index ) ]; }
   constexpr U8 byte( U32 index ) const { return bytes_[ checked( index ) ]; }
   constexpr void byteIs( U32 index, U8 value ) { bytes_[ checked( index ) ] = value; }
   constexpr const std::array<U8, size>& bytes() const { return bytes_; }

   /// The inverse of toNumber(): 0x0200a1000001 is 02:00:a1:00:00:01. The upper 16 bits are ignored.
   static constexpr EthAddr fromNumber( U64 number )
   {
      EthAddr addr;
      for( U32 i = size; i-- > 0; number >>= 8 )
         addr.bytes_[ i ] = static_cast<U8>( number );
      return addr;
   }

   /// The bytes as one number, the first on the wire as its highest.
   constexpr U64 toNumber() const
   {
      U64 number = 0;
      for( const U8 byte : bytes_ )
         number = number << 8 | byte;
      return number;
   }

   constexpr bool isZero() const { return toNumber() == 0; }
   constexpr bool isBroadcast() const { return toNumber() == 0xffffffffffff; }
   /// Also true of broadcast.
   constexpr bool isMulticast() const { return ( bytes_[ 0 ] & 1 ) != 0; }

   /// "02:00:a1:00:00:01"
   std::string toString() const;
   /// Accepts "02:00:a1:00:00:01" and "0200.a100.0001", in upper and lower case; nothing for any other text.
   static std::optional<EthAddr> parse( std::string_view text );
   static constexpr std::string_view valueSyntax = "a MAC address such as 02:00:a1:00:00:01";

   friend constexpr bool operator==( const EthAddr& a, const EthAddr& b )
   {
      if( std::is_constant_evaluated() )
         return a.bytes_ == b.bytes_;
      // In two words, because GCC compiles a comparison of six bytes to a call.
      return std::memcmp( &a.bytes_[ 0 ], &b.bytes_[ 0 ], 4 ) == 0 &&
             std::memcmp( &a.bytes_[ 4 ], &b.bytes_[ 4 ], 2 ) == 0;
   }
   friend constexpr auto operator<=>( const EthAddr&, const EthAddr& ) = default;
   friend constexpr U64 hashValue( const EthAddr& addr, U32 seed )
   {
      return hashMix( addr.toNumber(), seed );
   }

 private:
   static constexpr U32 checked( U32 index )
   {
      if( index >= size )
         throw RangeError( index, size );
      return index;
   }

   std::array<U8, size> bytes_{};
};

inline constexpr EthAddr EthAddr::zero{};
inline constexpr EthAddr EthAddr::broadcast{ 0xff, 0xff, 0xff, 0xff, 0xff, 0xff };

VORMEL_EXPORT std::ostream& operator<<( std::ostream& stream, const EthAddr& addr );

} // namespace Vormel

template<>
struct std::hash<Vormel::EthAddr>
{
   std::size_t operator()( const Vormel::EthAddr& addr ) const { return hashValue( addr, 0 ); }
};
