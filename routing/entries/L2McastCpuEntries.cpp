// Layer-2 multicast and the CPU. The MAC table sends some addresses to three reserved groups (CPU, CPU and flood, flood);
// these entries implement the groups. Without a group of all ports, the chip floods to the groups' own members. An
// earlier redirect of an entry is then removed, which needs the FP lock.
#include "messages/Traces.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"
#include "routing/tcam/FieldLock.h"
#include "routing/tcam/TcamEntry.h"

namespace Strata {

void RoutingStatusHelper::handleTcamEntryL2McastCpu( bool create )
{
   VORMEL_TRACE( routingTrace, 2, "handleTcamEntryL2McastCpu, create: " << create );
   if( !hasManager( tcamManager(), "handleTcamEntryL2McastCpu" ) )
      return;
   if( create ) {
      makeMcastRsvdMacRx();
      if( !l2McastTableAllocation() ) {
         VORMEL_TRACE(
            routingTrace, 1, "handleTcamEntryL2McastCpu: no L2 multicast table allocation" );
         return;
      }
      makeL2McastCpuTx();
      makeL2McastCpuRx();
      makeL2McastCpuAndFlood();
      makeL2McastFlood();
   } else {
      const UnitTable& units = shared().units();
      tcamEntryL2McastFloodIs( deleteEntry( tcamManager(), units, tcamEntryL2McastFlood() ) );
      tcamEntryL2McastCpuAndFloodIs(
         deleteEntry( tcamManager(), units, tcamEntryL2McastCpuAndFlood() ) );
      tcamEntryL2McastCpuRxIs( deleteEntry( tcamManager(), units, tcamEntryL2McastCpuRx() ) );
      tcamEntryL2McastCpuTxIs( deleteEntry( tcamManager(), units, tcamEntryL2McastCpuTx() ) );
      tcamEntryMcastRsvdMacRxIs( deleteEntry( tcamManager(), units, tcamEntryMcastRsvdMacRx() ) );
   }
}

void RoutingStatusHelper::makeMcastRsvdMacRx()
{
   static constexpr EthAddr mac( 0x01, 0x00, 0x5e, 0x00, 0x00, 0x00 );
   static constexpr EthAddr macMask( 0xff, 0xff, 0xff, 0xff, 0xff, 0x00 );
   TcamEntry rx( tcamManager(), TcamL3EntryId::mcastDataRsvdMacAddress, "mcast rsvd mac rx" );
   for( const auto& i : shared().units() ) {
      const U32 entryId = rx.claim( i.key() );
      CHECKED( bcm_field_qualify_DstMac( i.key(), entryId, mac, macMask ) );
      qualifyInPorts( *tcamManager(), i.key(), entryId, rxPorts( i.key() ), allPorts( i.key() ) );
      CHECKED( bcm_field_qualify_Drop( i.key(), entryId, 0x0, 0x1 ) );
      CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionCopyToCpu, 0, 0 ) );
      rx.install( i.key() );
   }
   tcamEntryMcastRsvdMacRxIs( rx.recordable() );
   rx.traceAllocated( __func__, "Allocated mcast rsvd mac rx tcam entry (ID:" );
}

void RoutingStatusHelper::makeL2McastCpuTx()
{
   TcamEntry tx( tcamManager(), TcamL3EntryId::l2McastCpuTx, "l2 mcast cpu tx" );
   for( const auto& i : shared().units() ) {
      const U32 entryId = tx.claim( i.key() );
      CHECKED( bcm_field_qualify_DstMcastGroup(
         i.key(), entryId, l2McastTableAllocation()->cpuGroup(), BCM_FIELD_EXACT_MATCH_MASK ) );
      qualifyInPorts( *tcamManager(), i.key(), entryId, cpuPorts( i.key() ), allPorts( i.key() ) );
      if( allPortsL2Mc() == 0 && tcamEntryL2McastCpuTx() != 0 ) {
         CHECKED( FP_LOCK_INTERNAL_CHK(
            i.key(), setOneAction( i.key(), entryId, bcmFieldActionCopyToCpuCancel ) ) );
      } else {
         CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionCopyToCpuCancel, 0, 0 ) );
         if( allPortsL2Mc() != 0 )
            CHECKED( bcm_field_action_add(
               i.key(), entryId, bcmFieldActionRedirectMcast, allPortsL2Mc(), 0 ) );
      }
      tx.install( i.key() );
   }
   tcamEntryL2McastCpuTxIs( tx.recordable() );
   tx.traceAllocated( __func__, "Allocated l2 mcast cpu tx tcam entry (ID:" );
}

