#include "sim/chip/FieldRule.h"

#include "platform/runtime/Format.h"
#include "platform/types/EthAddr.h"

#include <algorithm>

namespace Strata::Sim {

using Vormel::EthAddr;
using Vormel::format;

static std::string macText( U64 number )
{
   EthAddr mac;
   for( U32 i = 0; i < EthAddr::size; ++i )
      mac.byteIs( i, static_cast<U8>( number >> ( 8 * ( EthAddr::size - 1 - i ) ) ) );
   return mac.toString();
}

static std::string ipText( U64 number )
{
   return format(
      "%d.%d.%d.%d", number >> 24 & 0xFF, number >> 16 & 0xFF, number >> 8 & 0xFF, number & 0xFF );
}

/// `value`, followed by the mask unless that covers all of `full`.
static std::string masked( const std::string& value, U64 mask, U64 full )
{
   return mask == full ? value : value + format( "/0x%x", mask );
}

static std::string dstPortText( const FieldQualifier& q )
{
   const auto part = []( U64 data, U64 mask ) {
      return mask == 0 ? std::string( "any" ) : format( "%d/0x%x", data, mask );
   };
   return "mod " + part( q.data, q.mask ) + " port " + part( q.port, q.portMask );
}

/// The number where it is no value of the enum.
template<class E>
static std::string roleText( U64 number )
{
   const std::string_view name =
      number < roleNames<E>.size() ? roleName( static_cast<E>( number ) ) : std::string_view();
   return name.empty() ? std::to_string( number ) : std::string( name );
}

static std::string valueText( const FieldQualifier& q )
{
   std::string decimal = std::to_string( q.data );
   switch( q.role ) {
   case Qualifier::Drop:
   case Qualifier::HiGig:
   case Qualifier::L3Routable:
   case Qualifier::MyStationHit:
   case Qualifier::TunnelTerminated:
      return masked( decimal, q.mask, 1 );
   case Qualifier::DstIp:
      return ipText( q.data ) + "/" + ipText( q.mask );
   case Qualifier::DstMac:
      return macText( q.data ) +
             ( q.mask == 0xFFFFFFFFFFFF ? std::string() : "/" + macText( q.mask ) );
   case Qualifier::DstPort:
      return dstPortText( q );
   case Qualifier::EtherType:
   case Qualifier::InterfaceClassL2:
   case Qualifier::InterfaceClassL3:
   case Qualifier::SrcClassField:
      return format( "0x%x/0x%x", q.data, q.mask );
   case Qualifier::IngressStpState:
      return format( "forward/0x%x", q.mask );
   case Qualifier::DstMcastGroup:
   case Qualifier::IntPriority:
      return decimal;
   case Qualifier::IpProtocol:
   case Qualifier::L4DstPort:
   case Qualifier::Ttl:
      return format( "%d/0x%x", q.data, q.mask );
   case Qualifier::IpType:
      return roleText<FieldIpType>( q.data );
   case Qualifier::PacketRes:
      return roleText<PacketResult>( q.data );
   case Qualifier::InPorts:
   case Qualifier::InPortsClass:
   case Qualifier::OutPortsClass:
      return q.ports.toString();
   case Qualifier::OutLoopback:
      return decimal + " from " + q.ports.toString();
   }
   return decimal;
}

std::string FieldQualifier::text() const
{
   return std::string( Vormel::enumName( role ) ) + " " + valueText( *this );
}

std::string FieldActionData::text() const
{
   const std::string name( roleName( role ) );
   switch( role ) {
   case FieldAction::EgressPortsAdd:
   case FieldAction::RedirectPbmp:
      return name + " " + ports.toString();
   case FieldAction::CosQCpuNew:
      return name + " " + std::to_string( parameter0 );
   case FieldAction::RedirectMcast:
      return name + " group " + std::to_string( parameter0 );
   case FieldAction::RedirectPort:
      return name + format( " mod %d port %d", parameter0, parameter1 );
   default:
      return parameter0 == 0 && parameter1 == 0 ? name
                                                : name + format( " %d %d", parameter0, parameter1 );
   }
}

template<class Part>
static std::string joinedTexts( const std::vector<Part>& parts, const char* none )
{
   std::string text;
   for( const Part& part : parts )
      text += ( text.empty() ? "" : "; " ) + part.text();
   return text.empty() ? none : text;
}

std::string FieldRule::text( std::string_view arrow ) const
{
   return joinedTexts( qualifiers, "every packet" ) + std::string( arrow ) +
          joinedTexts( actions, "nothing" );
}

template<class Part>
static void replaceOrAdd( std::vector<Part>& parts, const Part& part )
{
   const auto at = std::ranges::find( parts, part.role, &Part::role );
   if( at == parts.end() )
      parts.push_back( part );
   else
      *at = part;
}

void FieldRule::qualifierIs( const FieldQualifier& qualifier )
{
   replaceOrAdd( qualifiers, qualifier );
}

void FieldRule::actionIs( const FieldActionData& action )
{
   replaceOrAdd( actions, action );
}

} // namespace Strata::Sim
