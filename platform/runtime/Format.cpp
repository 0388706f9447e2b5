#include "platform/runtime/Format.h"

#include "platform/runtime/Errors.h"

#include <charconv>
#include <string_view>

namespace Vormel {

[[noreturn]] static void reject( const char* fmt, const std::string& why )
{
   throw Error( "format \"" + std::string( fmt ) + "\": " + why );
}

static std::string hexText( U64 bits, char pad, U32 width )
{
   char digits[ 16 ];
   const char* const end = std::to_chars( digits, digits + sizeof digits, bits, 16 ).ptr;
   const std::string text( digits, static_cast<std::size_t>( end - digits ) );
   return text.size() < width ? std::string( width - text.size(), pad ) + text : text;
}

/// Renders the conversion that starts after its percent sign and moves `c` behind it.
static std::string convert( const char* fmt, const char*& c, const FormatArgument& argument )
{
   const char* start = c;
   const char pad = *c == '0' ? '0' : ' ';
   U32 width = 0;
   while( *c >= '0' && *c <= '9' && width < 100 )
      width = width * 10 + static_cast<U32>( *c++ - '0' );
   const bool plain = c == start;
   const char kind = *c;
   if( kind )
      ++c;
   if( kind == 'x' ) {
      if( !argument.isInteger )
         reject( fmt, "%x takes an integer, not '" + argument.text + "'" );
      return hexText( argument.bits, pad, width );
   }
   if( plain && ( kind == 'd' || kind == 'u' || kind == 's' ) )
      return argument.text;
   reject( fmt, "unknown conversion '%" + std::string( start, c ) +
                   "'; valid are %d, %u, %s, %x with a width, and %%" );
}

static U64 conversionsIn( std::string_view fmt )
{
   U64 count = 0;
   for( U64 i = 0; i < fmt.size(); ++i )
      if( fmt[ i ] == '%' ) {
         ++i;
         count += i >= fmt.size() || fmt[ i ] != '%';
      }
   return count;
}

std::string formatArguments( const char* fmt, std::span<const FormatArgument> arguments )
{
   if( const U64 wanted = conversionsIn( fmt ); wanted != arguments.size() )
      reject( fmt, "takes " + std::to_string( wanted ) + " arguments, not " +
                      std::to_string( arguments.size() ) );
   std::string result;
   U64 next = 0;
   for( const char* c = fmt; *c; ) {
      if( *c != '%' || *++c == '%' ) {
         result += *c++;
      } else {
         result += convert( fmt, c, arguments[ next++ ] );
      }
   }
   return result;
}

} // namespace Vormel
