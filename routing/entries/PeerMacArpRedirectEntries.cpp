// Redirects ARP packets for the MLAG peer's router MAC to the peer. IP packets to this MAC are routed here.
#include "messages/Traces.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"
#include "routing/tcam/TcamEntry.h"

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
   const std::vector<StrataPort> linkPorts = portsOfLink( shared(), peerLink );
   if( !enable || linkPorts.empty() ) {
      arpRedirect_ = {};
      peerMacArpRedirectIs( deleteEntry( manager, shared().units(), peerMacArpRedirect() ) );
      return;
   }
   // One port only: a redirect to several ports would duplicate the packet.
   ArpRedirect wanted{ mac, linkPorts.front(), {} };
   for( const auto& i : shared().units() ) {
      bcm_pbmp_t inPorts = rxPorts( i.key() );
      for( const StrataPort& linkPort : linkPorts )
         if( linkPort.unit() == i.key() )
            inPorts.remove( linkPort.logicalPort() );
      wanted.inPorts.emplace( i.key(), inPorts );
   }
   if( peerMacArpRedirect() != 0 && wanted == arpRedirect_ )
      return;
   arpRedirect_ =
      {}; // stays empty until the entry is in hardware on every unit, also after an exception
   makeArpRedirect( manager, wanted );
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
      const auto inPorts = wanted.inPorts.find( i.key() );
      if( inPorts == wanted.inPorts.end() )
         continue;
      const U32 entryId = redirect.claim( i.key() );
      CHECKED( bcm_field_qualify_DstMac( i.key(), entryId, mac, macMask ) );
      CHECKED( bcm_field_qualify_EtherType( i.key(), entryId, 0x0806, 0xFFFF ) );
      qualifyInPorts( *manager, i.key(), entryId, inPorts->second, allPorts( i.key() ) );
      CHECKED( bcm_field_action_add(
         i.key(), entryId, bcmFieldActionRedirectPort, modId, port.sdkPort() ) );
      redirect.install( i.key() );
   }
   arpRedirect_ = wanted;
   peerMacArpRedirectIs( redirect.recordable() );
   redirect.traceAllocated( __func__, "Allocated arp redirect to mlag peer tcam entry (ID:" );
}

} // namespace Strata
