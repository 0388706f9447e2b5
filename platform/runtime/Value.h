// The values of the generic interface, and the conversion of each C++ type to a value and back.
#pragma once

#include "platform/runtime/Enum.h"
#include "platform/runtime/Errors.h"
#include "platform/runtime/Export.h"
#include "platform/runtime/Ref.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/Types.h"

#include <concepts>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace Vormel {

/// Any object, in a generic value.
using ObjectRef = Ref<const Counted>;

/// The result of a generic read and the argument of a generic write or call. Values of other types are passed as
/// their text form. Text is accepted for every type that has a text form, so a shell needs no other form.
using Value = std::variant<std::monostate, bool, S64, U64, double, std::string, ObjectRef>;

VORMEL_EXPORT std::string toText( const Value& value );

/// The name, text form and parser of a type. Types with `std::string toText( const T& )` and
/// `static std::optional<T> T::parse( std::string_view )` do not need to specialise it.
template<class T>
struct ValueTraits
{
   static std::string text( const T& value ) { return toText( value ); }
   static Value value( const T& v ) { return toText( v ); }
   static std::optional<T> from( const Value& v )
   {
      const auto* const text = std::get_if<std::string>( &v );
      if( !text )
         return std::nullopt;
      // The empty text is that of an empty value, although the parsers of names refuse it.
      return text->empty() && toText( T() ).empty() ? T() : T::parse( *text );
   }
   static std::string expected() { return std::string( T::valueSyntax ); }
};

namespace Detail {

VORMEL_EXPORT std::optional<bool> boolFrom( const Value& value );
VORMEL_EXPORT std::optional<double> doubleFrom( const Value& value );
/// Accepts integers, and text in decimal or with 0x in hexadecimal.
VORMEL_EXPORT std::optional<S64> signedFrom( const Value& value, S64 low, S64 high );
VORMEL_EXPORT std::optional<U64> unsignedFrom( const Value& value, U64 high );
VORMEL_EXPORT std::string objectText( const Counted* object );

} // namespace Detail

template<>
struct ValueTraits<bool>
{
   static std::string text( bool v ) { return v ? "true" : "false"; }
   static Value value( bool v ) { return v; }
   static std::optional<bool> from( const Value& v ) { return Detail::boolFrom( v ); }
   static std::string expected() { return "true or false"; }
   static std::vector<std::string> choices() { return { "true", "false" }; }
};

template<std::unsigned_integral T>
requires( !std::same_as<T, bool> ) struct ValueTraits<T>
{
   static std::string text( T v ) { return std::to_string( v ); }
   static Value value( T v ) { return static_cast<U64>( v ); }
   static std::optional<T> from( const Value& v )
   {
      const auto wide = Detail::unsignedFrom( v, std::numeric_limits<T>::max() );
      return wide ? std::optional<T>( static_cast<T>( *wide ) ) : std::nullopt;
   }
   static std::string expected()
   {
      return "a number from 0 to " + std::to_string( std::numeric_limits<T>::max() );
   }
};

template<std::signed_integral T>
struct ValueTraits<T>
{
   static std::string text( T v ) { return std::to_string( v ); }
   static Value value( T v ) { return static_cast<S64>( v ); }
   static std::optional<T> from( const Value& v )
   {
      const auto wide =
         Detail::signedFrom( v, std::numeric_limits<T>::min(), std::numeric_limits<T>::max() );
      return wide ? std::optional<T>( static_cast<T>( *wide ) ) : std::nullopt;
   }
   static std::string expected()
   {
      return "a number from " + std::to_string( std::numeric_limits<T>::min() ) + " to " +
             std::to_string( std::numeric_limits<T>::max() );
   }
};

template<>
struct ValueTraits<double>
{
   static std::string text( double v ) { return toText( Value( v ) ); }
   static Value value( double v ) { return v; }
   static std::optional<double> from( const Value& v ) { return Detail::doubleFrom( v ); }
   static std::string expected() { return "a number"; }
};

template<>
struct ValueTraits<std::string>
{
   static std::string text( const std::string& v ) { return v; }
   static Value value( const std::string& v ) { return v; }
   static std::optional<std::string> from( const Value& v ) { return toText( v ); }
   static std::string expected() { return "a text"; }
};

/// Named enumerations also accept their number, so that any slot of an array can be addressed.
template<NamedEnum E>
struct ValueTraits<E>
{
   using Number = std::underlying_type_t<E>;

   static std::string text( E v ) { return enumText( v ); }
   static Value value( E v ) { return enumText( v ); }
   static std::optional<E> from( const Value& v )
   {
      if( const auto* const name = std::get_if<std::string>( &v ) )
         if( const auto named = enumParse<E>( *name ) )
            return named;
      const auto number = ValueTraits<Number>::from( v );
      return number ? std::optional<E>( static_cast<E>( *number ) ) : std::nullopt;
   }
   static std::string expected()
   {
      std::string names;
      for( const auto& entry : enumTable<E> )
         names += ( names.empty() ? "" : " or " ) + std::string( entry.name );
      return names;
   }
   static std::vector<std::string> choices()
   {
      std::vector<std::string> names;
      for( const auto& entry : enumTable<E> )
         names.emplace_back( entry.name );
      return names;
   }
};

template<class T>
struct ValueTraits<Ref<T>>
{
   static std::string text( const Ref<T>& v ) { return Detail::objectText( v.get() ); }
   static Value value( const Ref<T>& v ) { return ObjectRef( v ); }
   static std::optional<Ref<T>> from( const Value& v )
   {
      if( std::holds_alternative<std::monostate>( v ) )
         return Ref<T>();
      const auto* const ref = std::get_if<ObjectRef>( &v );
      if( !ref )
         return std::nullopt;
      // An object that is passed in belongs to the caller, who may write to it; hence the const_cast.
      auto* const object = dynamic_cast<T*>( const_cast<Counted*>( ref->get() ) );
      if( ref->get() && !object )
         return std::nullopt;
      return Ref<T>( object );
   }
   static std::string expected() { return "an object of the attribute's class, or none"; }
};

/// The texts of all values of a type that has few; otherwise empty.
template<class T>
std::vector<std::string> choicesOf()
{
   if constexpr( requires { ValueTraits<T>::choices(); } )
      return ValueTraits<T>::choices();
   else
      return {};
}

template<class T>
inline constexpr bool isRef = false;
template<class T>
inline constexpr bool isRef<Ref<T>> = true;

} // namespace Vormel
