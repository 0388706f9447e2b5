// Redirects ARP packets for the MLAG peer's router MAC to the peer. IP packets to this MAC are routed here.
#include "messages/Traces.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"
#include "routing/tcam/TcamEntry.h"

#include <algorithm>
#include <utility>

namespace Strata {

void RoutingStatusHelper::handlePeerMacArpRedirect(
   const EthAddr& mac, IntfId peerLink, bool enable )
{
   VORMEL_TRACE( routingTrace, 2, "handlePeerMacArpRedirect, create: " << enable );
   const Ref<StrataBoundedTcamEntryManager> manager =
      tcamGroupManager() ? tcamGroupManager()->boundedTcamEntryManager( TcamGroup::peerMacArp )
                         : nullptr;
   if( !hasManager( manager, "handlePeerMacArpRedirect" ) )
      return;
   // One port only: a redirect to several ports would duplicate the packet.
   const StrataPort linkPort = portOfLink( shared(), peerLink );
   if( !enable || !linkPort ) {
      arpRedirect_.forget();
      peerMacArpRedirectIs( deleteEntry( manager, shared().units(), peerMacArpRedirect() ) );
      return;
   }
   ArpRedirect wanted = std::exchange( arpRedirectRoom_, {} );
   wanted.forget();
   wanted.mac = mac;
   wanted.port = linkPort;
   for( const auto& i : shared().units() )
      wanted.inPorts.push_back(
         { i.key(), rxPorts( i.key() ) - portsOfLink( shared(), peerLink, i.key() ) } );
   if( peerMacArpRedirect() == 0 || wanted != arpRedirect_ ) {
      // Until the entry is in hardware on every unit, also after an exception.
      arpRedirect_.forget();
      makeArpRedirect( manager, wanted );
   }
   arpRedirectRoom_ = std::move( wanted );
}

void RoutingStatusHelper::makeArpRedirect(
   const Ref<StrataBoundedTcamEntryManager>& manager, const ArpRedirect& wanted )
{
   const EthAddr mac = wanted.mac;
   const EthAddr macMask = EthAddr::broadcast;
   const StrataPort port = wanted.port;
   const StrataUnit* const portUnit = shared().units().find( port.unit() );
   const U32 modId = portUnit ? portUnit->modId : port.unit();
   TcamEntry redirect( manager, 0, "arp redirect to mlag peer" );
   for( const auto& i : shared().units() ) {
      const auto inPorts = std::ranges::find( wanted.inPorts, i.key(), &InPorts::unit );
      if( inPorts == wanted.inPorts.end() )
         continue;
      const U32 entryId = redirect.claim( i.key() );
      CHECKED( bcm_field_qualify_DstMac( i.key(), entryId, mac, macMask ) );
      CHECKED( bcm_field_qualify_EtherType( i.key(), entryId, 0x0806, 0xFFFF ) );
      qualifyInPorts( *manager, i.key(), entryId, inPorts->ports, allPorts( i.key() ) );
      CHECKED( bcm_field_action_add(
         i.key(), entryId, bcmFieldActionRedirectPort, modId, port.sdkPort() ) );
      redirect.install( i.key() );
   }
   arpRedirect_ = wanted;
   peerMacArpRedirectIs( redirect.recordable() );
   redirect.traceAllocated( __func__, "Allocated arp redirect to mlag peer tcam entry (ID:" );
}

} // namespace Strata
