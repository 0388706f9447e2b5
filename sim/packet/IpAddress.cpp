#include "sim/packet/IpAddress.h"

#include <arpa/inet.h>

#include <charconv>

namespace Strata::Sim {

IpAddress IpAddress::v4( U32 number )
{
   IpAddress address;
   for( U32 i = 0; i < 4; ++i )
      address.bytes_[ i ] = static_cast<U8>( number >> ( 24 - 8 * i ) );
   return address;
}

IpAddress IpAddress::v6( const std::array<U8, 16>& bytes )
{
   IpAddress address;
   address.v6_ = true;
   address.bytes_ = bytes;
   return address;
}

std::optional<IpAddress> IpAddress::parse( std::string_view text )
{
   const std::string string( text );
   IpAddress address;
   address.v6_ = text.find( ':' ) != text.npos;
   if( inet_pton( address.v6_ ? AF_INET6 : AF_INET, string.c_str(), address.bytes_.data() ) != 1 )
      return std::nullopt;
   return address;
}

U32 IpAddress::v4Number() const
{
   U32 number = 0;
   for( U32 i = 0; i < 4; ++i )
      number = number << 8 | bytes_[ i ];
   return number;
}

bool IpAddress::isMulticast() const
{
   return v6_ ? bytes_[ 0 ] == 0xff : bytes_[ 0 ] >> 4 == 0xe;
}

bool IpAddress::isLinkLocal() const
{
   if( !v6_ )
      return ( bytes_[ 0 ] == 169 && bytes_[ 1 ] == 254 ) ||
             ( bytes_[ 0 ] == 224 && bytes_[ 1 ] == 0 && bytes_[ 2 ] == 0 );
   if( isMulticast() )
      return ( bytes_[ 1 ] & 0x0f ) <= 2;
   return bytes_[ 0 ] == 0xfe && bytes_[ 1 ] >> 6 == 2;
}

bool IpAddress::isMartian( bool asSource ) const
{
   if( asSource && isMulticast() )
      return true;
   if( !v6_ )
      return bytes_[ 0 ] == 0 || bytes_[ 0 ] == 127 || bytes_[ 0 ] >= 240;
   IpAddress loopback;
   loopback.v6_ = true;
   const bool unspecified = *this == loopback;
   loopback.bytes_[ 15 ] = 1;
   return unspecified || *this == loopback;
}

IpAddress IpAddress::masked( U32 length ) const
{
   IpAddress result = *this;
   for( U32 i = 0; i < 16; ++i ) {
      const U32 kept = length <= 8 * i ? 0 : length - 8 * i;
      if( kept < 8 )
         result.bytes_[ i ] = static_cast<U8>( bytes_[ i ] & 0xFF00 >> kept );
   }
   return result;
}

std::string IpAddress::toString() const
{
   if( v6_ ) {
      char text[ INET6_ADDRSTRLEN ];
      return inet_ntop( AF_INET6, bytes_.data(), text, sizeof( text ) );
   }
   char text[ INET_ADDRSTRLEN ];
   char* end = text;
   for( U32 i = 0; i < 4; ++i ) {
      if( i > 0 )
         *end++ = '.';
      end = std::to_chars( end, text + sizeof( text ), bytes_[ i ] ).ptr;
   }
   return { text, end };
}

std::optional<IpPrefix> IpPrefix::parse( std::string_view text )
{
   const std::size_t slash = text.find( '/' );
   const auto address = IpAddress::parse( text.substr( 0, slash ) );
   if( !address )
      return std::nullopt;
   U32 length = address->bits();
   if( slash != text.npos ) {
      const char* const end = text.data() + text.size();
      const auto result = std::from_chars( text.data() + slash + 1, end, length );
      if( result.ec != std::errc() || result.ptr != end || length > address->bits() )
         return std::nullopt;
   }
   return IpPrefix{ address->masked( length ), length };
}

bool IpPrefix::contains( const IpAddress& other ) const
{
   return other.isV6() == address.isV6() && other.masked( length ) == address;
}

} // namespace Strata::Sim
