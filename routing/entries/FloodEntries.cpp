// The entries that carry the flood port bitmap: routed floods in a VLAN, and floods of policy routing.
#include "messages/Traces.h"
#include "platform/state/StrataCommon.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"
#include "routing/tcam/FieldLock.h"
#include "routing/tcam/TcamEntry.h"

namespace Strata {

void RoutingStatusHelper::handleTcamEntryVlanFlood( bool create )
{
   VORMEL_TRACE( routingTrace, 2, "handleTcamEntryVlanFlood, create: " << create );
   if( !hasManager( tcamManager(), "handleTcamEntryVlanFlood" ) )
      return;
   if( !create ) {
      tcamEntryVlanFloodIs( deleteEntry( tcamManager(), shared().units(), tcamEntryVlanFlood() ) );
      return;
   }
   if( !isFloodingPortSupported( shared() ) ) {
      VORMEL_TRACE( routingTrace, 1, "handleTcamEntryVlanFlood: no flooding port on this chip" );
      return;
   }

   TcamEntry flood( tcamManager(),
      fabricMode() ? TcamL3EntryId::vlanFloodingFabric : TcamL3EntryId::vlanFlooding,
      "vlan flood" );
   for( const auto& i : shared().units() ) {
      const bool redirectToLoopback = useLb() && !shared().vfiForwarding();
      if( redirectToLoopback && !loopbackPort( i.key() ) ) {
         flood.passOver( i.key(), tcamEntryVlanFlood() );
         continue;
      }
      const U32 entryId = flood.claim( i.key() );
      CHECKED( bcm_field_qualify_DstPort( i.key(), entryId, scsd()->floodingModId(),
         StrataCommon::maskModId_, StrataCommon::floodingPortId_, StrataCommon::maskPortId_ ) );
      if( tcamManager()->supportsAclGroup() ) {
         CHECKED( bcm_field_qualify_L3Routable( i.key(), entryId, 1, 1 ) );
         CHECKED( bcm_field_qualify_Drop( i.key(), entryId, 0x0, 0x1 ) );
      }
      if( shared().vfiForwarding() ) {
         CHECKED( FP_LOCK_INTERNAL_CHK( i.key(), setAddAction( i.key(), entryId ) ) );
      } else if( redirectToLoopback ) {
         const bcm_pbmp_t pbmp = loopbackPorts( i.key() );
         CHECKED( FP_LOCK_INTERNAL_CHK(
            i.key(), setPortsAddAction( i.key(), entryId, bcmFieldActionRedirectPbmp, pbmp ) ) );
      } else {
         CHECKED( FP_LOCK_INTERNAL_CHK( i.key(),
            setPortsAddAction( i.key(), entryId, bcmFieldActionRedirectPbmp, vlanFloodPbmp() ) ) );
      }
      flood.install( i.key() );
   }
   tcamEntryVlanFloodIs( flood.recordable() );
   flood.traceAllocated( __func__, "Allocated vlan flood tcam entry (ID:" );
}

bool RoutingStatusHelper::policyRoutingEnabled( const char* operation ) const
{
   if( strataPbrInfo() )
      return strataPbrInfo()->pbrEnabled();
   VORMEL_TRACE_AS( routingTrace, 1, operation, operation << ": no policy-routing information" );
   return false;
}

void RoutingStatusHelper::handleTcamEntryVlanFloodPbr( bool create )
{
   VORMEL_TRACE( routingTrace, 2, "handleTcamEntryVlanFloodPbr, create: " << create );
   if( !hasManager( tcamManager(), "handleTcamEntryVlanFloodPbr" ) )
      return;
   if( !create ) {
      tcamEntryVlanFloodPbrIs(
         deleteEntry( tcamManager(), shared().units(), tcamEntryVlanFloodPbr() ) );
      return;
   }
   if( fabricMode() || tcamManager()->supportsAclGroup() || !isFloodingPortSupported( shared() ) ) {
      VORMEL_TRACE( routingTrace, 1, "handleTcamEntryVlanFloodPbr: not on this unit" );
      return;
   }

   const bool pbrEnabled = policyRoutingEnabled( __func__ );
   TcamEntry flood( tcamManager(), TcamL3EntryId::vlanFloodingPbr, "vlan flood pbr" );
   for( const auto& i : shared().units() ) {
      const U32 entryId = flood.claim( i.key() );
      CHECKED( bcm_field_qualify_DstPort( i.key(), entryId, scsd()->floodingModId(),
         StrataCommon::maskModId_, StrataCommon::floodingPortId_, StrataCommon::maskPortId_ ) );
      CHECKED( bcm_field_qualify_SrcClassField(
         i.key(), entryId, StrataCommon::classPbr_, StrataCommon::classPbr_ ) );
      CHECKED( FP_LOCK_INTERNAL_CHK( i.key(),
         setPortsAddAction( i.key(), entryId, bcmFieldActionEgressPortsAdd, vlanFloodPbmp() ) ) );
      flood.install( i.key() );
      enableEntry( *tcamManager(), i.key(), entryId, pbrEnabled );
   }
   tcamEntryVlanFloodPbrIs( flood.recordable() );
   flood.traceAllocated( __func__, "Allocated vlan flood pbr tcam entry (ID:" );
}

void RoutingStatusHelper::handleEnableTcamEntryVlanFloodPbr( bool enable )
{
   VORMEL_TRACE( routingTrace, 2, "handleEnableTcamEntryVlanFloodPbr, create: " << enable );
   if( !hasManager( tcamManager(), "handleEnableTcamEntryVlanFloodPbr" ) ||
       tcamEntryVlanFloodPbr() == 0 )
      return;
   for( const auto& i : shared().units() )
      enableEntry( *tcamManager(), i.key(), tcamEntryVlanFloodPbr(), enable );
}

} // namespace Strata
