#include "platform/runtime/Snapshot.h"

#include "platform/runtime/EntityType.h"

#include <cmath>

namespace Vormel {

namespace {

/// The length of the valid UTF-8 sequence that the text starts with; 0 when it starts with none.
std::size_t sequenceLength( std::string_view text )
{
   const auto byte = [ & ]( std::size_t i ) { return static_cast<unsigned char>( text[ i ] ); };
   const U8 lead = byte( 0 );
   if( lead < 0x80 )
      return 1;
   const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
   if( lead < 0xC2 || lead > 0xF4 || text.size() < length )
      return 0;
   for( std::size_t i = 1; i < length; ++i )
      if( ( byte( i ) & 0xC0 ) != 0x80 )
         return 0;
   // Excludes overlong forms, surrogates and numbers beyond the last code point.
   const U8 second = byte( 1 );
   const bool wrong = ( lead == 0xE0 && second < 0xA0 ) || ( lead == 0xED && second > 0x9F ) ||
                      ( lead == 0xF0 && second < 0x90 ) || ( lead == 0xF4 && second > 0x8F );
   return wrong ? 0 : length;
}

std::string jsonValue( const Value& value )
{
   if( std::holds_alternative<std::monostate>( value ) )
      return "null";
   if( const auto* const object = std::get_if<ObjectRef>( &value ) )
      return *object ? jsonString( toText( value ) ) : "null";
   if( const auto* const number = std::get_if<double>( &value );
       number && !std::isfinite( *number ) )
      return jsonString( toText( value ) );
   if( const auto* const text = std::get_if<std::string>( &value ) )
      return jsonString( *text );
   return toText( value );
}

std::string jsonMembers( const std::vector<Member>& members )
{
   std::string json = "[";
   for( const Member& member : members )
      json += ( json.size() == 1 ? "" : ", " ) + ( "{ \"key\": " + jsonValue( member.key ) ) +
              ", \"value\": " + jsonValue( member.value ) + " }";
   return json + "]";
}

std::string jsonAttribute( const Attribute& attribute, const Entity& entity )
{
   const AttributeInfo& info = attribute.info();
   const bool single = info.kind == AttributeKind::Field || info.kind == AttributeKind::Scalar;
   std::string json = "{ ";
   if( info.number != 0 )
      json += "\"number\": " + std::to_string( info.number ) + ", ";
   return json + "\"name\": " + jsonString( info.name ) +
          ", \"kind\": " + jsonString( enumName( info.kind ) ) + ", \"value\": " +
          ( single ? jsonValue( attribute.read( entity ) )
                   : jsonMembers( attribute.members( entity ) ) ) +
          " }";
}

} // namespace

std::string jsonString( std::string_view text )
{
   static constexpr char digits[] = "0123456789abcdef";
   std::string json = "\"";
   while( !text.empty() ) {
      const char c = text.front();
      const std::size_t length = sequenceLength( text );
      if( c == '"' || c == '\\' )
         json += { '\\', c };
      else if( static_cast<unsigned char>( c ) < 0x20 )
         json += { '\\', 'u', '0', '0', digits[ c >> 4 ], digits[ c & 0xF ] };
      else if( length == 0 )
         json += "\xEF\xBF\xBD";
      else
         json += text.substr( 0, length );
      text.remove_prefix( length == 0 ? 1 : length );
   }
   return json + "\"";
}

std::string snapshotJson( const Entity& entity )
{
   const EntityType& type = entity.entityType();
   std::string json = "{\n   \"type\": " + jsonString( type.name() ) +
                      ",\n   \"name\": " + jsonString( entity.entityName() ) +
                      ",\n   \"attributes\": [";
   bool first = true;
   for( const auto& attribute : type.attributes() ) {
      json += ( first ? "\n      " : ",\n      " ) + jsonAttribute( *attribute, entity );
      first = false;
   }
   return json + "\n   ]\n}\n";
}

} // namespace Vormel
