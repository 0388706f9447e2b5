#include "routing/reactors/L3PeerMacArpRedirectSm.h"

#include "messages/Traces.h"

#include <algorithm>

namespace Strata {

Ref<L3PeerMacArpRedirectSm> l3PeerMacArpRedirectSmFactory(
   const Ref<const StrataCommonSmData>& scsd, const Ref<const Mlag::Status>& mlagStatus,
   const Ref<const Mlag::Hardware::Status>& mlagHwStatus,
   const Ref<RoutingStatusHelper>& routingStatusHelper )
{
   auto sm =
      Vormel::make<L3PeerMacArpRedirectSm>( scsd, mlagStatus, mlagHwStatus, routingStatusHelper );
   // First, because a subscriber may change an input while the redirect is made.
   sm->hasNotificationActiveIs( true );
   sm->handleInitialized();
   return sm;
}

L3PeerMacArpRedirectSm::L3PeerMacArpRedirectSm( const Ref<const StrataCommonSmData>& scsd,
   const Ref<const Mlag::Status>& mlagStatus, const Ref<const Mlag::Hardware::Status>& mlagHwStatus,
   const Ref<RoutingStatusHelper>& routingStatusHelper )
   : scsd_( scsd ),
     mlagStatus_( mlagStatus ),
     mlagHwStatus_( mlagHwStatus ),
     routingStatusHelper_( routingStatusHelper ),
     mlagStatusInput_( *this, mlagStatus ),
     mlagHwStatusInput_( *this, mlagHwStatus ),
     scsdInput_( *this, scsd )
{}

void L3PeerMacArpRedirectSm::handleInitialized()
{
   handlePeerMacArpRedirect();
}

L3PeerMacArpRedirectSm::~L3PeerMacArpRedirectSm() = default;

VORMEL_ALLOCATION( L3PeerMacArpRedirectSm )

void L3PeerMacArpRedirectSm::subscriptionsAre( bool active )
{
   mlagStatusInput_.activeIs( active );
   mlagHwStatusInput_.activeIs( active );
   scsdInput_.activeIs( active );
}

void L3PeerMacArpRedirectSm::handlePeerMacArpRedirect()
{
   VORMEL_TRACE( routingTrace, 8, "handlePeerMacArpRedirect" );
   if( !routingStatusHelper_ )
      return;
   const EthAddr mac = mlagStatus_ ? mlagStatus_->peerMacAddr() : EthAddr();
   const IntfId link = mlagStatus_ ? mlagStatus_->peerLinkIntf() : IntfId();
   const bool wanted = !mac.isZero() && Mlag::isPeerMacRoutingStatusEnabled( *mlagStatus_ ) &&
                       mlagHwStatus_ && mlagHwStatus_->peerMacRoutingSupported() && scsd_ &&
                       portOfLink( *scsd_, link );
   routingStatusHelper_->handlePeerMacArpRedirect( mac, link, wanted );
}

void L3PeerMacArpRedirectSm::onMlag( const Vormel::Change& )
{
   const Ref<L3PeerMacArpRedirectSm> keep( this );
   handlePeerMacArpRedirect();
}

void L3PeerMacArpRedirectSm::onScsd( const Vormel::Change& change )
{
   const Ref<L3PeerMacArpRedirectSm> keep( this );
   switch( change.number ) {
   case StrataCommonSmData::strataIntfToPortNumber:
   case StrataCommonSmData::lagMembersNumber:
      if( concernsPeerLink( change.key.as<IntfId>() ) )
         handlePeerMacArpRedirect();
      return;
   case StrataCommonSmData::lagOfMemberNumber:
      // A member that has left the peer link is recognised by the old value, its former LAG.
      if( concernsPeerLink( change.key.as<IntfId>() ) ||
          ( !change.oldValue.empty() && concernsPeerLink( change.oldValue.as<IntfId>() ) ) )
         handlePeerMacArpRedirect();
      return;
   default:
      return;
   }
}

bool L3PeerMacArpRedirectSm::concernsPeerLink( IntfId intf ) const
{
   if( !mlagStatus_ || intf.empty() )
      return false;
   const IntfId link = mlagStatus_->peerLinkIntf();
   if( link.empty() )
      return false;
   if( intf == link || scsd_->lagOfMember( intf ) == link )
      return true;
   const IntfIdList* const members = scsd_->lagMembers().find( link );
   return members && std::find( members->begin(), members->end(), intf ) != members->end();
}

} // namespace Strata
