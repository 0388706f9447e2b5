#include "desk/SdkCallReader.h"

namespace Strata::Desk {

std::optional<PortBitmap> portsFrom( const Json& json )
{
   return json.is_string() ? PortBitmap::parse( json.get<std::string>() ) : std::nullopt;
}

std::optional<S64> SdkCallReader::numberNamed( const Json& json, std::string_view name ) const
{
   return json.is_string() ? sdk_.numberOf( operation_, name, json.get<std::string>() )
                           : std::nullopt;
}

std::optional<Register> SdkCallReader::registerOfValue( std::string_view name ) const
{
   return Recording::registerOfValue( operation_, name, register_ );
}

bool SdkCallReader::readValue( const Json& json, std::string_view, EthAddr& mac ) const
{
   const auto read = json.is_string() ? EthAddr::parse( json.get<std::string>() ) : std::nullopt;
   if( read )
      mac = *read;
   return read.has_value();
}

bool SdkCallReader::readValue( const Json& json, std::string_view, PortBitmap& ports ) const
{
   const auto read = portsFrom( json );
   if( read )
      ports = *read;
   return read.has_value();
}

static int hexDigit( char c )
{
   return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

bool SdkCallReader::readValue( const Json& json, std::string_view, VlanControl& control ) const
{
   if( !json.is_object() )
      return false;
   const Json flags = json.value( "flags", Json::array() );
   const Json others = json.value( "otherFlags", Json( 0u ) );
   const Json restJson = json.value( "rest", Json() );
   if( !flags.is_array() || !others.is_number_unsigned() || !restJson.is_string() )
      return false;
   const auto rest = restJson.get<std::string>();
   if( rest.size() != 2 * control.rest.size() )
      return false;
   U32 word = sdk_.flagsWithOthers( others.get<U32>() );
   for( const VlanFlag flag : Vormel::enumValues<VlanFlag>() )
      for( const Json& name : flags )
         if( name == roleName( flag ) )
            word |= sdk_.flagOf( flag );
   control.flagsIs( word );
   for( std::size_t i = 0; i < control.rest.size(); ++i ) {
      const int high = hexDigit( rest[ 2 * i ] );
      const int low = hexDigit( rest[ 2 * i + 1 ] );
      if( high < 0 || low < 0 )
         return false;
      control.rest[ i ] = static_cast<std::byte>( high << 4 | low );
   }
   return true;
}

bool SdkCallReader::readValue( const Json& json, std::string_view, MemoryEntry& entry ) const
{
   const Json words = json.is_object() ? json.value( "other", Json() ) : Json();
   if( !words.is_array() || words.size() != entry.words.size() )
      return false;
   MemoryEntry others;
   for( std::size_t i = 0; i < words.size(); ++i ) {
      if( !words[ i ].is_number_unsigned() )
         return false;
      others.words[ i ] = words[ i ].get<U32>();
   }
   entry = sdk_.entryWithOthers( others );
   for( const MemoryField field : Vormel::enumValues<MemoryField>() ) {
      const auto at = json.find( roleName( field ) );
      if( at == json.end() )
         return false;
      if( isMacField( field ) ) {
         EthAddr mac;
         if( !readValue( *at, {}, mac ) )
            return false;
         sdk_.shim().memoryFieldSet( entry, field, mac );
      } else {
         if( !at->is_number_unsigned() )
            return false;
         sdk_.shim().memoryFieldSet( entry, field, at->get<U32>() );
      }
   }
   return true;
}

} // namespace Strata::Desk
