// ARP to a router MAC, while layer-2-only traffic to it is trapped: replies go to the CPU, unicast requests are dropped.
#include "messages/Traces.h"
#include "platform/state/StrataCommon.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"
#include "routing/tcam/TcamEntry.h"

namespace Strata {

void RoutingStatusHelper::handleTcamEntryArpReplyToCpu( MacType macType )
{
   using StrataCommon::classOpenFlow_;

   VORMEL_TRACE( routingTrace, 9, "handleTcamEntryArpReplyToCpu, macType: " << macType );
   const EthAddr mac = macOf( macType );
   if( !hasManager( tcamManager(), "handleTcamEntryArpReplyToCpu" ) )
      return;
   const ChipAttributes chip = chipAttributes( shared() );
   const bool higig = chip.higigTrunkCancelSupported && chip.higigQualifierSupported;
   const bool bridge = macType == MacType::bridgeMac;
   const EthAddr macMask = EthAddr::broadcast;
   const U8 stpMask = 0xFF;
   // A repeated claim keeps the actions, so they are added only when the entry is programmed for the first time.
   const bool addActions = tcamEntryArpReply( macType ) == 0;

   TcamEntry reply( tcamManager(), bridge ? TcamL3EntryId::arpReply : TcamL3EntryId::arpFennicReply,
      bridge ? "trap to cpu for arp reply with dmac=bridgeMac"
             : "trap to cpu for arp reply with dmac=fennicMac" );
   for( const auto& i : shared().units() ) {
      if( !SdkShim->trapsTtlExceptions( i.key() ) )
         continue;
      const U32 entryId = reply.claim( i.key() );
      CHECKED( bcm_field_qualify_DstMac( i.key(), entryId, mac, macMask ) );
      CHECKED( bcm_field_qualify_IpType( i.key(), entryId, bcmFieldIpTypeArpReply ) );
      if( higig )
         CHECKED( bcm_field_qualify_HiGig( i.key(), entryId, 0, 1 ) );
      CHECKED(
         bcm_field_qualify_InterfaceClassL2( i.key(), entryId, StrataCommon::classSviConfigured_,
            StrataCommon::classSviConfigured_ | StrataCommon::classDropRoutedTraffic_ ) );
      CHECKED( bcm_field_qualify_SrcClassField( i.key(), entryId, 0, classOpenFlow_ ) );
      CHECKED(
         bcm_field_qualify_IngressStpState( i.key(), entryId, BCM_STG_STP_FORWARD, stpMask ) );
      CHECKED( bcm_field_qualify_L3Routable( i.key(), entryId, 0, 1 ) );
      CHECKED( bcm_field_qualify_Drop( i.key(), entryId, 0x0, 0x1 ) );
      if( addActions ) {
         CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionCopyToCpu, 0, 0 ) );
         CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionDrop, 0, 0 ) );
         if( higig )
            CHECKED( bcm_field_action_add(
               i.key(), entryId, BCM_HG_TRUNK_CANCEL_ACTION( i.key() ), 0, 0 ) );
      }
      reply.install( i.key() );
   }
   tcamEntryArpReplyIs( macType, reply.id() );
   noteWritten( macType, &WrittenMacs::arpReply, mac );
   VORMEL_TRACE( routingTrace, 2,
      "Allocated trap to cpu tcam for arp reply dmac=" << macType << " ( ID: " << reply.id() );
}

void RoutingStatusHelper::handleTcamEntryArpReqUnicastDrop()
{
   using StrataCommon::classOpenFlow_;

   VORMEL_TRACE( routingTrace, 9, "handleTcamEntryArpReqUnicastDrop" );
   if( !hasManager( tcamManager(), "handleTcamEntryArpReqUnicastDrop" ) )
      return;
   const bool higig = chipAttributes( shared() ).higigQualifierSupported;
   const EthAddr mac = routerMacAddr();
   const EthAddr macMask = EthAddr::broadcast;

   TcamEntry request( tcamManager(), TcamL3EntryId::arpRequestUnicast,
      "drop ucast arp request with dmac=bridgeMac" );
   for( const auto& i : shared().units() ) {
      const U32 entryId = request.claim( i.key() );
      CHECKED( bcm_field_qualify_DstMac( i.key(), entryId, mac, macMask ) );
      CHECKED( bcm_field_qualify_IpType( i.key(), entryId, bcmFieldIpTypeArpRequest ) );
      if( higig )
         CHECKED( bcm_field_qualify_HiGig( i.key(), entryId, 0, 1 ) );
      CHECKED(
         bcm_field_qualify_InterfaceClassL2( i.key(), entryId, StrataCommon::classSviConfigured_,
            StrataCommon::classSviConfigured_ | StrataCommon::classDropRoutedTraffic_ ) );
      CHECKED( bcm_field_qualify_SrcClassField( i.key(), entryId, 0, classOpenFlow_ ) );
      CHECKED( bcm_field_qualify_L3Routable( i.key(), entryId, 0, 1 ) );
      CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionDrop, 0, 0 ) );
      request.install( i.key() );
   }
   tcamEntryArpReqUnicastIs( request.id() );
   noteWritten( MacType::bridgeMac, &WrittenMacs::arpRequest, mac );
   VORMEL_TRACE( routingTrace, 2,
      "Allocated drop tcam for arp req dmac=" << MacType::bridgeMac << " ( ID: " << request.id() );
}

} // namespace Strata
