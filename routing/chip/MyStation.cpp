// The my-station memory, which contains the destination MACs of the router, and the MLAG peer's two entries.
#include "routing/chip/MyStation.h"

#include "messages/Traces.h"
#include "platform/runtime/Activity.h"
#include "platform/runtime/Assert.h"
#include "platform/runtime/Errors.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"

#include <cstring>

namespace Strata {

static constexpr U32 vlanIdMaskAll = 0x0FFF;
static constexpr U32 portNumMaskAll = 0x7F;

static const char* routingText( bool routing )
{
   return routing ? "Routing (IPv4, IPv6, MPLS)" : "Disabled";
}

void RoutingStatusHelper::addMyStationTcamEntry( U32 unit, U32 index, const Vormel::EthAddr& mac,
   bool vlanIdValid, U32 vlanId, bool ingressPortCpu, bool arpTermination, bool routing )
{
   Vormel::checkActivityLock( "addMyStationTcamEntry" );
   if( vlanIdValid && vlanId > vlanIdMaskAll )
      throw Vormel::ValueError( "addMyStationTcamEntry: vlanId " + std::to_string( vlanId ) +
                                " is out of the range 0 to 4095" );
   VORMEL_TRACE( routingTrace, 9,
      "addMyStationTcamEntry, Unit:" << unit << ", Index:" << index << ", Mac:" << mac
                                     << ", vlanId:" << vlanId << ", vlanIdValid:" << vlanIdValid
                                     << ", ingressPortCpu:" << ingressPortCpu
                                     << routingText( routing ) );
   my_station_tcam_entry_t myStationEntry;
   const auto set = [ &myStationEntry ]( MemoryField field, const auto& value ) {
      SdkShim->memoryFieldSet( myStationEntry, field, value );
   };
   set( MemoryField::Valid, 1u );
   set( MemoryField::MacAddr, mac );
   set( MemoryField::MacAddrMask, EthAddr::broadcast );
   if( vlanIdValid ) {
      set( MemoryField::VlanId, vlanId );
      set( MemoryField::VlanIdMask, vlanIdMaskAll );
   }
   if( ingressPortCpu ) {
      set( MemoryField::IngressPortNum, static_cast<U32>( CMIC_PORT( unit ) ) );
      set( MemoryField::IngressPortNumMask, portNumMaskAll );
   }
   if( routing ) {
      set( MemoryField::Ipv4Termination, 1u );
      set( MemoryField::Ipv6Termination, 1u );
      set( MemoryField::MplsTermination, 1u );
   }
   if( arpTermination )
      set( MemoryField::ArpRarpTermination, 1u );
   CHECKED_WITH_SIGNATURE(
      soc_mem_write( unit, MY_STATION_TCAMm, MEM_BLOCK_ANY, index, &myStationEntry ) );
}

void RoutingStatusHelper::removeMyStationTcamEntry( U32 unit, U32 index )
{
   Vormel::checkActivityLock( "removeMyStationTcamEntry" );
   VORMEL_TRACE(
      routingTrace, 9, "removeMyStationTcamEntry, Unit:" << unit << ", Index:" << index );
   my_station_tcam_entry_t myStationEntry;
   CHECKED_WITH_SIGNATURE(
      soc_mem_write( unit, MY_STATION_TCAMm, MEM_BLOCK_ANY, index, &myStationEntry ) );
}

void RoutingStatusHelper::verifyMyStationTcamEntry( U32 unit, U32 index, bool valid,
   const Vormel::EthAddr& mac, bool vlanIdValid, U32 vlanId, bool ingressPortCpu,
   bool expectArpTermination, bool routing )
{
   Vormel::checkActivityLock( "verifyMyStationTcamEntry" );
   VORMEL_TRACE( routingTrace, 9,
      "verifyMyStationTcamEntry, valid:" << valid << ", Mac:" << mac << ", vlanId:" << vlanId
                                         << ", vlanIdValid:" << vlanIdValid << ", ingressPortCpu:"
                                         << ingressPortCpu << "Routing:" << routingText( routing )
                                         << "Arp/Rarp:" << expectArpTermination );
   my_station_tcam_entry_t myStationEntry;
   CHECKED_WITH_SIGNATURE(
      soc_mem_read( unit, MY_STATION_TCAMm, MEM_BLOCK_ANY, index, &myStationEntry ) );
   // The second read verifies the memory's alternative view, on chips that have one.
   my_station_tcam_entry_t myStationEntry2;
   CHECKED_WITH_SIGNATURE(
      soc_mem_read( unit, MY_STATION_TCAMm, MEM_BLOCK_ANY, index, &myStationEntry2 ) );
   VORMEL_ASSERT( !memcmp( &myStationEntry2, &myStationEntry, sizeof( myStationEntry2 ) ) );

   const auto field = [ &myStationEntry ]( MemoryField role ) {
      return SdkShim->memoryField( myStationEntry, role );
   };
   const bool entryValid = field( MemoryField::Valid ) != 0;
   VORMEL_ASSERT( valid == entryValid );
   if( entryValid ) {
      const EthAddr entryMac = SdkShim->memoryMacField( myStationEntry, MemoryField::MacAddr );
      const EthAddr entryMacMask =
         SdkShim->memoryMacField( myStationEntry, MemoryField::MacAddrMask );
      VORMEL_ASSERT( entryMac == mac );
      VORMEL_ASSERT( entryMacMask == EthAddr::broadcast );
   }
   const U32 entryVlanId = field( MemoryField::VlanId );
   const U32 entryVlanIdMask = field( MemoryField::VlanIdMask );
   if( vlanIdValid ) {
      VORMEL_ASSERT( entryVlanIdMask == 0x0FFF );
      VORMEL_ASSERT( vlanId == entryVlanId );
   } else {
      VORMEL_ASSERT( entryVlanIdMask == 0 );
   }
   const U32 entryPortNum = field( MemoryField::IngressPortNum );
   const U32 entryPortNumMask = field( MemoryField::IngressPortNumMask );
   if( ingressPortCpu ) {
      VORMEL_ASSERT( entryPortNumMask == 0x7F );
      VORMEL_ASSERT( entryPortNum == ( unsigned )CMIC_PORT( unit ) );
   } else {
      VORMEL_ASSERT( entryPortNumMask == 0 );
   }
   const bool ipV4Termination = field( MemoryField::Ipv4Termination ) != 0;
   const bool ipV6Termination = field( MemoryField::Ipv6Termination ) != 0;
   const bool mplsTermination = field( MemoryField::MplsTermination ) != 0;
   if( routing ) {
      VORMEL_ASSERT( ipV4Termination );
      VORMEL_ASSERT( ipV6Termination );
      VORMEL_ASSERT( mplsTermination );
   } else {
      VORMEL_ASSERT( !ipV4Termination );
      VORMEL_ASSERT( !ipV6Termination );
      VORMEL_ASSERT( !mplsTermination );
   }
   const bool arpTermination = field( MemoryField::ArpRarpTermination ) != 0;
   if( expectArpTermination )
      VORMEL_ASSERT( arpTermination );
   else
      VORMEL_ASSERT( !arpTermination );
}

void RoutingStatusHelper::handlePeerMacRouting( const EthAddr& mac, bool add )
{
   VORMEL_TRACE( routingTrace, 2,
      "handlePeerMacRouting" << ( add ? " Add " : " Remove " ) << ", mac: " << mac );
   if( !mlagHwStatus() )
      VORMEL_TRACE( routingTrace, 1, "handlePeerMacRouting: no MLAG hardware status" );
   if( !mlagHwStatus() || !mlagHwStatus()->peerMacRoutingSupported() )
      return;
   const bool installed = peerRouterMacNoRoutingIndex() != myStationIdxInvalid();
   if( add && installed && mac == peerRouterMacAddr() )
      return;
   for( const U32 index : { peerRouterMacNoRoutingIndex(), peerRouterMacIndex() } ) {
      if( index == myStationIdxInvalid() )
         continue;
      for( const auto& i : shared().units() )
         removeMyStationTcamEntry( i.key(), index );
   }
   VORMEL_TRACE( routingTrace, 2, "Peer Router Mac: " << mac );
   if( !add ) {
      peerRouterMacAddrIs( EthAddr() );
      peerRouterMacNoRoutingIndexIs( myStationIdxInvalid() );
      peerRouterMacIndexIs( myStationIdxInvalid() );
      VORMEL_TRACE( routingTrace, 2, "handlePeerMacRouting Remove SUCCESS" );
      return;
   }
   // Packets to the peer's MAC from this switch's CPU are for the peer, so the first entry (lower index, which wins)
   // terminates nothing. Packets from any other port are routed on the peer's behalf.
   for( const auto& i : shared().units() )
      addMyStationTcamEntry( i.key(), peerRouterMacNoRouting(), mac, false, 0, true, false, false );
   peerRouterMacNoRoutingIndexIs( peerRouterMacNoRouting() );
   for( const auto& i : shared().units() )
      addMyStationTcamEntry( i.key(), peerRouterMac(), mac, false, 0, false, false, true );
   peerRouterMacIndexIs( peerRouterMac() );
   peerRouterMacAddrIs( mac );
   VORMEL_TRACE( routingTrace, 2, "handlePeerMacRouting Add SUCCESS" );
}

void RoutingStatusHelper::verifyPeerMacRoutingStatus()
{
   if( !mlagStatus() )
      VORMEL_TRACE( routingTrace, 1, "verifyPeerMacRoutingStatus: no MLAG status" );
   const bool enabled = mlagStatus() && !mlagStatus()->peerMacAddr().isZero() &&
                        Mlag::isPeerMacRoutingStatusEnabled( *mlagStatus() ) &&
                        ( routing4Enabled() || routing6Enabled() );
   if( !enabled ) {
      VORMEL_TRACE( routingTrace, 2, "Testing for peer mac routing to be disabled." );
      VORMEL_ASSERT( peerRouterMacNoRoutingIndex() == Strata::myStationIdxInvalid() );
      VORMEL_ASSERT( peerRouterMacIndex() == Strata::myStationIdxInvalid() );
      return;
   }
   VORMEL_TRACE( routingTrace, 2, "Testing for peer mac routing to be enabled." );
   VORMEL_ASSERT( peerRouterMacNoRoutingIndex() == Strata::peerRouterMacNoRouting() );
   VORMEL_ASSERT( peerRouterMacIndex() == Strata::peerRouterMac() );
   const EthAddr mac = mlagStatus()->peerMacAddr();
   for( const auto& i : shared().units() ) {
      verifyMyStationTcamEntry(
         i.key(), peerRouterMacNoRouting(), true, mac, false, 0, true, false, false );
      verifyMyStationTcamEntry( i.key(), peerRouterMac(), true, mac, false, 0, false, false, true );
   }
}

} // namespace Strata
