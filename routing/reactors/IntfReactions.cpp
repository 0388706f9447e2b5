// Reactions to interfaces that are added or removed, or change their port, forwarding model or LAG.
#include "messages/Traces.h"
#include "platform/runtime/Assert.h"
#include "platform/runtime/Errors.h"
#include "routing/reactors/NestedReactors.h"
#include "routing/reactors/RoutingStatusSm.h"

namespace Strata {

void RoutingStatusSm::intfStatusIs( const Ref<const Interface::EthIntfStatus>& status )
{
   if( !status )
      throw Vormel::NullArgumentError( "intfStatusIs", "status" );
   const IntfId intf = status->intfId();
   Ref<NestedSm_IntfStatus> nested;
   if( const auto* const existing = intfStatus_.find( intf ) ) {
      nested = *existing;
      nested->notifierIs( status );
   } else {
      nested = Vormel::make<NestedSm_IntfStatus>( status, this );
      nested->hasNotificationActiveIs( true );
      intfStatus_.insertOrAssign( intf, nested );
   }
   nested->kib_handleIntfStatus_forwardingModel();
}

void RoutingStatusSm::intfStatusDel( IntfId intf )
{
   if( const auto removed = intfStatus_.erase( intf ) )
      ( *removed )->zombieIs();
}

void RoutingStatusSm::intfStatusDelAll()
{
   for( const IntfId intf : Vormel::keysOf( intfStatus_ ) )
      intfStatusDel( intf );
}

void RoutingStatusSm::handleIntfFlood()
{
   if( !ethIntfStatusDir_ )
      return;
   for( const IntfId intf : Vormel::keysOf( ethIntfStatusDir_->intfStatus() ) )
      handleIntfFlood( intf );
}

void RoutingStatusSm::handleIntfFlood( IntfId intf )
{
   if( !initialized_ )
      return;
   VORMEL_TRACE( routingTrace, 7, "handleIntfFlood intf: " << intf );
   if( routingStatusHelper_ )
      routingStatusHelper_->updateVlanFloodIgnoreIntf( intf );
}

void RoutingStatusSm::doAddOrRemoveLagPortFlood()
{
   VORMEL_ASSERT( scsd() );
   for( const IntfId intf : Vormel::keysOf( scsd_->lagOfMember() ) )
      doAddOrRemoveLagPortFlood( intf );
}

void RoutingStatusSm::doAddOrRemoveLagPortFlood( IntfId intf )
{
   if( !initialized_ )
      return;
   VORMEL_TRACE( routingTrace, 7, "doAddOrRemoveLagPortFlood intf: " << intf );
   if( routingStatusHelper_ )
      routingStatusHelper_->updateVlanFloodIgnoreIntf( intf );
}

void RoutingStatusSm::handleStrataIntfToPort()
{
   VORMEL_ASSERT( scsd() );
   for( const IntfId intf : Vormel::keysOf( scsd_->strataIntfToPort() ) )
      if( routingStatusHelper_ && scsd_->strataIntfToPort().contains( intf ) )
         routingStatusHelper_->programSwitchCtrlPortSet( intf );
}

void RoutingStatusSm::handleStrataIntfToPort( Vormel::IntfId intf )
{
   VORMEL_ASSERT( scsd() );
   VORMEL_TRACE( routingTrace, 8, "handleStrataIntfToPort" << intf );
   const bool present = scsd_->strataIntfToPort().contains( intf );
   if( routingStatusHelper_ )
      routingStatusHelper_->updateVlanFloodTcamEntriesOnSpeedChange( intf, present );
   if( !present )
      VORMEL_TRACE( routingTrace, 8,
         "handleStrataIntfToPortInterface" << intf << " not present in strataIntfToPort" );
   // Re-checked: a subscriber notified by the re-programming above may have removed the mapping.
   else if( routingStatusHelper_ && scsd_->strataIntfToPort().contains( intf ) )
      routingStatusHelper_->programSwitchCtrlPortSet( intf );
}

} // namespace Strata
