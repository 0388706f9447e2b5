// Keeps the redirect of ARP for the MLAG peer's router MAC in line with the MLAG state.
//
// Runs on the reactor thread with the activity lock held.
#pragma once

#include "platform/runtime/Export.h"
#include "platform/runtime/Reactor.h"
#include "platform/state/Mlag.h"
#include "platform/state/StrataCommonSmData.h"
#include "routing/RoutingStatusHelper.h"

namespace Strata {

class VORMEL_EXPORT L3PeerMacArpRedirectSm : public Vormel::Reactor
{
   VORMEL_SIZE_OF_LIBRARY

 public:
   L3PeerMacArpRedirectSm( const Ref<const StrataCommonSmData>& scsd,
      const Ref<const Mlag::Status>& mlagStatus,
      const Ref<const Mlag::Hardware::Status>& mlagHwStatus,
      const Ref<RoutingStatusHelper>& routingStatusHelper );

   /// Called by the factory after construction.
   void handleInitialized();
   /// Makes the redirect if there is a peer MAC, routing for it is enabled and supported, and the peer link has a port;
   /// otherwise removes it.
   void handlePeerMacArpRedirect();

 private:
   VORMEL_HIDDEN ~L3PeerMacArpRedirectSm() override;

   VORMEL_HIDDEN void subscriptionsAre( bool active ) override;
   VORMEL_HIDDEN void onMlag( const Vormel::Change& change );
   VORMEL_HIDDEN void onScsd( const Vormel::Change& change );
   VORMEL_HIDDEN bool concernsPeerLink( IntfId intf ) const;

   Ref<const StrataCommonSmData> scsd_;
   Ref<const Mlag::Status> mlagStatus_;
   Ref<const Mlag::Hardware::Status> mlagHwStatus_;
   Ref<RoutingStatusHelper> routingStatusHelper_;

   template<auto dispatcher>
   using Input = Vormel::Subscription<L3PeerMacArpRedirectSm, dispatcher>;
   Input<&L3PeerMacArpRedirectSm::onMlag> mlagStatusInput_;
   Input<&L3PeerMacArpRedirectSm::onMlag> mlagHwStatusInput_;
   Input<&L3PeerMacArpRedirectSm::onScsd> scsdInput_;
};

/// Makes the reactor, switches its notifications on and brings the redirect in line. It does not subscribe to an input that is null, and makes no
/// redirect without it. Destruction leaves the hardware as it is.
VORMEL_EXPORT Ref<L3PeerMacArpRedirectSm> l3PeerMacArpRedirectSmFactory(
   const Ref<const StrataCommonSmData>& scsd, const Ref<const Mlag::Status>& mlagStatus,
   const Ref<const Mlag::Hardware::Status>& mlagHwStatus,
   const Ref<RoutingStatusHelper>& routingStatusHelper );

} // namespace Strata
