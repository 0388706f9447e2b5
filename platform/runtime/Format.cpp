#include "platform/runtime/Format.h"

#include "platform/runtime/Errors.h"

#include <charconv>
#include <cstring>
#include <string_view>

namespace Vormel {

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

/// A wrong number of arguments comes before any other reason.
[[noreturn]] static void reject(
   const char* fmt, std::span<const FormatArgument> arguments, std::string why = {} )
{
   if( const U64 wanted = conversionsIn( fmt ); wanted != arguments.size() )
      why = "takes " + std::to_string( wanted ) + " arguments, not " +
            std::to_string( arguments.size() );
   throw Error( "format \"" + std::string( fmt ) + "\": " + why );
}

static void appendHex( std::string& result, U64 bits, char pad, U32 width )
{
   char digits[ 16 ];
   const char* const end = std::to_chars( digits, digits + sizeof digits, bits, 16 ).ptr;
   const std::size_t size = static_cast<std::size_t>( end - digits );
   if( size < width )
      result.append( width - size, pad );
   result.append( digits, size );
}

/// Appends what is not just an argument's text: %x, with or without a width. `c` is behind the percent sign, and is moved
/// behind the conversion. Returns why there is no such conversion, or an empty text.
static std::string appendWide( std::string& result, const char*& c, const FormatArgument& argument )
{
   const char* const start = c;
   const char pad = *c == '0' ? '0' : ' ';
   U32 width = 0;
   while( *c >= '0' && *c <= '9' && width < 100 )
      width = width * 10 + static_cast<U32>( *c++ - '0' );
   const char kind = *c;
   if( kind )
      ++c;
   if( kind != 'x' )
      return "unknown conversion '%" + std::string( start, c ) +
             "'; valid are %d, %u, %s, %x with a width, and %%";
   if( !argument.isInteger )
      return "%x takes an integer, not '" + argument.text + "'";
   appendHex( result, argument.bits, pad, width );
   return {};
}

std::string formatArguments( const char* fmt, std::span<const FormatArgument> arguments )
{
   std::size_t size = std::strlen( fmt );
   for( const FormatArgument& argument : arguments )
      size += argument.text.size();
   std::string result;
   result.reserve( size );
   auto next = arguments.begin();
   const char* c = fmt;
   while( const char* const percent = std::strchr( c, '%' ) ) {
      result.append( c, percent );
      c = percent + 1;
      if( *c == '%' ) {
         result += *c++;
         continue;
      }
      if( next == arguments.end() )
         reject( fmt, arguments );
      if( *c == 'd' || *c == 'u' || *c == 's' ) {
         result += next->text;
         ++c;
      } else if( const std::string why = appendWide( result, c, *next ); !why.empty() ) {
         reject( fmt, arguments, why );
      }
      ++next;
   }
   if( next != arguments.end() )
      reject( fmt, arguments );
   result += c;
   return result;
}

} // namespace Vormel
