// Tunnelled packets to a router MAC, per MAC kind.
#include "messages/Traces.h"
#include "platform/state/StrataCommon.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"
#include "routing/tcam/TcamEntry.h"

namespace Strata {

// A chip without VXLAN refuses the tunnel qualifier, and without it an entry would also match packets from outside a tunnel.
bool RoutingStatusHelper::terminatesTunnels( const char* operation ) const
{
   const bool vxlan = chipAttributes( shared() ).vxlanSupported;
   if( !vxlan )
      VORMEL_TRACE_AS( routingTrace, 1, operation, operation << ": no VXLAN on this chip" );
   return vxlan;
}

void RoutingStatusHelper::installTcamEntryForL3Vxlan( MacType macType )
{
   VORMEL_TRACE( routingTrace, 2, "installTcamEntryForL3Vxlan, macType: " << macType );
   if( !hasManager( tcamManager(), "installTcamEntryForL3Vxlan" ) )
      return;
   const EthAddr mac = macOf( macType );
   const EthAddr macMask = EthAddr::broadcast;
   if( mac.isZero() )
      return removeL3Vxlan( macType );
   if( !terminatesTunnels( "installTcamEntryForL3Vxlan" ) )
      return;

   const bool bridge = macType == MacType::bridgeMac;
   TcamEntry vxlan( tcamManager(), bridge ? TcamL3EntryId::l3Vxlan : TcamL3EntryId::l3VxlanFennic,
      bridge ? "l3 vxlan with dmac=bridgeMac" : "l3 vxlan with dmac=fennicMac" );
   for( const auto& i : shared().units() ) {
      const U32 entryId = vxlan.claim( i.key() );
      CHECKED( bcm_field_qualify_TunnelTerminated( i.key(), entryId, 1, 1 ) );
      CHECKED( bcm_field_qualify_DstMac( i.key(), entryId, mac, macMask ) );
      CHECKED( bcm_field_qualify_MyStationHit( i.key(), entryId, 1, 1 ) );
      CHECKED( bcm_field_qualify_L3Routable( i.key(), entryId, 0, 1 ) );
      CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionCopyToCpu, 0, 0 ) );
      CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionDrop, 0, 0 ) );
      CHECKED( bcm_field_action_add(
         i.key(), entryId, bcmFieldActionCosQCpuNew, StrataCommon::cpuCosqVxlan_, 0 ) );
      vxlan.install( i.key() );
   }
   tcamEntryL3VxlanIs( macType, vxlan.recordable() );
   noteWritten( macType, &WrittenMacs::l3Vxlan, mac );
   vxlan.traceAllocated( __func__, bridge
                                      ? "Allocated l3 vxlan with dmac=bridgeMac tcam entry (ID:"
                                      : "Allocated l3 vxlan with dmac=fennicMac tcam entry (ID:" );
}

void RoutingStatusHelper::programL2VxlanTcam( MacType macType )
{
   VORMEL_TRACE( routingTrace, 2, "programL2VxlanTcam, macType: " << macType );
   if( !hasManager( tcamManager(), "programL2VxlanTcam" ) )
      return;
   const EthAddr mac = macOf( macType );
   const EthAddr macMask = EthAddr::broadcast;
   if( mac.isZero() )
      return removeL2Vxlan( macType );
   if( !terminatesTunnels( "programL2VxlanTcam" ) )
      return;

   const bool bridge = macType == MacType::bridgeMac;
   TcamEntry vxlan( tcamManager(),
      bridge ? TcamL3EntryId::l2VxlanForBridgeMac : TcamL3EntryId::l2VxlanForFennicMac,
      bridge ? "l2 vxlan with dmac=bridgeMac" : "l2 vxlan with dmac=fennicMac" );
   for( const auto& i : shared().units() ) {
      const U32 entryId = vxlan.claim( i.key() );
      CHECKED( bcm_field_qualify_TunnelTerminated( i.key(), entryId, 1, 1 ) );
      CHECKED( bcm_field_qualify_DstMac( i.key(), entryId, mac, macMask ) );
      CHECKED( bcm_field_qualify_MyStationHit( i.key(), entryId, 0, 1 ) );
      CHECKED( bcm_field_action_add(
         i.key(), entryId, bcmFieldActionCosQCpuNew, StrataCommon::cpuCosqVxlan_, 0 ) );
      vxlan.install( i.key() );
   }
   tcamEntryL2VxlanIs( macType, vxlan.recordable() );
   noteWritten( macType, &WrittenMacs::l2Vxlan, mac );
   vxlan.traceAllocated( __func__, bridge
                                      ? "Allocated l2 vxlan with dmac=bridgeMac tcam entry (ID:"
                                      : "Allocated l2 vxlan with dmac=fennicMac tcam entry (ID:" );
}

void RoutingStatusHelper::removeL3Vxlan( MacType macType )
{
   deleteEntry( tcamManager(), shared().units(), tcamEntryL3Vxlan( macType ) );
   tcamEntryL3VxlanDel( macType );
   noteWritten( macType, &WrittenMacs::l3Vxlan, EthAddr() );
}

void RoutingStatusHelper::removeL2Vxlan( MacType macType )
{
   deleteEntry( tcamManager(), shared().units(), tcamEntryL2Vxlan( macType ) );
   tcamEntryL2VxlanDel( macType );
   noteWritten( macType, &WrittenMacs::l2Vxlan, EthAddr() );
}

} // namespace Strata
