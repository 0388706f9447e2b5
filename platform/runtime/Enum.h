// Enumerations with names. Each list below makes the enum, its names, and from these the text form, parsing, the list of
// values and the stream operator. All of it is constant. At namespace scope:
//
//    VORMEL_ENUM( MacType, U8,
//       bridgeMac, // of the switch itself
//       fennicMac )
//
// An enumerator may have a number, `routed = 8`. If other code needs the list, it is a list macro, whose rows have
// an enumerator and, if its name differs, the name:
//
//    #define REGISTERS( ROW ) ROW( IngConfig, ING_CONFIGr ) ROW( CpuControl, CPU_CONTROLr )
//    VORMEL_ENUM_FROM( Register, U8, REGISTERS )
//
// VORMEL_ENUM_NAMES( Side, { Side::left, "on the left" } ) gives names to an existing enum.
#pragma once

#include "platform/runtime/Types.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
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

/// The name, or the number of a value without a name.
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

/// The names alone.
template<NamedEnum E>
inline constexpr auto enumNameList = [] {
   std::array<std::string_view, enumTable<E>.size()> names{};
   std::ranges::transform( enumTable<E>, names.begin(), &EnumName<E>::name );
   return names;
}();

namespace Detail {

consteval std::size_t enumeratorCount( std::string_view list )
{
   return 1 + static_cast<std::size_t>( std::ranges::count( list, ',' ) );
}

/// Takes an enum's list of enumerators apart, as the compiler does: "unknown, bridged, routed = 8".
template<class E, std::size_t count>
consteval std::array<EnumName<E>, count> enumerators( std::string_view list )
{
   std::array<EnumName<E>, count> table{};
   std::underlying_type_t<E> next = 0;
   for( EnumName<E>& entry : table ) {
      list.remove_prefix( list.find_first_not_of( ", " ) );
      const std::string_view item = list.substr( 0, list.find( ',' ) );
      list.remove_prefix( item.size() );
      if( const std::size_t equals = item.find( '=' ); equals != item.npos ) {
         next = 0;
         for( const char c : item.substr( item.find_first_not_of( "= ", equals ) ) )
            next = static_cast<std::underlying_type_t<E>>(
               c >= '0' && c <= '9' ? 10 * next + ( c - '0' ) : throw "not a decimal number" );
      }
      entry = { static_cast<E>( next++ ), item.substr( 0, item.find_first_of( " =" ) ) };
   }
   return table;
}

/// The name of a list macro's row: its second column, if it has one.
consteval std::string_view rowName( std::string_view enumerator, std::string_view name )
{
   return name.empty() ? enumerator : name;
}

} // namespace Detail

} // namespace Vormel

#define VORMEL_ENUM( EnumType, Underlying, ... ) \
   enum class EnumType : Underlying \
   { \
      __VA_ARGS__ \
   }; \
   [[maybe_unused]] constexpr auto enumNames( EnumType ) \
   { \
      return ::Vormel::Detail::enumerators<EnumType, \
         ::Vormel::Detail::enumeratorCount( #__VA_ARGS__ )>( #__VA_ARGS__ ); \
   } \
   VORMEL_ENUM_STREAM( EnumType )

#define VORMEL_ENUM_FROM( EnumType, Underlying, LIST ) \
   enum class EnumType : Underlying \
   { \
      LIST( VORMEL_ENUM_ROW ) \
   }; \
   [[maybe_unused]] constexpr auto enumNames( EnumType ) \
   { \
      using enum EnumType; \
      return std::to_array<::Vormel::EnumName<EnumType>>( { LIST( VORMEL_ENUM_NAMED_ROW ) } ); \
   } \
   VORMEL_ENUM_STREAM( EnumType )
#define VORMEL_ENUM_ROW( enumerator, ... ) enumerator,
#define VORMEL_ENUM_NAMED_ROW( enumerator, ... ) \
   { enumerator, ::Vormel::Detail::rowName( #enumerator, #__VA_ARGS__ ) },

#define VORMEL_ENUM_NAMES( EnumType, ... ) \
   [[maybe_unused]] constexpr auto enumNames( EnumType ) \
   { \
      return std::to_array<::Vormel::EnumName<EnumType>>( { __VA_ARGS__ } ); \
   } \
   VORMEL_ENUM_STREAM( EnumType )

#define VORMEL_ENUM_STREAM( EnumType ) \
   [[maybe_unused]] inline std::ostream& operator<<( std::ostream& stream, EnumType value ) \
   { \
      return stream << ::Vormel::enumText( value ); \
   }
