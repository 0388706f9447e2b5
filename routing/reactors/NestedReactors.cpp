#include "routing/reactors/NestedReactors.h"

#include "routing/reactors/RoutingStatusSm.h"

namespace Strata {

NestedSm_IntfStatus::NestedSm_IntfStatus(
   const Ref<const Interface::EthIntfStatus>& status, RoutingStatusSm* owner )
   : intf_( status->intfId() ),
     owner_( owner ),
     status_( *this, status )
{}

void NestedSm_IntfStatus::notifierIs( const Ref<const Interface::EthIntfStatus>& status )
{
   status_.notifierIs( status );
}

// Both dispatchers check the owner's mark before they take a reference to it, because an owner that is being destroyed
// must not be referenced again.

void NestedSm_IntfStatus::onStatus( const Vormel::Change& change )
{
   if( !owner_ || owner_->markedForDeletion() )
      return;
   const Ref<RoutingStatusSm> keep( owner_ );
   if( change.number == Interface::EthIntfStatus::forwardingModelNumber )
      kib_handleIntfStatus_forwardingModel();
}

void NestedSm_IntfStatus::kib_handleIntfStatus_forwardingModel()
{
   if( owner_ )
      owner_->handleIntfFlood( intf_ );
}

KibNexthopStatusDir::KibNexthopStatusDir(
   const Ref<const NexthopStatusDir>& dir, RoutingStatusSm* owner )
   : owner_( owner ),
     dir_( *this, dir )
{}

void KibNexthopStatusDir::onDir( const Vormel::Change& change )
{
   if( !owner_ || owner_->markedForDeletion() )
      return;
   const Ref<RoutingStatusSm> keep( owner_ );
   if( change.number == NexthopStatusDir::entityNumber )
      keep->handleNexthopStatus( change.key.as<std::string>() );
}

} // namespace Strata
