#include "platform/runtime/Value.h"

#include "platform/runtime/Entity.h"

#include <charconv>
#include <cmath>
#include <sstream>

namespace Vormel {

namespace {

template<class T>
std::optional<T> parsed( std::string_view text )
{
   int base = 10;
   if( text.starts_with( "0x" ) ) {
      text.remove_prefix( 2 );
      if( text.starts_with( '-' ) )
         return std::nullopt;
      base = 16;
   }
   T number = 0;
   const auto result = std::from_chars( text.data(), text.data() + text.size(), number, base );
   if( result.ec != std::errc() || result.ptr != text.data() + text.size() )
      return std::nullopt;
   return number;
}

} // namespace

std::string toText( const Value& value )
{
   struct ToText
   {
      std::string operator()( std::monostate ) const { return {}; }
      std::string operator()( bool v ) const { return v ? "true" : "false"; }
      std::string operator()( S64 v ) const { return std::to_string( v ); }
      std::string operator()( U64 v ) const { return std::to_string( v ); }
      std::string operator()( double v ) const
      {
         std::ostringstream text;
         text << v;
         return text.str();
      }
      std::string operator()( const std::string& v ) const { return v; }
      std::string operator()( const ObjectRef& v ) const { return Detail::objectText( v.get() ); }
   };
   return std::visit( ToText(), value );
}

namespace Detail {

std::string objectText( const Counted* object )
{
   if( !object )
      return "none";
   const auto* const entity = dynamic_cast<const Entity*>( object );
   return entity ? entity->entityName() : "an object";
}

std::optional<bool> boolFrom( const Value& value )
{
   if( const auto* const v = std::get_if<bool>( &value ) )
      return *v;
   if( std::holds_alternative<double>( value ) )
      return std::nullopt;
   const std::string text = toText( value );
   if( text == "true" || text == "1" )
      return true;
   if( text == "false" || text == "0" )
      return false;
   return std::nullopt;
}

std::optional<double> doubleFrom( const Value& value )
{
   if( const auto* const v = std::get_if<double>( &value ) )
      return *v;
   const std::string text = toText( value );
   double number = 0;
   const auto result = std::from_chars( text.data(), text.data() + text.size(), number );
   if( text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size() )
      return std::nullopt;
   return number;
}

std::optional<U64> unsignedFrom( const Value& value, U64 high )
{
   std::optional<U64> number;
   if( const auto* const v = std::get_if<U64>( &value ) )
      number = *v;
   else if( const auto* const s = std::get_if<S64>( &value ); s && *s >= 0 )
      number = static_cast<U64>( *s );
   else if( const auto* const text = std::get_if<std::string>( &value ) )
      number = parsed<U64>( *text );
   return number && *number <= high ? number : std::nullopt;
}

std::optional<S64> signedFrom( const Value& value, S64 low, S64 high )
{
   std::optional<S64> number;
   if( const auto* const v = std::get_if<S64>( &value ) )
      number = *v;
   else if( const auto* const u = std::get_if<U64>( &value ); u && *u <= static_cast<U64>( high ) )
      number = static_cast<S64>( *u );
   else if( const auto* const text = std::get_if<std::string>( &value ) )
      number = parsed<S64>( *text );
   return number && *number >= low && *number <= high ? number : std::nullopt;
}

} // namespace Detail
} // namespace Vormel
