// Reactions to the configuration of features: each reads one value and passes it to the helper.
#include "messages/Traces.h"
#include "platform/runtime/Assert.h"
#include "routing/reactors/RoutingStatusSm.h"

namespace Strata {

void RoutingStatusSm::handleStrataPbrEnabled()
{
   VORMEL_ASSERT( strataPbrInfo() );
   const bool pbr = strataPbrInfo_->pbrEnabled();
   VORMEL_TRACE( routingTrace, 8, "handleStrataPbrEnabled, pbr: " << pbr );
   if( const Ref<RoutingStatusHelper> helper = routingStatusHelper_ )
      helper->handleEnableTcamEntryVlanFloodPbr( pbr );
}

void RoutingStatusSm::handleVxlanEnabled()
{
   VORMEL_ASSERT( scsd() );
   const bool vxlanEnabled = scsd_->vxlanEnabled();
   VORMEL_TRACE( routingTrace, 8, "handleVxlanEnabled, vxlanEnabled: " << vxlanEnabled );
   if( const Ref<RoutingStatusHelper> helper = routingStatusHelper_ )
      helper->programSkipL2McastPktFromCoreToCpu( vxlanEnabled );
}

void RoutingStatusSm::handleUnknownMacDrop()
{
   VORMEL_TRACE( routingTrace, 7, "handleUnknownMacDrop" );
   VORMEL_ASSERT( miscConfig() );
   for( const U16 tc : Vormel::keysOf( miscConfig_->unknownMacDropTrafficClass() ) )
      handleUnknownMacDrop( tc );
}

void RoutingStatusSm::handleUnknownMacDrop( U16 tc )
{
   VORMEL_TRACE( routingTrace, 7, "handleUnknownMacDrop, traffic class: " << tc );
   VORMEL_ASSERT( miscConfig() );
   const bool create = miscConfig_->unknownMacDropTrafficClass().contains( tc );
   VORMEL_TRACE( routingTrace, 7, "handleUnknownMacDropNew value: " << create );
   if( const Ref<RoutingStatusHelper> helper = routingStatusHelper_ )
      helper->handleTcamEntryVlanFloodDrop( tc, create );
}

RoutingStatusSm::InForce RoutingStatusSm::inForce() const
{
   if( !hwStatus_ )
      return ownInForce_;
   return { hwStatus_->l2DualHash(), hwStatus_->l3DualHash(), hwStatus_->l2TrafficRouting() };
}

// Each value is reported before the next is read, because a subscriber of the report may change the configuration.
void RoutingStatusSm::handleDualHash()
{
   VORMEL_TRACE( routingTrace, 8, "handleDualHash" );
   if( !miscConfig_ ) {
      VORMEL_TRACE( routingTrace, 1, "handleDualHash: no miscConfig" );
      return;
   }
   if( !routingStatusHelper_ )
      return;
   if( const bool on = miscConfig_->l2DualHash(); on != inForce().l2DualHash ) {
      routingStatusHelper_->programDualHash( SwitchControl::HashL2Dual, on );
      ownInForce_.l2DualHash = on;
      if( hwStatus_ )
         hwStatus_->l2DualHashIs( on );
   }
   if( const bool on = miscConfig_->l3DualHash(); on != inForce().l3DualHash ) {
      routingStatusHelper_->programDualHash( SwitchControl::HashL3Dual, on );
      ownInForce_.l3DualHash = on;
      if( hwStatus_ )
         hwStatus_->l3DualHashIs( on );
   }
}

void RoutingStatusSm::handleL2TrafficRoutingStatus()
{
   VORMEL_TRACE( routingTrace, 8, "handleL2TrafficRoutingStatus" );
   if( !bastleSourceIpLookupConfig_ || !routingStatusHelper_ )
      return;
   const bool on = bastleSourceIpLookupConfig_->l2TrafficRouting();
   if( on == inForce().l2TrafficRouting )
      return;
   routingStatusHelper_->programL2TrafficRouting( on );
   ownInForce_.l2TrafficRouting = on;
   if( hwStatus_ )
      hwStatus_->l2TrafficRoutingIs( on );
}

void RoutingStatusSm::handleNexthopStatus( const std::string& name )
{
   VORMEL_TRACE( routingTrace, 8, "handleNexthopStatus" << name );
   // Totals are kept, so that the cost of an event does not depend on the number of entities.
   if( const auto old = nexthops_.erase( name ) ) {
      nexthopsProgrammed_ -= old->programmed ? 1 : 0;
      nexthopsUsingL3Egress_ -= old->usesL3Egress ? 1 : 0;
   }
   const Ref<NexthopStatus> entity =
      nexthopStatusDir_ ? nexthopStatusDir_->entity( name ) : nullptr;
   if( entity ) {
      const Nexthop now{ entity->programmed(), entity->usesL3Egress() };
      nexthopsProgrammed_ += now.programmed ? 1 : 0;
      nexthopsUsingL3Egress_ += now.usesL3Egress ? 1 : 0;
      nexthops_.insertOrAssign( name, now );
   }
   if( hwStatus_ )
      hwStatus_->nexthopsProgrammedIs( nexthopsProgrammed_ );
   if( !routingStatusHelper_ )
      return;
   const bool supported = nexthopsUsingL3Egress_ != 0;
   if( supported == routingStatusHelper_->ofFxSupported() )
      return;
   routingStatusHelper_->ofFxSupportedIs( supported );
   handleStrataIntfToPort();
}

} // namespace Strata
