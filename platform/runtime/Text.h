// The text of a value in traces, log messages and formats: booleans as 0 and 1, one-byte integers as
// numbers, all other types as their stream operator writes them.
#pragma once

#include "platform/runtime/Types.h"

#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace Vormel {

namespace Detail {

template<class T>
concept ByteInteger = std::is_same_v<T, unsigned char> || std::is_same_v<T, signed char>;

template<class T>
concept Streamable = requires( std::ostream& stream, const T& value )
{
   stream << value;
};

/// Whether the enumeration has names (Enum.h); without them its text is a number.
template<class E>
concept EnumWithNames = requires
{
   enumNames( E{} );
};

/// An unscoped one-byte enumeration without names would stream as a character.
template<class T>
constexpr bool streamsAsCharacter()
{
   if constexpr( std::is_enum_v<T> )
      return ByteInteger<std::underlying_type_t<T>> && !EnumWithNames<T>;
   else
      return false;
}

} // namespace Detail

template<class T>
void writeText( std::ostream& stream, const T& value )
{
   if constexpr( std::is_same_v<T, bool> )
      stream << ( value ? '1' : '0' );
   else if constexpr( Detail::ByteInteger<T> )
      stream << static_cast<int>( value );
   else if constexpr( std::is_enum_v<T> &&
                      ( !Detail::Streamable<T> || Detail::streamsAsCharacter<T>() ) )
      stream << +static_cast<std::underlying_type_t<T>>( value );
   else if constexpr( std::is_convertible_v<const T&, const char*> && std::is_pointer_v<T> ) {
      const char* text = value;
      stream << ( text ? text : "(null)" ); // writing a null would set the stream's error state
   } else
      stream << value;
}

template<class T>
std::string toText( const T& value )
{
   if constexpr( std::is_convertible_v<const T&, std::string_view> && !std::is_pointer_v<T> ) {
      return std::string( static_cast<std::string_view>( value ) );
   } else if constexpr( std::is_integral_v<T> && !std::is_same_v<T, char> ) {
      return std::to_string( value );
   } else {
      std::ostringstream stream;
      writeText( stream, value );
      return std::move( stream ).str();
   }
}

} // namespace Vormel
