// Packets that return through an internal port: floods from the loopback port, and second passes of tunnels.
#include "messages/Traces.h"
#include "platform/state/StrataCommon.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"
#include "routing/tcam/FieldLock.h"
#include "routing/tcam/TcamEntry.h"

namespace Strata {

void RoutingStatusHelper::handleTcamEntryLb()
{
   VORMEL_TRACE( routingTrace, 2, "handleTcamEntryLb" );
   if( !hasManager( tcamManager(), "handleTcamEntryLb" ) )
      return;
   if( useLb() ) {
      makeLbRecircL2Uc();
      if( useLb() ) // re-checked: a subscriber of the first id may have turned it off
         makeLbRecirc();
   } else {
      tcamEntryLbRecircIs( deleteEntry( tcamManager(), shared().units(), tcamEntryLbRecirc() ) );
      tcamEntryLbRecircL2UcIs(
         deleteEntry( tcamManager(), shared().units(), tcamEntryLbRecircL2Uc() ) );
   }
}

// The source of returning packets is the router MAC, which must not be learned on the loopback port.
void RoutingStatusHelper::makeLbRecircL2Uc()
{
   TcamEntry recirc( tcamManager(), TcamL3EntryId::lbRecircL2Uc, "lb recirc l2 uc" );
   for( const auto& i : shared().units() ) {
      const std::optional<int> port = loopbackPort( i.key() );
      if( !port ) {
         recirc.passOver( i.key(), tcamEntryLbRecircL2Uc() );
         continue;
      }
      const U32 entryId = recirc.claim( i.key() );
      qualifyInPorts( *tcamManager(), i.key(), entryId, portBitmap( *port ), allPorts( i.key() ) );
      CHECKED( bcm_field_qualify_PacketRes(
         i.key(), entryId, BCM_FIELD_PKT_RES_L2UC, BCM_FIELD_EXACT_MATCH_MASK ) );
      CHECKED( bcm_field_qualify_MyStationHit( i.key(), entryId, 0, 1 ) );
      CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionDoNotLearn, 0, 0 ) );
      recirc.install( i.key() );
   }
   tcamEntryLbRecircL2UcIs( recirc.recordable() );
   recirc.traceAllocated( __func__, "Allocated lb recirc l2 uc tcam entry (ID:" );
}

// Does not match in a VLAN that VXLAN extends, because bridging also floods its tunnels.
void RoutingStatusHelper::makeLbRecirc()
{
   TcamEntry recirc( tcamManager(),
      fabricMode() ? TcamL3EntryId::lbRecircFabric : TcamL3EntryId::lbRecirc, "lb recirc" );
   for( const auto& i : shared().units() ) {
      const std::optional<int> port = loopbackPort( i.key() );
      if( !port ) {
         recirc.passOver( i.key(), tcamEntryLbRecirc() );
         continue;
      }
      const U32 entryId = recirc.claim( i.key() );
      qualifyInPorts( *tcamManager(), i.key(), entryId, portBitmap( *port ), allPorts( i.key() ) );
      CHECKED( bcm_field_qualify_PacketRes(
         i.key(), entryId, BCM_FIELD_PKT_RES_L2UNKNOWN, BCM_FIELD_EXACT_MATCH_MASK ) );
      CHECKED(
         bcm_field_qualify_InterfaceClassL2( i.key(), entryId, 0, StrataCommon::classVxlanVlan_ ) );
      // Without a group the chip floods the packet itself. An earlier redirect would lose it and is removed.
      if( allPortsL2Mc() == 0 && tcamEntryLbRecirc() != 0 ) {
         CHECKED( FP_LOCK_INTERNAL_CHK(
            i.key(), setOneAction( i.key(), entryId, bcmFieldActionDoNotLearn ) ) );
      } else {
         if( allPortsL2Mc() != 0 )
            CHECKED( bcm_field_action_add(
               i.key(), entryId, bcmFieldActionRedirectMcast, allPortsL2Mc(), 0 ) );
         CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionDoNotLearn, 0, 0 ) );
      }
      recirc.install( i.key() );
   }
   tcamEntryLbRecircIs( recirc.recordable() );
   recirc.traceAllocated( __func__, "Allocated lb recirc tcam entry (ID:" );
}

