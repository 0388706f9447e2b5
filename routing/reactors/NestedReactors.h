// The nested reactors of RoutingStatusSm. Each has an uncounted back pointer to its owner. The owner makes its nested
// reactors zombies before it is destroyed, which clears the pointer.
#pragma once

#include "platform/runtime/Reactor.h"
#include "platform/state/Interfaces.h"
#include "platform/state/L3State.h"

namespace Strata {

class RoutingStatusSm;

using Vormel::IntfId;
using Vormel::Ref;

/// Follows the forwarding model of one interface.
class NestedSm_IntfStatus final : public Vormel::Reactor
{
 public:
   NestedSm_IntfStatus( const Ref<const Interface::EthIntfStatus>& status, RoutingStatusSm* owner );

   /// Follows another status of the same interface; changes of the old one are no longer handled.
   void notifierIs( const Ref<const Interface::EthIntfStatus>& status );
   bool follows( const Interface::EthIntfStatus& status ) const
   {
      return status_.notifier().get() == &status;
   }
   void kib_handleIntfStatus_forwardingModel();

 private:
   void subscriptionsAre( bool active ) override { status_.activeIs( active ); }
   void ownerGone() override { owner_ = nullptr; }
   void onStatus( const Vormel::Change& change );

   IntfId intf_;
   RoutingStatusSm* owner_;
   Vormel::Subscription<NestedSm_IntfStatus, &NestedSm_IntfStatus::onStatus> status_;
};

/// Follows the entities of the next-hop status directory.
class KibNexthopStatusDir final : public Vormel::Reactor
{
 public:
   KibNexthopStatusDir( const Ref<const NexthopStatusDir>& dir, RoutingStatusSm* owner );

 private:
   void subscriptionsAre( bool active ) override { dir_.activeIs( active ); }
   void ownerGone() override { owner_ = nullptr; }
   void onDir( const Vormel::Change& change );

   RoutingStatusSm* owner_;
   Vormel::Subscription<KibNexthopStatusDir, &KibNexthopStatusDir::onDir> dir_;
};

} // namespace Strata
