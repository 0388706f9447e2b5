// MPLS to a router MAC, and LSP ping behind a popped last label.
#include "messages/Traces.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"
#include "routing/tcam/FieldLock.h"
#include "routing/tcam/TcamEntry.h"

namespace Strata {

void RoutingStatusHelper::handleTcamEntryMplsTrafficDrop( bool create )
{
   VORMEL_TRACE( routingTrace, 2, "handleTcamEntryMplsTrafficDrop, create: " << create );
   if( !hasManager( tcamManager(), "handleTcamEntryMplsTrafficDrop" ) )
      return;
   if( !create ) {
      tcamEntryMplsPktIs( deleteEntry( tcamManager(), shared().units(), tcamEntryMplsPkt() ) );
      tcamEntryMplsActionDropIs(
         tcamEntryMplsPkt() != 0 &&
         !mplsRoutingEnabled() ); // re-read: a subscriber may have changed both
      return;
   }
   const bool drop = !mplsRoutingEnabled();
   TcamEntry mpls( tcamManager(), TcamL3EntryId::mplsPkt, "mpls traffic drop" );
   for( const auto& i : shared().units() ) {
      const U32 entryId = mpls.claim( i.key() );
      CHECKED( bcm_field_qualify_EtherType( i.key(), entryId, 0x8847, 0xFFFF ) );
      CHECKED( bcm_field_qualify_MyStationHit( i.key(), entryId, 1, 1 ) );
      CHECKED( FP_LOCK_INTERNAL_CHK( i.key(), setMplsAction( i.key(), entryId, drop ) ) );
      mpls.install( i.key() );
   }
   tcamEntryMplsPktIs( mpls.recordable() );
   mpls.traceAllocated( __func__, "Allocated mpls traffic drop tcam entry (ID:" );
   // A subscriber of the id may have removed the entry, or switched MPLS routing.
   const bool removed = mpls.recordable() != 0 && tcamEntryMplsPkt() == 0;
   tcamEntryMplsActionDropIs( !removed && !mplsRoutingEnabled() );
}

void RoutingStatusHelper::handleMplsRouting( bool enable )
{
   VORMEL_TRACE( routingTrace, 2, "handleMplsRouting, create: " << enable );
   if( enable == mplsRoutingEnabled() )
      return;
   mplsRoutingEnabledIs( enable );
   enable = mplsRoutingEnabled(); // re-read: a subscriber may have changed it
   if( tcamEntryMplsPkt() != 0 && hasManager( tcamManager(), "handleMplsRouting" ) ) {
      const U32 entryId = tcamEntryMplsPkt();
      for( const auto& i : shared().units() ) {
         CHECKED( FP_LOCK_INTERNAL_CHK( i.key(), setMplsAction( i.key(), entryId, !enable ) ) );
         reinstallEntry( *tcamManager(), i.key(), entryId );
      }
      tcamEntryMplsActionDropIs( !enable );
   }
   handleTcamEntryMplsPhpLspPing( mplsRoutingEnabled() );
}

void RoutingStatusHelper::handleTcamEntryMplsPhpLspPing( bool create )
{
   VORMEL_TRACE( routingTrace, 2, "handleTcamEntryMplsPhpLspPing, create: " << create );
   const Ref<StrataBoundedTcamEntryManager> manager =
      tcamGroupManager() ? tcamGroupManager()->boundedTcamEntryManager( TcamGroup::phpLspPing )
                         : nullptr;
   if( !hasManager( manager, "handleTcamEntryMplsPhpLspPing" ) )
      return;
   if( !create ) {
      vfpEntryPhpLspPingIs( deleteEntry( manager, shared().units(), vfpEntryPhpLspPing() ) );
      return;
   }
   TcamEntry ping( manager, 0, "mpls php lsp ping" );
   for( const auto& i : shared().units() ) {
      const U32 entryId = ping.claim( i.key() );
      CHECKED( bcm_field_qualify_DstIp( i.key(), entryId, 0x7F000000, 0xFF000000 ) );
      CHECKED( bcm_field_qualify_IpProtocol( i.key(), entryId, 17, 0xFF ) );
      CHECKED( bcm_field_qualify_L4DstPort( i.key(), entryId, 3503, 0xFFFF ) );
      CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionCopyToCpu, 0, 0 ) );
      CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionDrop, 0, 0 ) );
      ping.install( i.key() );
   }
   vfpEntryPhpLspPingIs( ping.recordable() );
   ping.traceAllocated( __func__, "Allocated mpls php lsp ping tcam entry (ID:" );
}

} // namespace Strata