bool RoutingStatusHelper::routesTunnelsInTwoPasses( const char* operation ) const
{
   const ChipAttributes chip = chipAttributes( shared() );
   if( !fabricMode() && chip.vxlanSupported && !chip.vxlanRoutingInOnePass )
      return true;
   VORMEL_TRACE_AS( routingTrace, 1, operation, operation << ": not on this unit" );
   return false;
}

void RoutingStatusHelper::handleTcamEntryL3Recirc( bool create )
{
   VORMEL_TRACE( routingTrace, 2, "handleTcamEntryL3Recirc, create: " << create );
   if( !hasManager( tcamManager(), "handleTcamEntryL3Recirc" ) )
      return;
   if( !create ) {
      tcamEntryL3RecircForEncapIs(
         deleteEntry( tcamManager(), shared().units(), tcamEntryL3RecircForEncap() ) );
      tcamEntryL3RecircAfterDecapIs(
         deleteEntry( tcamManager(), shared().units(), tcamEntryL3RecircAfterDecap() ) );
      return;
   }
   if( !routesTunnelsInTwoPasses( "handleTcamEntryL3Recirc" ) )
      return;
   makeL3RecircAfterDecap();
   makeL3RecircForEncap();
}

void RoutingStatusHelper::makeL3RecircAfterDecap()
{
   TcamEntry recirc( tcamManager(), TcamL3EntryId::l3RecircAfterDecap, "l3 recirc after decap" );
   for( const auto& i : shared().units() ) {
      const std::optional<int> recircPort = this->recircPort( i.key() );
      if( !recircPort ) {
         recirc.passOver( i.key(), tcamEntryL3RecircAfterDecap() );
         continue;
      }
      const U32 entryId = recirc.claim( i.key() );
      CHECKED( bcm_field_qualify_TunnelTerminated( i.key(), entryId, 1, 1 ) );
      CHECKED( bcm_field_qualify_MyStationHit( i.key(), entryId, 1, 1 ) );
      qualifyOutLoopback( *tcamManager(), i.key(), entryId, *recircPort, allPorts( i.key() ) );
      const bcm_pbmp_t pbmp = portBitmap( *recircPort );
      CHECKED( FP_LOCK_INTERNAL_CHK(
         i.key(), setPortsAddAction( i.key(), entryId, bcmFieldActionRedirectPbmp, pbmp ) ) );
      recirc.install( i.key() );
   }
   tcamEntryL3RecircAfterDecapIs( recirc.recordable() );
   recirc.traceAllocated( __func__, "Allocated l3 recirc after decap tcam entry (ID:" );
}

void RoutingStatusHelper::makeL3RecircForEncap()
{
   TcamEntry recirc( tcamManager(), TcamL3EntryId::l3RecircForEncap, "l3 recirc for encap" );
   for( const auto& i : shared().units() ) {
      const std::optional<int> recircPort = this->recircPort( i.key() );
      if( !recircPort ) {
         recirc.passOver( i.key(), tcamEntryL3RecircForEncap() );
         continue;
      }
      const U32 entryId = recirc.claim( i.key() );
      CHECKED( bcm_field_qualify_DstPort( i.key(), entryId, scsd()->floodingModId(),
         StrataCommon::maskModId_, StrataCommon::vxlanEncapPortId_, StrataCommon::maskPortId_ ) );
      qualifyOutLoopback( *tcamManager(), i.key(), entryId, *recircPort, allPorts( i.key() ) );
      const bcm_pbmp_t pbmp = portBitmap( *recircPort );
      CHECKED( FP_LOCK_INTERNAL_CHK(
         i.key(), setPortsAddAction( i.key(), entryId, bcmFieldActionRedirectPbmp, pbmp ) ) );
      recirc.install( i.key() );
   }
   tcamEntryL3RecircForEncapIs( recirc.recordable() );
   recirc.traceAllocated( __func__, "Allocated l3 recirc for encap tcam entry (ID:" );
}

} // namespace Strata