void RoutingStatusHelper::makeL2McastCpuRx()
{
   TcamEntry rx( tcamManager(), TcamL3EntryId::l2McastCpuRx, "l2 mcast cpu rx" );
   for( const auto& i : shared().units() ) {
      const U32 entryId = rx.claim( i.key() );
      CHECKED( bcm_field_qualify_DstMcastGroup(
         i.key(), entryId, l2McastTableAllocation()->cpuGroup(), BCM_FIELD_EXACT_MATCH_MASK ) );
      qualifyInPorts( *tcamManager(), i.key(), entryId, rxPorts( i.key() ), allPorts( i.key() ) );
      CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionCopyToCpu, 0, 0 ) );
      CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionDrop, 0, 0 ) );
      rx.install( i.key() );
   }
   tcamEntryL2McastCpuRxIs( rx.recordable() );
   rx.traceAllocated( __func__, "Allocated l2 mcast cpu rx tcam entry (ID:" );
}

void RoutingStatusHelper::makeL2McastCpuAndFlood()
{
   TcamEntry both( tcamManager(), TcamL3EntryId::l2McastCpuAndFlood, "l2 mcast cpu and flood" );
   for( const auto& i : shared().units() ) {
      const U32 entryId = both.claim( i.key() );
      CHECKED( bcm_field_qualify_DstMcastGroup( i.key(), entryId,
         l2McastTableAllocation()->cpuAndFloodGroup(), BCM_FIELD_EXACT_MATCH_MASK ) );
      if( allPortsL2Mc() == 0 && tcamEntryL2McastCpuAndFlood() != 0 ) {
         CHECKED( FP_LOCK_INTERNAL_CHK(
            i.key(), setOneAction( i.key(), entryId, bcmFieldActionCopyToCpu ) ) );
      } else {
         CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionCopyToCpu, 0, 0 ) );
         if( allPortsL2Mc() != 0 )
            CHECKED( bcm_field_action_add(
               i.key(), entryId, bcmFieldActionRedirectMcast, allPortsL2Mc(), 0 ) );
      }
      both.install( i.key() );
   }
   tcamEntryL2McastCpuAndFloodIs( both.recordable() );
   both.traceAllocated( __func__, "Allocated l2 mcast cpu and flood tcam entry (ID:" );
}

void RoutingStatusHelper::makeL2McastFlood()
{
   TcamEntry flood( tcamManager(), TcamL3EntryId::l2McastFlood, "l2 mcast flood" );
   for( const auto& i : shared().units() ) {
      const U32 entryId = flood.claim( i.key() );
      CHECKED( bcm_field_qualify_DstMcastGroup(
         i.key(), entryId, l2McastTableAllocation()->floodGroup(), BCM_FIELD_EXACT_MATCH_MASK ) );
      if( allPortsL2Mc() == 0 && tcamEntryL2McastFlood() != 0 ) {
         CHECKED( FP_LOCK_INTERNAL_CHK(
            i.key(), setOneAction( i.key(), entryId, bcmFieldActionCopyToCpuCancel ) ) );
      } else {
         CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionCopyToCpuCancel, 0, 0 ) );
         if( allPortsL2Mc() != 0 )
            CHECKED( bcm_field_action_add(
               i.key(), entryId, bcmFieldActionRedirectMcast, allPortsL2Mc(), 0 ) );
      }
      flood.install( i.key() );
   }
   tcamEntryL2McastFloodIs( flood.recordable() );
   flood.traceAllocated( __func__, "Allocated l2 mcast flood tcam entry (ID:" );
}

void RoutingStatusHelper::programSkipL2McastPktFromCoreToCpu( bool vxlanEnabled )
{
   VORMEL_TRACE( routingTrace, 2, "programSkipL2McastPktFromCoreToCpu, create: " << vxlanEnabled );
   if( !hasManager( tcamManager(), "programSkipL2McastPktFromCoreToCpu" ) )
      return;
   if( !vxlanEnabled ) {
      tcamEntrySkipL2McastPktFromCoreToCpuIs(
         deleteEntry( tcamManager(), shared().units(), tcamEntrySkipL2McastPktFromCoreToCpu() ) );
      return;
   }
   // A chip without VXLAN refuses the tunnel qualifier, and without it the entry would keep all known multicast from
   // the CPU.
   if( !chipAttributes( shared() ).vxlanSupported ) {
      VORMEL_TRACE( routingTrace, 1, "programSkipL2McastPktFromCoreToCpu: no VXLAN on this chip" );
      return;
   }
   TcamEntry skip(
      tcamManager(), TcamL3EntryId::skipL2McastPktFromCoreToCpu, "skip l2 mcast from core to cpu" );
   for( const auto& i : shared().units() ) {
      const U32 entryId = skip.claim( i.key() );
      CHECKED( bcm_field_qualify_TunnelTerminated( i.key(), entryId, 1, 1 ) );
      CHECKED( bcm_field_qualify_PacketRes(
         i.key(), entryId, BCM_FIELD_PKT_RES_L2MCKNOWN, BCM_FIELD_EXACT_MATCH_MASK ) );
      CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionCopyToCpuCancel, 0, 0 ) );
      skip.install( i.key() );
   }
   tcamEntrySkipL2McastPktFromCoreToCpuIs( skip.recordable() );
   skip.traceAllocated( __func__, "Allocated skip l2 mcast from core to cpu tcam entry (ID:" );
}

} // namespace Strata
