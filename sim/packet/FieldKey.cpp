#include "sim/packet/FieldKey.h"

#include "platform/runtime/Format.h"
#include "platform/types/EthAddr.h"
#include "sim/packet/IpAddress.h"

namespace Strata::Sim {

using Vormel::format;

// No default case, so that a new Qualifier fails to compile until it is handled here.
bool comparesValue( Qualifier role )
{
   switch( role ) {
   case Qualifier::InPorts:
   case Qualifier::InPortsClass:
   case Qualifier::OutPortsClass:
   case Qualifier::OutLoopback:
      return false;
   case Qualifier::Drop:
   case Qualifier::DstIp:
   case Qualifier::DstMac:
   case Qualifier::DstMcastGroup:
   case Qualifier::DstPort:
   case Qualifier::EtherType:
   case Qualifier::HiGig:
   case Qualifier::IngressStpState:
   case Qualifier::IntPriority:
   case Qualifier::InterfaceClassL2:
   case Qualifier::InterfaceClassL3:
   case Qualifier::IpProtocol:
   case Qualifier::IpType:
   case Qualifier::L3Routable:
   case Qualifier::L4DstPort:
   case Qualifier::MyStationHit:
   case Qualifier::PacketRes:
   case Qualifier::SrcClassField:
   case Qualifier::Ttl:
   case Qualifier::TunnelTerminated:
      return true;
   }
   return true;
}

ValueMask valueMask( const FieldQualifier& qualifier )
{
   ValueMask result{ qualifier.data, qualifier.mask };
   if( qualifier.role == Qualifier::DstPort )
      result = { FieldKey::dstPort( qualifier.data, qualifier.port ),
         FieldKey::dstPort( qualifier.mask, qualifier.portMask ) };
   result.value &= result.mask;
   return result;
}

bool FieldKey::matches( const FieldQualifier& qualifier ) const
{
   switch( qualifier.role ) {
   case Qualifier::InPorts:
      return arrivesIn( qualifier.ports ) || !arrivesIn( qualifier.allPorts );
   case Qualifier::InPortsClass:
   case Qualifier::OutLoopback:
      return arrivesIn( qualifier.ports );
   case Qualifier::OutPortsClass:
      return departurePort && qualifier.ports.contains( *departurePort );
   default:
      break;
   }
   const ValueMask wanted = valueMask( qualifier );
   const auto has = value( qualifier.role );
   return wanted.mask == 0 || ( has && ( *has & wanted.mask ) == wanted.value );
}

std::string FieldKey::valueText( Qualifier role ) const
{
   if( !comparesValue( role ) ) {
      const auto port = role == Qualifier::OutPortsClass ? departurePort : arrivalPort;
      if( port == stackPort )
         return "the stack link";
      return port ? "port " + std::to_string( *port ) : "no single port";
   }
   const auto has = value( role );
   if( !has )
      return "none";
   switch( role ) {
   case Qualifier::DstMac: {
      Vormel::EthAddr mac;
      for( U32 i = 0; i < Vormel::EthAddr::size; ++i )
         mac.byteIs( i, static_cast<U8>( *has >> ( 40 - 8 * i ) ) );
      return mac.toString();
   }
   case Qualifier::DstIp:
      return IpAddress::v4( static_cast<U32>( *has ) ).toString();
   case Qualifier::DstPort:
      return format( "mod %d port %d", *has >> 32, *has & 0xFFFFFFFF );
   case Qualifier::EtherType:
   case Qualifier::InterfaceClassL2:
   case Qualifier::InterfaceClassL3:
   case Qualifier::SrcClassField:
      return format( "0x%x", *has );
   case Qualifier::IpType:
      return std::string( roleName( static_cast<FieldIpType>( *has ) ) );
   case Qualifier::PacketRes:
      return std::string( roleName( static_cast<PacketResult>( *has ) ) );
   case Qualifier::IngressStpState:
      return *has == 1 ? "forward" : "another state";
   default:
      return std::to_string( *has );
   }
}

} // namespace Strata::Sim
