// Routed floods in VLANs that VXLAN extends. They never follow the flood port bitmap.
#include "messages/Traces.h"
#include "platform/state/StrataCommon.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"
#include "routing/tcam/FieldLock.h"
#include "routing/tcam/TcamEntry.h"

namespace Strata {

void RoutingStatusHelper::handleTcamEntryVlanFloodVxlan( bool create )
{
   VORMEL_TRACE( routingTrace, 2, "handleTcamEntryVlanFloodVxlan, create: " << create );
   if( !hasManager( tcamManager(), "handleTcamEntryVlanFloodVxlan" ) )
      return;
   if( !create ) {
      tcamEntryVlanFloodVxlanIs(
         deleteEntry( tcamManager(), shared().units(), tcamEntryVlanFloodVxlan() ) );
      return;
   }
   if( !routesTunnelsInTwoPasses( "handleTcamEntryVlanFloodVxlan" ) )
      return;

   TcamEntry flood( tcamManager(), TcamL3EntryId::vlanFloodingVxlan, "vlan flood vxlan" );
   for( const auto& i : shared().units() ) {
      const std::optional<int> recircPort = this->recircPort( i.key() );
      if( !recircPort ) {
         flood.passOver( i.key(), tcamEntryVlanFloodVxlan() );
         continue;
      }
      const U32 entryId = flood.claim( i.key() );
      CHECKED( bcm_field_qualify_DstPort( i.key(), entryId, scsd()->floodingModId(),
         StrataCommon::maskModId_, StrataCommon::vxlanFloodingPortId_,
         StrataCommon::maskPortId_ ) );
      qualifyOutLoopback( *tcamManager(), i.key(), entryId, *recircPort, allPorts( i.key() ) );
      const bcm_pbmp_t pbmp = portBitmap( *recircPort );
      CHECKED( FP_LOCK_INTERNAL_CHK(
         i.key(), setPortsAddAction( i.key(), entryId, bcmFieldActionRedirectPbmp, pbmp ) ) );
      flood.install( i.key() );
   }
   tcamEntryVlanFloodVxlanIs( flood.recordable() );
   flood.traceAllocated( __func__, "Allocated vlan flood vxlan tcam entry (ID:" );
}

void RoutingStatusHelper::handleTcamEntryVxlanEncapFlood( bool create )
{
   VORMEL_TRACE( routingTrace, 2, "handleTcamEntryVxlanEncapFlood, create: " << create );
   if( !hasManager( tcamManager(), "handleTcamEntryVxlanEncapFlood" ) )
      return;
   if( create && !chipAttributes( shared() ).vxlanSupported ) {
      VORMEL_TRACE( routingTrace, 1, "handleTcamEntryVxlanEncapFlood: no VXLAN on this chip" );
      return;
   }
   // Group 0 means that there is no group; a redirect to it would lose the floods.
   if( create && shared().vxlanFloodL2Mc() == 0 ) {
      VORMEL_TRACE( routingTrace, 1, "handleTcamEntryVxlanEncapFlood: no multicast group" );
      create = false;
   }
   if( !create ) {
      tcamEntryVxlanEncapFloodIs(
         deleteEntry( tcamManager(), shared().units(), tcamEntryVxlanEncapFlood() ) );
      return;
   }

   TcamEntry flood( tcamManager(), TcamL3EntryId::vxlanEncapFlooding, "vxlan encap flood" );
   for( const auto& i : shared().units() ) {
      const U32 entryId = flood.claim( i.key() );
      CHECKED( bcm_field_qualify_DstPort( i.key(), entryId, scsd()->floodingModId(),
         StrataCommon::maskModId_, StrataCommon::vxlanFloodingPortId_,
         StrataCommon::maskPortId_ ) );
      CHECKED( bcm_field_action_add(
         i.key(), entryId, bcmFieldActionRedirectMcast, scsd()->vxlanFloodL2Mc(), 0 ) );
      flood.install( i.key() );
   }
   tcamEntryVxlanEncapFloodIs( flood.recordable() );
   flood.traceAllocated( __func__, "Allocated vxlan encap flood tcam entry (ID:" );
}

} // namespace Strata
