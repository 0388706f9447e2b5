#include "recording/SdkText.h"

namespace Strata::Recording {

void addCode( JsonObject& record, const SdkShimInterface& shim, int code )
{
   if( code == shim.successCode() )
      return record.add( "code", "success" );
   if( code == shim.featureNotAvailableCode() )
      return record.add( "code", "unavailable" );
   record.add( "code", code );
   record.add( "text", std::string_view( shim.errorText( code ) ) );
}

void SdkCallJson::addValue( JsonObject& object, std::string_view name, const EthAddr& mac ) const
{
   object.add( name, mac );
}

void SdkCallJson::addValue(
   JsonObject& object, std::string_view name, const PortBitmap& ports ) const
{
   object.add( name, ports );
}

void SdkCallJson::addValue(
   JsonObject& object, std::string_view name, const VlanControl& control ) const
{
   JsonObject members( object.at( name ) );
   std::string& text = members.at( "flags" );
   text += '[';
   const char* separator = "";
   for( const VlanFlag flag : Vormel::enumValues<VlanFlag>() )
      if( sdk_.isSet( flag, control.flags() ) ) {
         text += separator;
         appendQuoted( text, roleName( flag ) );
         separator = ",";
      }
   text += ']';
   members.add( "otherFlags", sdk_.otherFlags( control.flags() ) );
   std::string& rest = members.at( "rest" );
   rest += '"';
   for( const std::byte byte : control.rest ) {
      static constexpr char digits[] = "0123456789abcdef";
      const auto value = std::to_integer<U32>( byte );
      rest += digits[ value >> 4 ];
      rest += digits[ value & 0xF ];
   }
   rest += '"';
}

void SdkCallJson::addValue(
   JsonObject& object, std::string_view name, const MemoryEntry& entry ) const
{
   JsonObject members( object.at( name ) );
   for( const MemoryField field : Vormel::enumValues<MemoryField>() )
      if( isMacField( field ) )
         addValue( members, roleName( field ), sdk_.shim().memoryMacField( entry, field ) );
      else
         members.add( roleName( field ), sdk_.shim().memoryField( entry, field ) );
   std::string& text = members.at( "other" );
   text += '[';
   const char* separator = "";
   for( const U32 word : sdk_.otherBits( entry ).words ) {
      text += separator;
      appendNumber( text, word );
      separator = ",";
   }
   text += ']';
}

template<class Number>
void SdkCallJson::addRegister(
   JsonObject& object, std::string_view name, Register reg, Number value ) const
{
   JsonObject members( object.at( name ) );
   for( const RegisterField field : Vormel::enumValues<RegisterField>() )
      if( Strata::registerOf( field ) == reg ) {
         // The shim sets fields and reads none: a field is set if setting it changes nothing.
         Number set = value;
         sdk_.shim().registerFieldSet( reg, set, field, 1 );
         members.add( roleName( field ), set == value ? 1 : 0 );
      }
   members.add( "other", sdk_.otherBits( reg, value ) );
}
template void SdkCallJson::addRegister<U32>( JsonObject&, std::string_view, Register, U32 ) const;
template void SdkCallJson::addRegister<U64>( JsonObject&, std::string_view, Register, U64 ) const;

} // namespace Strata::Recording
