// The nested reactors of RoutingStatusSm. Each has a back pointer to its owner, which is not counted: the owner
// makes its nested reactors zombies before it goes, and a zombie has no owner.
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

   /// Another status of the same interface; the old binding hears nothing any more.
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
