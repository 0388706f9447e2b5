#include "platform/types/EthAddr.h"

#include <charconv>
#include <ostream>

namespace Vormel {

std::string EthAddr::toString() const
{
   static constexpr char digits[] = "0123456789abcdef";
   std::string text( size * 3 - 1, ':' );
   for( U32 i = 0; i < size; ++i ) {
      text[ i * 3 ] = digits[ bytes_[ i ] >> 4 ];
      text[ i * 3 + 1 ] = digits[ bytes_[ i ] & 0xf ];
   }
   return text;
}

std::optional<EthAddr> EthAddr::parse( std::string_view text )
{
   const bool dotted = text.size() == 14;
   if( !dotted && text.size() != 17 )
      return std::nullopt;
   const U32 bytesPerGroup = dotted ? 2 : 1;
   EthAddr addr;
   const char* c = text.data();
   for( U32 i = 0; i < size; ++i, c += 2 ) {
      if( i > 0 && i % bytesPerGroup == 0 && *c++ != ( dotted ? '.' : ':' ) )
         return std::nullopt;
      if( std::from_chars( c, c + 2, addr.bytes_[ i ], 16 ).ptr != c + 2 )
         return std::nullopt;
   }
   return addr;
}

std::ostream& operator<<( std::ostream& stream, const EthAddr& addr )
{
   return stream << addr.toString();
}

} // namespace Vormel
