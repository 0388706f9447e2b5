// Names for an enumeration, given once beside it, at namespace scope in the enumeration's own
// namespace:
//
//    enum class MacType : U8 { bridgeMac, fennicMac };
//    VORMEL_ENUM_NAMES(
//       MacType, { MacType::bridgeMac, "bridgeMac" }, { MacType::fennicMac, "fennicMac" } )
//
// From them come the text form, parsing, the list of values and the stream operator. Thread-safe:
// all is constant.
#pragma once

#include "platform/runtime/Types.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

namespace Vormel {

template<class E>
struct EnumName
{
   E value;
   std::string_view name;
};

template<class E>
concept NamedEnum = std::is_enum_v<E> && requires
{
   enumNames( E{} );
};

/// Values and names in the order in which they were given.
template<NamedEnum E>
inline constexpr auto enumTable = enumNames( E{} );

/// Empty for a value without a name.
template<NamedEnum E>
constexpr std::string_view enumName( E value )
{
   for( const auto& entry : enumTable<E> )
      if( entry.value == value )
         return entry.name;
   return {};
}

/// The name; a value without one reads as its number.
template<NamedEnum E>
std::string enumText( E value )
{
   const std::string_view name = enumName( value );
   return name.empty() ? std::to_string( static_cast<std::underlying_type_t<E>>( value ) )
                       : std::string( name );
}

/// The value whose name is exactly `text`.
template<NamedEnum E>
constexpr std::optional<E> enumParse( std::string_view text )
{
   for( const auto& entry : enumTable<E> )
      if( entry.name == text )
         return entry.value;
   return std::nullopt;
}

template<NamedEnum E>
constexpr auto enumValues()
{
   std::array<E, enumTable<E>.size()> values{};
   std::ranges::transform( enumTable<E>, values.begin(), &EnumName<E>::value );
   return values;
}

} // namespace Vormel

#define VORMEL_ENUM_NAMES( EnumType, ... ) \
   [[maybe_unused]] constexpr auto enumNames( EnumType ) \
   { \
      return std::to_array<::Vormel::EnumName<EnumType>>( { __VA_ARGS__ } ); \
   } \
   [[maybe_unused]] inline std::ostream& operator<<( std::ostream& stream, EnumType value ) \
   { \
      return stream << ::Vormel::enumText( value ); \
   }
