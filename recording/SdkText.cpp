#include "recording/SdkText.h"

#include <algorithm>

namespace Strata::Recording {

namespace {

/// The number of each role of an enum.
template<class Role, class Number>
std::array<Number, roleNames<Role>.size()> numbersOf(
   const SdkShimInterface& shim, Number ( SdkShimInterface::*numberOf )( Role ) const )
{
   std::array<Number, roleNames<Role>.size()> numbers;
   std::ranges::transform( Vormel::enumValues<Role>(), numbers.begin(),
      [ & ]( Role role ) { return ( shim.*numberOf )( role ); } );
   return numbers;
}

template<class Role, class Numbers>
std::optional<Role> roleWith( const Numbers& numbers, S64 number )
{
   for( std::size_t i = 0; i < numbers.size(); ++i )
      if( static_cast<S64>( numbers[ i ] ) == number )
         return static_cast<Role>( i );
   return std::nullopt;
}

/// A number that is no role's is one of the chip's own: it is recorded as a number.
template<class Role, class Numbers>
std::optional<std::string_view> nameIn( const Numbers& numbers, S64 number )
{
   const auto role = roleWith<Role>( numbers, number );
   return role ? std::optional( roleName( *role ) ) : std::nullopt;
}

std::optional<std::string_view> nameIf( bool is, std::string_view name )
{
   return is ? std::optional( name ) : std::nullopt;
}

} // namespace

SdkNames::SdkNames( const SdkShimInterface& shim )
   : shim_( shim ),
     success_( shim.successCode() ),
     unavailable_( shim.featureNotAvailableCode() ),
     exact_( shim.exactMatchMask() ),
     anyPort_( shim.anyRegisterPort() ),
     chipWidePort_( shim.chipWidePort() ),
     anyBlock_( shim.anyMemoryBlock() ),
     stpForward_( shim.stpForward() ),
     fieldActions_( numbersOf( shim, &SdkShimInterface::fieldAction ) ),
     ipTypes_( numbersOf( shim, &SdkShimInterface::fieldIpType ) ),
     packetResults_( numbersOf( shim, &SdkShimInterface::packetResult ) ),
     switchControls_( numbersOf( shim, &SdkShimInterface::switchControl ) ),
     portControls_( numbersOf( shim, &SdkShimInterface::portControl ) ),
     vlanFlags_( numbersOf( shim, &SdkShimInterface::vlanFlag ) ),
     ipOptionActions_( numbersOf( shim, &SdkShimInterface::ipOptionAction ) ),
     registers_( numbersOf( shim, &SdkShimInterface::registerNumber ) ),
     memories_( numbersOf( shim, &SdkShimInterface::memory ) )
{}

std::string_view SdkNames::codeName( int code ) const
{
   return code == success_ ? "success" : code == unavailable_ ? "unavailable" : "";
}

std::optional<std::string_view> SdkNames::nameOf(
   SdkOperation operation, std::string_view argument, S64 number ) const
{
   using enum SdkOperation;
   const bool exact = operation == fieldQualifyPacketRes || operation == fieldQualifyIntPriority ||
                      operation == fieldQualifyDstMcastGroup;
   if( argument == "action" )
      return operation == l3Ip4OptionsProfileCreate
                ? nameIn<IpOptionAction>( ipOptionActions_, number )
                : nameIn<FieldAction>( fieldActions_, number );
   if( argument == "ipType" )
      return nameIn<FieldIpType>( ipTypes_, number );
   if( argument == "control" )
      return operation == portControlSet ? nameIn<PortControl>( portControls_, number )
                                         : nameIn<SwitchControl>( switchControls_, number );
   if( argument == "reg" )
      return nameIn<Register>( registers_, number );
   if( argument == "memory" )
      return nameIn<Memory>( memories_, number );
   if( argument == "block" )
      return nameIf( number == anyBlock_, "any" );
   if( argument == "port" && operation == switchControlPortSet )
      return nameIf( number == chipWidePort_, "all" );
   if( argument == "port" && operation != portControlSet )
      return nameIf( number == anyPort_, "any" );
   if( argument == "data" && operation == fieldQualifyPacketRes )
      return nameIn<PacketResult>( packetResults_, number );
   if( argument == "data" && operation == fieldQualifyIngressStpState )
      return nameIf( number == stpForward_, "forward" );
   if( argument == "mask" && exact )
      return nameIf( number == exact_, "exact" );
   return std::nullopt;
}

std::optional<Register> SdkNames::registerOf( S64 number ) const
{
   return roleWith<Register>( registers_, number );
}

U32 SdkNames::otherFlags( U32 flags ) const
{
   U32 others = 0;
   U32 position = 0;
   for( U32 bit = 1; bit != 0; bit <<= 1 )
      if( std::ranges::find( vlanFlags_, bit ) == vlanFlags_.end() )
         others |= ( ( flags & bit ) != 0 ? 1u : 0u ) << position++;
   return others;
}

void SdkCallJson::addValue( JsonObject& object, std::string_view name, const EthAddr& mac ) const
{
   object.add( name, std::string_view( mac.toString() ) );
}

void SdkCallJson::addValue(
   JsonObject& object, std::string_view name, const PortBitmap& ports ) const
{
   object.add( name, std::string_view( ports.toString() ) );
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
   MemoryEntry others = entry;
   JsonObject members( object.at( name ) );
   for( const MemoryField field : Vormel::enumValues<MemoryField>() ) {
      if( isMacField( field ) ) {
         addValue( members, roleName( field ), sdk_.shim().memoryMacField( entry, field ) );
         sdk_.shim().memoryFieldSet( others, field, EthAddr() );
      } else {
         members.add( roleName( field ), sdk_.shim().memoryField( entry, field ) );
         sdk_.shim().memoryFieldSet( others, field, 0 );
      }
   }
   std::string& text = members.at( "other" );
   text += '[';
   const char* separator = "";
   for( const U32 word : others.words ) {
      text += separator;
      appendNumber( text, word );
      separator = ",";
   }
   text += ']';
}

std::optional<Register> SdkCallJson::registerOfValue( std::string_view name ) const
{
   if( name != "value" )
      return std::nullopt;
   using enum SdkOperation;
   if( operation_ == ingMiscConfigRead || operation_ == ingMiscConfigWrite )
      return Register::IngMiscConfig;
   return register_;
}

template<class Number>
void SdkCallJson::addRegister(
   JsonObject& object, std::string_view name, Register reg, Number value ) const
{
   JsonObject members( object.at( name ) );
   Number others = value;
   for( const RegisterField field : Vormel::enumValues<RegisterField>() )
      if( Strata::registerOf( field ) == reg ) {
         // The shim sets fields and reads none: a field is set if setting it changes nothing.
         Number set = value;
         sdk_.shim().registerFieldSet( reg, set, field, 1 );
         members.add( roleName( field ), set == value ? 1 : 0 );
         sdk_.shim().registerFieldSet( reg, others, field, 0 );
      }
   members.add( "other", others );
}
template void SdkCallJson::addRegister<U32>( JsonObject&, std::string_view, Register, U32 ) const;
template void SdkCallJson::addRegister<U64>( JsonObject&, std::string_view, Register, U64 ) const;

} // namespace Strata::Recording
