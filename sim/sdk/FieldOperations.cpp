// The Field Processor's operations: qualifiers and actions go to the entry's claim, and to hardware
// with the next install.
#include "sim/chip/FieldRefusals.h"
#include "sim/sdk/ChipOperations.h"

#include <algorithm>
#include <string>

namespace Strata::Sim {

FieldEntry* ChipOperations::claimed( SdkOperation operation, U32 unit, U32 entry )
{
   FieldGroup* const group = chip( unit ).groupOf( entry );
   FieldEntry* const found = group ? group->claimed( entry ) : nullptr;
   if( !found && !chip( unit ).wasTurnedAway( entry ) )
      hardware_.critic.breach( "entry " + std::to_string( entry ) + " is not claimed on the unit",
         roleName( operation ), unit );
   return found;
}

// The key of an ACL group has no room for classes, so entries there are made without them.
static bool keyLacks( const FieldGroupProfile& group, Qualifier role )
{
   return group.acl && ( role == Qualifier::InterfaceClassL2 ||
                          role == Qualifier::InterfaceClassL3 || role == Qualifier::SrcClassField );
}

SdkCode ChipOperations::qualify(
   SdkOperation operation, U32 unit, U32 entry, const FieldQualifier& qualifier )
{
   FieldEntry* const found = claimed( operation, unit, entry );
   if( !found )
      return SdkCode::NotFound;
   const FieldGroupProfile& group = chip( unit ).groupOf( entry )->profile();
   if( keyLacks( group, qualifier.role ) )
      return SdkCode::Unavail;
   if( !chip( unit ).profile().supports( qualifier.role ) ) {
      found->qualifierRefused = true;
      return SdkCode::Unavail;
   }
   const SdkCode code = qualifierCode( group.stage, found->claim, qualifier );
   if( code == SdkCode::None )
      found->claim.qualifierIs( qualifier );
   return code;
}

void ChipOperations::answeredUnavailable( SdkOperation operation, U32 unit, S64 target )
{
   if( !roleName( operation ).starts_with( "bcm_field_qualify_" ) ||
       !hardware_.chips.contains( unit ) )
      return;
   const auto entry = static_cast<U32>( target );
   FieldGroup* const group = chip( unit ).groupOf( entry );
   if( FieldEntry* const found = group ? group->claimed( entry ) : nullptr )
      found->unavailable.insert( operation );
}

SdkCode ChipOperations::qualifyExact(
   SdkOperation operation, U32 unit, U32 entry, Qualifier role, U64 data, U32 mask )
{
   if( mask != hardware_.numbers.exactMatchMask )
      return unknown( operation, unit, "exact-match mask" );
   return qualify( operation, unit, entry, { .role = role, .data = data, .mask = 0xFFFFFFFF } );
}

// A qualifier whose data and mask are used unchanged.
#define PLAIN_QUALIFIER( name, Data ) \
   SdkCode ChipOperations::fieldQualify##name( U32 unit, U32 entry, Data data, Data mask ) \
   { \
      return qualify( SdkOperation::fieldQualify##name, unit, entry, \
         { .role = Qualifier::name, .data = data, .mask = mask } ); \
   }
PLAIN_QUALIFIER( Drop, U8 )
PLAIN_QUALIFIER( DstIp, U32 )
PLAIN_QUALIFIER( EtherType, U16 )
PLAIN_QUALIFIER( HiGig, U8 )
PLAIN_QUALIFIER( InterfaceClassL2, U32 )
PLAIN_QUALIFIER( InterfaceClassL3, U32 )
PLAIN_QUALIFIER( IpProtocol, U8 )
PLAIN_QUALIFIER( L3Routable, U8 )
PLAIN_QUALIFIER( L4DstPort, U16 )
PLAIN_QUALIFIER( MyStationHit, U8 )
PLAIN_QUALIFIER( SrcClassField, U32 )
PLAIN_QUALIFIER( Ttl, U8 )
PLAIN_QUALIFIER( TunnelTerminated, U8 )
#undef PLAIN_QUALIFIER

SdkCode ChipOperations::fieldQualifyDstMac(
   U32 unit, U32 entry, const EthAddr& mac, const EthAddr& mask )
{
   return qualify( SdkOperation::fieldQualifyDstMac, unit, entry,
      { .role = Qualifier::DstMac, .data = mac.toNumber(), .mask = mask.toNumber() } );
}

SdkCode ChipOperations::fieldQualifyDstMcastGroup( U32 unit, U32 entry, U32 data, U32 mask )
{
   return qualifyExact(
      SdkOperation::fieldQualifyDstMcastGroup, unit, entry, Qualifier::DstMcastGroup, data, mask );
}

SdkCode ChipOperations::fieldQualifyDstPort(
   U32 unit, U32 entry, U32 modId, U32 modMask, U32 port, U32 portMask )
{
   return qualify( SdkOperation::fieldQualifyDstPort, unit, entry,
      { .role = Qualifier::DstPort,
         .data = modId,
         .mask = modMask,
         .port = port,
         .portMask = portMask } );
}

SdkCode ChipOperations::fieldQualifyIngressStpState( U32 unit, U32 entry, U8 data, U8 mask )
{
   if( data != hardware_.numbers.stpForward )
      return unknown( SdkOperation::fieldQualifyIngressStpState, unit, "spanning-tree state" );
   return qualify( SdkOperation::fieldQualifyIngressStpState, unit, entry,
      { .role = Qualifier::IngressStpState, .data = 1, .mask = mask } );
}

SdkCode ChipOperations::fieldQualifyIntPriority( U32 unit, U32 entry, U32 data, U32 mask )
{
   return qualifyExact(
      SdkOperation::fieldQualifyIntPriority, unit, entry, Qualifier::IntPriority, data, mask );
}

SdkCode ChipOperations::fieldQualifyIpType( U32 unit, U32 entry, int ipType )
{
   const auto role = hardware_.numbers.fieldIpType.find( ipType );
   if( !role )
      return unknown( SdkOperation::fieldQualifyIpType, unit, "IP type" );
   return qualify( SdkOperation::fieldQualifyIpType, unit, entry,
      { .role = Qualifier::IpType, .data = static_cast<U64>( *role ), .mask = 0xFF } );
}

SdkCode ChipOperations::fieldQualifyPacketRes( U32 unit, U32 entry, U32 data, U32 mask )
{
   const auto role = hardware_.numbers.packetResult.find( data );
   if( !role )
      return unknown( SdkOperation::fieldQualifyPacketRes, unit, "packet result" );
   return qualifyExact( SdkOperation::fieldQualifyPacketRes, unit, entry, Qualifier::PacketRes,
      static_cast<U64>( *role ), mask );
}

static bool carriesPorts( FieldAction action )
{
   return action == FieldAction::RedirectPbmp || action == FieldAction::EgressPortsAdd;
}

bool ChipOperations::hasPort( U32 modId, U32 port ) const
{
   return port < PortBitmap::size &&
          std::ranges::any_of( hardware_.chips, [ & ]( const auto& item ) {
             return item.second.modId() == modId && item.second.hasPort( static_cast<int>( port ) );
          } );
}

SdkCode ChipOperations::addAction(
   SdkOperation operation, U32 unit, U32 entry, const FieldActionData& action )
{
   FieldEntry* const found = claimed( operation, unit, entry );
   if( !found )
      return SdkCode::NotFound;
   if( !chip( unit ).profile().supports( action.role ) )
      return SdkCode::Unavail;
   if( carriesPorts( action.role ) != ( operation == SdkOperation::fieldActionPortsAdd ) )
      return SdkCode::Param;
   if( action.role == FieldAction::RedirectPort &&
       !hasPort( action.parameter0, action.parameter1 ) )
      return SdkCode::Port;
   const SdkCode code = actionCode( chip( unit ).profile(),
      chip( unit ).groupOf( entry )->profile().stage, found->claim, action );
   if( code != SdkCode::None )
      return code;
   if( found->actionsRemoved && operation == SdkOperation::fieldActionAdd )
      hardware_.critic.actionsRewritten( operation, unit );
   found->claim.actionIs( action );
   return SdkCode::None;
}

SdkCode ChipOperations::fieldActionAdd(
   U32 unit, U32 entry, int action, U32 parameter0, U32 parameter1 )
{
   const auto role = hardware_.numbers.fieldAction.find( action );
   if( !role )
      return unknown( SdkOperation::fieldActionAdd, unit, "action" );
   return addAction( SdkOperation::fieldActionAdd, unit, entry,
      { .role = *role, .parameter0 = parameter0, .parameter1 = parameter1, .ports = {} } );
}

SdkCode ChipOperations::fieldActionPortsAdd(
   U32 unit, U32 entry, int action, const PortBitmap& ports )
{
   const auto role = hardware_.numbers.fieldAction.find( action );
   if( !role )
      return unknown( SdkOperation::fieldActionPortsAdd, unit, "action" );
   return addAction(
      SdkOperation::fieldActionPortsAdd, unit, entry, { .role = *role, .ports = ports } );
}

SdkCode ChipOperations::fieldActionRemoveAll( U32 unit, U32 entry )
{
   FieldEntry* const found = claimed( SdkOperation::fieldActionRemoveAll, unit, entry );
   if( !found )
      return SdkCode::NotFound;
   found->claim.actions.clear();
   found->actionsRemoved = true;
   return SdkCode::None;
}

SdkCode ChipOperations::fieldLock( U32 unit )
{
   if( chip( unit ).fieldLocked )
      return SdkCode::Busy;
   chip( unit ).fieldLocked = true;
   return SdkCode::None;
}

SdkCode ChipOperations::fieldUnlock( U32 unit )
{
   if( !chip( unit ).fieldLocked )
      return SdkCode::Param;
   chip( unit ).fieldLocked = false;
   return SdkCode::None;
}

} // namespace Strata::Sim
