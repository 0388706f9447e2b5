#include "sim/sdk/SdkCallText.h"

#include "platform/runtime/Format.h"
#include "platform/sdk/ArgumentRoles.h"
#include "sim/chip/MyStationTable.h"
#include "sim/chip/RegisterLayout.h"
#include "sim/switch/Values.h"

#include <nlohmann/json.hpp> // IWYU pragma: keep, completes Json

namespace Strata::Sim {

std::string SdkCallText::text() const
{
   return std::string( roleName( operation_ ) ) + "( " + arguments_ + " )";
}

void SdkCallText::addNumber( std::string_view name, RecordField field, const std::string& text )
{
   fields_.push_back( std::move( field ) );
   arguments_ += ( arguments_.empty() ? "" : ", " ) + std::string( name ) + " " + text;
}

void SdkCallText::addText( std::string_view name, const std::string& text )
{
   addNumber( name, RecordField( name, text ), text );
}

static std::string namedOr( std::optional<std::string_view> name, S64 number )
{
   return name ? std::string( *name ) : "unknown " + std::to_string( number );
}

template<class Role>
static std::string roleText( const NumberTable<Role>& table, S64 number )
{
   const auto role = table.find( number );
   return namedOr( role ? std::optional( roleName( *role ) ) : std::nullopt, number );
}

/// The name of the SDK number; nothing for an argument that is a plain number.
std::optional<std::string> SdkCallText::nameOfNumber( std::string_view argument, S64 number )
{
   const auto named = [ & ]( S64 known, const char* name ) {
      return number == known ? std::optional<std::string>( name ) : std::nullopt;
   };
   const auto role = argumentRole( operation_, argument );
   if( !role )
      return std::nullopt;
   switch( *role ) {
   case ArgumentRole::FieldAction:
      return roleText( numbers_.fieldAction, number );
   case ArgumentRole::FieldIpType:
      return roleText( numbers_.fieldIpType, number );
   case ArgumentRole::IpOptionAction:
      return roleText( numbers_.ipOptionAction, number );
   case ArgumentRole::PacketResult:
      return roleText( numbers_.packetResult, number );
   case ArgumentRole::SwitchControl:
      return roleText( numbers_.switchControl, number );
   case ArgumentRole::PortControl:
      return roleText( numbers_.portControl, number );
   case ArgumentRole::Register:
      register_ = numbers_.registers.find( number );
      return roleText( numbers_.registers, number );
   case ArgumentRole::Memory:
      return roleText( numbers_.memories, number );
   case ArgumentRole::AnyBlock:
      return named( numbers_.anyMemoryBlock, "any" )
         .value_or( "unknown " + std::to_string( number ) );
   case ArgumentRole::ChipWidePort:
      return named( numbers_.chipWidePort, "chip-wide" );
   case ArgumentRole::AnyPort:
      return named( numbers_.anyRegisterPort, "any" );
   case ArgumentRole::StpForward:
      return named( numbers_.stpForward, "forward" );
   case ArgumentRole::ExactMask:
      return named( numbers_.exactMatchMask, "exact" );
   }
   return std::nullopt;
}

static bool dataIsBits( SdkOperation operation )
{
   switch( operation ) {
   case SdkOperation::fieldQualifyDstIp:
   case SdkOperation::fieldQualifyEtherType:
   case SdkOperation::fieldQualifyInterfaceClassL2:
   case SdkOperation::fieldQualifyInterfaceClassL3:
   case SdkOperation::fieldQualifySrcClassField:
      return true;
   default:
      return false;
   }
}

void SdkCallText::add( std::string_view name, U32 value )
{
   if( operation_ == SdkOperation::ingMiscConfigRead ||
       operation_ == SdkOperation::ingMiscConfigWrite )
      register_ = Register::IngMiscConfig;
   if( auto text = nameOfNumber( name, value ) )
      return addText( name, *text );
   if( name == "value" && register_ )
      return addNumber( name, RecordField( name, value ), registerText( *register_, value ) );
   const bool bits = name.ends_with( "mask" ) || name.ends_with( "Mask" ) ||
                     ( name == "data" && dataIsBits( operation_ ) );
   addNumber( name, RecordField( name, value ),
      bits ? Vormel::format( "0x%x", value ) : std::to_string( value ) );
}

void SdkCallText::add( std::string_view name, U64 value )
{
   addNumber( name, RecordField( name, value ),
      register_ ? registerText( *register_, value ) : std::to_string( value ) );
}

void SdkCallText::add( std::string_view name, int value )
{
   if( auto text = nameOfNumber( name, value ) )
      return addText( name, *text );
   addNumber( name, RecordField( name, value ), std::to_string( value ) );
}

void SdkCallText::add( std::string_view name, const EthAddr& value )
{
   addText( name, value.toString() );
}

void SdkCallText::add( std::string_view name, const PortBitmap& value )
{
   const std::string text = value.toString();
   addNumber( name, RecordField( name, JsonText{ jsonText( portsJson( value ) ), text } ), text );
}

void SdkCallText::add( std::string_view name, const VlanControl& value )
{
   const VlanFlags flags = numbers_.vlanFlags( value.flags() );
   std::string text;
   for( const VlanFlag flag : flags.flags )
      text += ( text.empty() ? "" : "|" ) + std::string( roleName( flag ) );
   if( flags.otherFlags != 0 )
      text += ( text.empty() ? "other " : "|other " ) + Vormel::format( "0x%x", flags.otherFlags );
   if( text.empty() )
      text = "none";
   const Json json{ { "flags", flagsJson( flags.flags ) }, { "otherFlags", flags.otherFlags } };
   addNumber( name, RecordField( name, JsonText{ jsonText( json ), text } ), text );
}

void SdkCallText::add( std::string_view name, const MemoryEntry& value )
{
   const std::string text = myStationText( value );
   addNumber( name, RecordField( name, JsonText{ jsonText( memoryJson( value ) ), text } ),
      "\"" + text + "\"" );
}

void addFault( RecordContent& outcome, const std::optional<Strike>& fault )
{
   if( !fault )
      return;
   const bool hasName = fault->kind != FaultKind::code;
   if( hasName )
      outcome.text += ( outcome.text.empty() ? " -> " : ", " ) + fault->name();
   outcome.text += " (injected)";
   outcome.fields.emplace_back( "injected", true );
   if( hasName )
      outcome.fields.emplace_back( "fault", fault->name() );
}

RecordContent outcomeContent(
   SdkCode code, const std::optional<Strike>& fault, std::optional<bool> changed )
{
   RecordContent outcome;
   const std::string name = sdkCodeName( static_cast<int>( code ) );
   if( code != SdkCode::None )
      outcome.text = " -> " + name;
   if( !fault || fault->kind != FaultKind::throws )
      outcome.fields.emplace_back( "rc", name );
   addFault( outcome, fault );
   if( changed )
      outcome.fields.emplace_back( "write", *changed ? "changed" : "redundant" );
   return outcome;
}

} // namespace Strata::Sim
