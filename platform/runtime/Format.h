// format: the printf subset that names and messages of the agent are written in. Every argument is
// rendered to text first (Text.h), so %d, %u and %s take any value; %x takes integers. Thread-safe.
#pragma once

#include "platform/runtime/Export.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/Types.h"

#include <initializer_list>
#include <span>
#include <string>
#include <type_traits>

namespace Vormel {

struct FormatArgument
{
   std::string text;
   bool isInteger = false;
   U64 bits = 0; // of an integer, in its own width: -1 as S32 is 0xffffffff

   template<class T>
   explicit FormatArgument( const T& value ) : text{ toText( value ) }
   {
      if constexpr( std::is_integral_v<T> && !std::is_same_v<T, bool> ) {
         isInteger = true;
         bits = static_cast<std::make_unsigned_t<T>>( value );
      }
   }
};

/// See format().
VORMEL_EXPORT std::string formatArguments(
   const char* fmt, std::span<const FormatArgument> arguments );

/// Conversions: %d %u %s, %x with an optional width (%4x, %02x), and %% for a percent sign. Throws
/// Error, naming the format, when the number of arguments differs from the conversions', when the
/// argument of %x is not an integer, and for any other conversion.
template<class... Args>
std::string format( const char* fmt, const Args&... args )
{
   if constexpr( sizeof...( Args ) == 0 ) {
      return formatArguments( fmt, {} );
   } else {
      const FormatArgument arguments[] = { FormatArgument( args )... };
      return formatArguments( fmt, arguments );
   }
}

} // namespace Vormel
