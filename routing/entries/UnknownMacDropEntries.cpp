// Drops and counts packets to unknown MACs, by traffic class, instead of flooding them.
#include "messages/Messages.h"
#include "messages/Traces.h"
#include "platform/runtime/Activity.h"
#include "platform/runtime/Assert.h"
#include "platform/runtime/Format.h"
#include "platform/state/StrataCommon.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"
#include "routing/tcam/TcamEntry.h"

#include <ios>

namespace Strata {

void RoutingStatusHelper::handleTcamEntryVlanFloodDrop( U16 tc, bool create )
{
   VORMEL_TRACE(
      routingTrace, 2, "handleTcamEntryVlanFloodDrop, tc: " << tc << ", create: " << create );
   Vormel::activityManager(); // the polling of the counters runs on its clock
   if( !hasManager( tcamManager(), "handleTcamEntryVlanFloodDrop" ) )
      return;
   if( create ) {
      VORMEL_ASSERT( !tcamEntryVlanFloodDrop( tc ) );
      const U32 id = createTcamEntryVlanFloodTc( tc );
      tcamEntryVlanFloodDropIs( tc, id );
   } else if( const U32 id = tcamEntryVlanFloodDrop( tc ); id != 0 ) {
      deleteTcamEntryVlanFloodTc( tc, id );
      tcamEntryVlanFloodDropDel( tc );
   }
}

U32 RoutingStatusHelper::createTcamEntryVlanFloodTc( U16 tc )
{
   if( !hasManager( tcamManager(), "createTcamEntryVlanFloodTc" ) )
      return 0;
   VORMEL_ASSERT( tc <= highestTrafficClass );
   // "This id or the next": both entries of a pair request the lower id, and get the two ids in turn.
   static const RequestKey pairKey{ "unknown mac drop", true, "" };
   const bool floodingPort = isFloodingPortSupported( shared() );
   const U32 group =
      tcamManager()->baseEntryId() + U32( TcamL3EntryId::vlanFloodingDrop ) + 2 * U32( tc );
   for( const auto& i : shared().units() ) {
      U32 pair[ 2 ] = {};
      if( floodingPort ) {
         const U32 entryId = tcamManager()->getEntry( i.key(), group,
            Vormel::format( "L3 unknown mac %s traffic-class %d", "drop", tc ), pairKey );
         VORMEL_ASSERT( entryId == group );
         VORMEL_TRACE( routingTrace, 2,
            "Allocated L3 unknown mac  tcam entry (ID: " << entryId << "), traffic-class: " << tc );
         CHECKED( bcm_field_qualify_DstPort( i.key(), entryId, scsd()->floodingModId(),
            StrataCommon::maskModId_, StrataCommon::floodingPortId_, StrataCommon::maskPortId_ ) );
         pair[ 0 ] = entryId;
      } else {
         const EthAddr macValue;
         const EthAddr macMask( 0x01, 0x00, 0x00, 0x00, 0x00, 0x00 );
         const U32 entryId = tcamManager()->getEntry( i.key(), group,
            Vormel::format( "L3MC unknown mac %s traffic-class %d", "drop", tc ), pairKey );
         VORMEL_ASSERT( entryId == group );
         VORMEL_TRACE( routingTrace, 2,
            "L3MC unknown mac  tcam entry (ID: " << entryId << "), traffic-class: " << tc );
         CHECKED( bcm_field_qualify_PacketRes(
            i.key(), entryId, BCM_FIELD_PKT_RES_L3MCKNOWN, BCM_FIELD_EXACT_MATCH_MASK ) );
         CHECKED( bcm_field_qualify_DstMac( i.key(), entryId, macValue, macMask ) );
         pair[ 0 ] = entryId;
      }
      const U32 entryId = tcamManager()->getEntry( i.key(), group,
         Vormel::format( "L2 unknown mac %s traffic-class %d", "drop", tc ), pairKey );
      VORMEL_ASSERT( entryId == group + 1 );
      VORMEL_TRACE( routingTrace, 2,
         "Allocated L2 unknown mac  tcam entry (ID: " << entryId << "), traffic-class: " << tc );
      CHECKED( bcm_field_qualify_PacketRes(
         i.key(), entryId, BCM_FIELD_PKT_RES_L2UNKNOWN, BCM_FIELD_EXACT_MATCH_MASK ) );
      pair[ 1 ] = entryId;

      for( const U32 entry : pair ) {
         VORMEL_TRACE( routingTrace, 2, "processing entry 0x" << std::hex << entry );
         CHECKED( bcm_field_qualify_IntPriority( i.key(), entry, tc, BCM_FIELD_EXACT_MATCH_MASK ) );
         const int action = bcmFieldActionDrop;
         CHECKED( bcm_field_action_add( i.key(), entry, action, 0, 0 ) );
         installEntry( *tcamManager(), i.key(), entry );
      }
   }
   return group;
}

void RoutingStatusHelper::deleteTcamEntryVlanFloodTc( U16 tc, U32 id )
{
   if( !hasManager( tcamManager(), "deleteTcamEntryVlanFloodTc" ) )
      return;
   for( const auto& i : shared().units() ) {
      for( const U32 entry : { id, id + 1 } ) {
         VORMEL_TRACE( routingTrace, 2,
            "Deleting tcam entry (ID: 0x" << std::hex << entry << std::dec
                                          << "), traffic-class: " << tc );
         tcamManager()->releaseEntry( i.key(), entry );
      }
   }
}

void RoutingStatusHelper::updateUnknownMacDropCounters( U16 tc )
{
   VORMEL_TRACE( routingTrace, 5, "RoutingStatusHelper::updateUnknownMacDropCounters TC " << tc );
   const U32 id = tcamEntryVlanFloodDrop( tc );
   if( id == 0 ) {
      VORMEL_TRACE( routingTrace, 5,
         "RoutingStatusHelper::updateUnknownMacDropCounters Tcam Entries for tc "
            << tc << " does not exist " );
      return;
   }
   if( !hasManager( tcamManager(), "updateUnknownMacDropCounters" ) )
      return;
   U64 sum = 0;
   for( const auto& i : shared().units() ) {
      for( const U32 entry : { id, id + 1 } ) {
         VORMEL_TRACE( routingTrace, 2,
            "Getting counter value for tcam entry (ID: 0x" << std::hex << entry << std::dec
                                                           << "), traffic-class: " << tc );
         sum += tcamManager()->hitsForEntry( i.key(), entry );
      }
   }
   const U64 old = unknownMacCountersPerTc( tc );
   VORMEL_TRACE( routingTrace, 5,
      "RoutingStatusHelper::updateUnknownMacDropCounters Old Counters " << old << " New Counters "
                                                                        << sum );
   if( old < sum )
      logMessage( UNKNOWN_UCAST_PACKET_RECEIVED, tc );
   // The sink of the log message may have withdrawn the class.
   if( tcamEntryVlanFloodDrop( tc ) == id )
      unknownMacCountersPerTcIs( tc, sum );
}

void RoutingStatusHelper::resetUnknownMacDropCounters( U16 tc )
{
   VORMEL_TRACE( routingTrace, 5, "RoutingStatusHelper::resetUnknownMacDropCounters TC " << tc );
   unknownMacCountersPerTcIs( tc, 0 );
}

} // namespace Strata
