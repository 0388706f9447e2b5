#include "platform/types/PortBitmap.h"

#include <charconv>
#include <ostream>

namespace Strata {

PortBitmap PortBitmap::fromWords( std::span<const U32> words )
{
   if( words.size() * 32 > size )
      throw Vormel::RangeError( words.size() * 32 - 1, size );
   PortBitmap ports;
   for( U32 w = 0; w < words.size(); ++w )
      ports.words_[ w / 2 ] |= U64{ words[ w ] } << w % 2 * 32;
   return ports;
}

std::string PortBitmap::toString() const
{
   std::string text;
   for( auto i = begin(); i != end(); ) {
      const U32 first = *i;
      U32 last = first;
      while( ++i != end() && *i == last + 1 )
         ++last;
      text += ( text.empty() ? "" : "," ) + std::to_string( first );
      if( last != first )
         text += "-" + std::to_string( last );
   }
   return text.empty() ? "-" : text;
}

/// Reads one "7" or "1-4" into `ports`. Returns the first character after it, or null for any other text.
static const char* parseRange( const char* c, const char* end, PortBitmap& ports )
{
   U32 first = 0;
   auto result = std::from_chars( c, end, first );
   if( result.ec != std::errc{} )
      return nullptr;
   U32 last = first;
   if( result.ptr != end && *result.ptr == '-' )
      result = std::from_chars( result.ptr + 1, end, last );
   if( result.ec != std::errc{} || last < first || last >= PortBitmap::size )
      return nullptr;
   for( U32 port = first; port <= last; ++port )
      ports.add( port );
   return result.ptr;
}

std::optional<PortBitmap> PortBitmap::parse( std::string_view text )
{
   PortBitmap ports;
   if( text == "-" )
      return ports;
   const char* const end = text.data() + text.size();
   for( const char* c = text.data();; ++c ) {
      c = parseRange( c, end, ports );
      if( !c )
         return std::nullopt;
      if( c == end )
         return ports;
      if( *c != ',' )
         return std::nullopt;
   }
}

std::ostream& operator<<( std::ostream& stream, const PortBitmap& ports )
{
   return stream << ports.toString();
}

} // namespace Strata
