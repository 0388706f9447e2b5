#include "sim/switch/Values.h"

#include "platform/runtime/Value.h"
#include "platform/types/EthAddr.h"
#include "sim/chip/MyStationTable.h"
#include "sim/chip/RegisterLayout.h"
#include "sim/packet/IpAddress.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <type_traits>

namespace Strata::Sim {

using Vormel::EthAddr;

std::string jsonText( const Json& json )
{
   return json.dump( -1, ' ', false, Json::error_handler_t::replace );
}

Json portsJson( const PortBitmap& ports )
{
   auto numbers = Json::array();
   for( const U32 port : ports )
      numbers.push_back( port );
   return numbers;
}

Json portJson( const StrataPort& port )
{
   if( !port )
      return nullptr;
   return {
      { "unit", port.unit() }, { "port", port.sdkPort() }, { "logicalPort", port.logicalPort() } };
}

/// A value, or a mask, of the qualifier.
static Json comparedJson( Qualifier role, U64 value )
{
   if( role == Qualifier::DstMac )
      return EthAddr::fromNumber( value ).toString();
   if( role == Qualifier::DstIp )
      return IpAddress::v4( static_cast<U32>( value ) ).toString();
   return value;
}

// No default case, so that a new Qualifier fails to compile until it is handled here.
Json qualifierJson( const FieldQualifier& q )
{
   Json object{ { "field", Vormel::enumName( q.role ) } };
   switch( q.role ) {
   case Qualifier::DstPort:
      object[ "modId" ] = q.data;
      object[ "modMask" ] = q.mask;
      object[ "port" ] = q.port;
      object[ "portMask" ] = q.portMask;
      break;
   case Qualifier::OutLoopback:
      object[ "loopbackPort" ] = q.data;
      object[ "ports" ] = portsJson( q.ports );
      break;
   case Qualifier::InPorts:
   case Qualifier::InPortsClass:
   case Qualifier::OutPortsClass:
      object[ "ports" ] = portsJson( q.ports );
      break;
   case Qualifier::IpType:
      object[ "value" ] = roleName( static_cast<FieldIpType>( q.data ) );
      break;
   case Qualifier::PacketRes:
      object[ "value" ] = roleName( static_cast<PacketResult>( q.data ) );
      break;
   case Qualifier::IngressStpState:
      object[ "value" ] = "forward";
      object[ "mask" ] = q.mask;
      break;
   case Qualifier::Drop:
   case Qualifier::DstIp:
   case Qualifier::DstMac:
   case Qualifier::DstMcastGroup:
   case Qualifier::EtherType:
   case Qualifier::HiGig:
   case Qualifier::IntPriority:
   case Qualifier::InterfaceClassL2:
   case Qualifier::InterfaceClassL3:
   case Qualifier::IpProtocol:
   case Qualifier::L3Routable:
   case Qualifier::L4DstPort:
   case Qualifier::MyStationHit:
   case Qualifier::SrcClassField:
   case Qualifier::Ttl:
   case Qualifier::TunnelTerminated:
      object[ "value" ] = comparedJson( q.role, q.data );
      object[ "mask" ] = comparedJson( q.role, q.mask );
      break;
   }
   return object;
}

Json actionJson( const FieldActionData& action )
{
   Json object{ { "action", roleName( action.role ) } };
   switch( action.role ) {
   case FieldAction::EgressPortsAdd:
   case FieldAction::RedirectPbmp:
      object[ "ports" ] = portsJson( action.ports );
      break;
   case FieldAction::CosQCpuNew:
      object[ "queue" ] = action.parameter0;
      break;
   case FieldAction::RedirectMcast:
      object[ "group" ] = action.parameter0;
      break;
   case FieldAction::RedirectPort:
      object[ "modId" ] = action.parameter0;
      object[ "port" ] = action.parameter1;
      break;
   case FieldAction::DoNotCheckUrpf:
      object[ "value" ] = action.parameter0;
      break;
   case FieldAction::CopyToCpu:
   case FieldAction::CopyToCpuCancel:
   case FieldAction::DoNotLearn:
   case FieldAction::Drop:
   case FieldAction::HgTrunkCancel:
   case FieldAction::HgTrunkCancelLag:
      break;
   }
   return object;
}

Json ruleJson( const FieldRule& rule )
{
   Json object{ { "qualifiers", Json::array() }, { "actions", Json::array() } };
   for( const FieldQualifier& qualifier : rule.qualifiers )
      object[ "qualifiers" ].push_back( qualifierJson( qualifier ) );
   for( const FieldActionData& action : rule.actions )
      object[ "actions" ].push_back( actionJson( action ) );
   return object;
}

Json registerJson( Register reg, U64 value )
{
   auto fields = Json::object();
   for( std::size_t i = 0; i < roleNames<RegisterField>.size(); ++i )
      if( const auto field = static_cast<RegisterField>( i ); registerOf( field ) == reg )
         fields[ std::string( roleName( field ) ) ] = registerField( value, field );
   return { { "value", value }, { "fields", std::move( fields ) } };
}

Json memoryJson( const MemoryEntry& entry )
{
   auto fields = Json::object();
   for( std::size_t i = 0; i < roleNames<MemoryField>.size(); ++i ) {
      const auto field = static_cast<MemoryField>( i );
      Json& value = fields[ std::string( roleName( field ) ) ];
      if( isMacField( field ) )
         value = memoryMacField( entry, field ).toString();
      else
         value = memoryField( entry, field );
   }
   return fields;
}

Json flagsJson( const std::set<VlanFlag>& flags )
{
   auto names = Json::array();
   for( const VlanFlag flag : flags )
      names.push_back( roleName( flag ) );
   return names;
}

template<class T>
static std::optional<T> parsed( const std::string& text )
{
   return Vormel::ValueTraits<T>::from( Vormel::Value( text ) );
}

static Json numberJson( const std::string& text )
{
   if( const auto number = parsed<U64>( text ) )
      return *number;
   if( const auto number = parsed<S64>( text ) )
      return *number;
   const auto number = parsed<double>( text );
   return number && std::isfinite( *number ) ? Json( *number ) : Json( text );
}

Json attributeJson( std::string_view type, const std::string& text )
{
   if( type == "bool" && ( text == "true" || text == "false" ) )
      return text == "true";
   if( type == "double" || ( type.size() <= 3 && type.find_first_of( "US" ) == 0 ) )
      return numberJson( text );
   if( type == "StrataPort" )
      if( const auto port = StrataPort::parse( text ) )
         return portJson( *port );
   if( type == "IntfIdList" ) {
      auto names = Json::array();
      if( const auto list = IntfIdList::parse( text ) )
         for( const Vormel::IntfId intf : *list )
            names.push_back( intf.toString() );
      return names;
   }
   if( text == "none" && ( type.starts_with( "Ref<" ) || type == "StrataPort" ) )
      return nullptr;
   return text;
}

RecordField attributeField( std::string_view name, std::string_view type, const std::string& text )
{
   const Json json = attributeJson( type, text );
   return json.is_string() ? RecordField( name, text )
                           : RecordField( name, JsonText{ jsonText( json ), text } );
}

} // namespace Strata::Sim
