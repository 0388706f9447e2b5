// The ports that receive routed floods, and writing them into the entries that carry them.
#include "messages/Traces.h"
#include "platform/runtime/Assert.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"
#include "routing/tcam/FieldLock.h"
#include "routing/tcam/TcamEntry.h"

#include <utility>
#include <vector>

namespace Strata {

// Logical port assumed for an interface that has none: the last bit of a port bitmap. An assertion would end the agent
// for a number that another part of it assigns later, and leaving the bitmap alone would hide the event; this port is
// the one that an agent is least likely to use.
static constexpr U32 noLogicalPort = 1023;

static bool isRouted( const Interface::EthIntfStatusDir* dir, IntfId intf )
{
   const auto* const status = dir ? dir->intfStatus().find( intf ) : nullptr;
   return status && *status && ( *status )->forwardingModel() == Interface::ForwardingModel::routed;
}

bool RoutingStatusHelper::routedIntf( IntfId intf )
{
   if( !isRouted( ethIntfStatusDir().get(), intf ) )
      return false;
   VORMEL_TRACE( routingTrace, 2, "routedIntf intf: " << intf );
   return true;
}

bool RoutingStatusHelper::routedLagMember( IntfId intf )
{
   const IntfId lag = shared().lagOfMember( intf );
   if( lag.empty() || !routedIntf( lag ) )
      return false;
   VORMEL_TRACE( routingTrace, 2, "routedLagMember lag: " << lag << " intf: " << intf );
   return true;
}

void RoutingStatusHelper::updateVlanFloodIgnoreIntf( IntfId intf )
{
   VORMEL_TRACE( routingTrace, 2, "updateVlanFloodIgnoreIntf intf: " << intf );
   if( intf.isPortChannel() ) {
      const bool routed = routedIntf( intf );
      bool handled = false;
      // A copy, with the LAG of each member's own row: subscribers may change LAGs, and a member that leaves is
      // handled by its own event. It is made in the room of the one before.
      std::vector<LagMember> members = std::exchange( lagMembersRoom_, {} );
      members.clear();
      if( const IntfIdList* const listed = shared().lagMembers().find( intf ) )
         for( const IntfId member : *listed )
            members.push_back( { member, shared().lagOfMember( member ) == intf } );
      for( const auto& [ member, belonged ] : members ) {
         if( belonged && shared().lagOfMember( member ) != intf )
            continue;
         if( !shared().strataIntfToPort( member ) )
            continue;
         handled = true;
         if( routed )
            routedPortsAndRoutedLagMemberIs( member, true );
         else
            routedPortsAndRoutedLagMemberDel( member );
         // A subscriber notified by the change above may have switched the LAG; its members were handled then.
         if( isRouted( ethIntfStatusDir().get(), intf ) != routed )
            break;
      }
      lagMembersRoom_ = std::move( members );
      if( !handled )
         return;
   } else if( intf.isEthernet() ) {
      if( !shared().strataIntfToPort( intf ) )
         return;
      if( !routedIntf( intf ) && !routedLagMember( intf ) )
         routedPortsAndRoutedLagMemberDel( intf );
      else
         routedPortsAndRoutedLagMemberIs( intf, true );
   } else {
      return;
   }
   reprogramVlanFloodRequiredInc( 1 );
}

void RoutingStatusHelper::updateVlanFloodTcamEntriesOnSpeedChange( IntfId intf, bool active )
{
   VORMEL_TRACE( routingTrace, 2,
      "updateVlanFloodTcamEntriesOnSpeedChange intf: " << intf << " active: " << active );
   if( routedPortsAndRoutedLagMember().contains( intf ) )
      return;
   const U32* const known = shared().intfToLogicalPort().find( intf );
   const U32 port = known ? *known : noLogicalPort;
   if( !known )
      VORMEL_TRACE( routingTrace, 1,
         "no logical port number for intf: " << intf << ", port " << port << " is used" );
   floodPortIs( port, active );
   reprogramVlanFloodRequiredInc( 1 );
}

void RoutingStatusHelper::unitRecordIs( const UnitRecord& record )
{
   bcm_pbmp_t ports = bcm_pbmp_t::fromWords( record );
   for( const auto& routed : routedPortsAndRoutedLagMember() ) {
      if( !routed.value )
         continue;
      // The logical number is known even when the interface has no port.
      if( const StrataPort sp = shared().strataIntfToPort( routed.key ) )
         ports.remove( sp.logicalPort() );
      else if( const U32* const known = shared().intfToLogicalPort().find( routed.key ) )
         ports.remove( *known );
   }
   vlanFloodPbmpIs( ports );
}

void RoutingStatusHelper::updateVlanFloodPbmp( Vormel::IntfId intf )
{
   const StrataPort sp = scsd() ? scsd()->strataIntfToPort( intf ) : StrataPort();
   VORMEL_ASSERT( !!sp );
   const bool remove = routedPortsAndRoutedLagMember( intf );
   VORMEL_TRACE( routingTrace, 2, "updateVlanFloodPbmp intf: " << intf << " remove: " << remove );
   floodPortIs( sp.logicalPort(), !remove );
}

void RoutingStatusHelper::floodPortIs( U32 port, bool flooded )
{
   if( flooded )
      floodPorts_.vlanFloodPbmp.add( port );
   else
      floodPorts_.vlanFloodPbmp.remove( port );
}

void RoutingStatusHelper::reprogramVlanFloodEntries()
{
   if( !scsd() )
      return;
   const UnitTable& units = scsd()->units();
   if( !units.empty() && tcamEntryVlanFloodPbr() != 0 )
      updateVlanFloodTcamEntryPbmp( units.begin().key(), true );
   if( scsd()->vfiForwarding() ) {
      VORMEL_TRACE( routingTrace, 2, "reprogramVlanFloodEntries, pbmp not used for flooding " );
      return;
   }
   if( !units.empty() && tcamEntryVlanFlood() != 0 && !useLb() )
      updateVlanFloodTcamEntryPbmp( units.begin().key(), false );
}

void RoutingStatusHelper::updateVlanFloodTcamEntryPbmp( U32 unit, bool pbr )
{
   VORMEL_TRACE( routingTrace, 2, "updateVlanFloodTcamEntryPbmp" );
   if( !hasManager( tcamManager(), "updateVlanFloodTcamEntryPbmp" ) )
      return;
   U32 entry = 0;
   int action = 0;
   if( pbr ) {
      VORMEL_ASSERT( !tcamManager()->supportsAclGroup() );
      entry = tcamEntryVlanFloodPbr();
      action = bcmFieldActionEgressPortsAdd;
   } else {
      VORMEL_ASSERT( scsd() );
      VORMEL_ASSERT( !scsd()->vfiForwarding() );
      entry = tcamEntryVlanFlood();
      action = bcmFieldActionRedirectPbmp;
   }
   if( entry == 0 ) {
      VORMEL_TRACE( routingTrace, 1, "updateVlanFloodTcamEntryPbmp: there is no such entry" );
      return;
   }
   if( !fabricMode() || entry == tcamEntryVlanFlood() ) {
      // The first branch is unreachable: the assertion above excludes it. Both are kept on purpose.
      if( !pbr && shared().vfiForwarding() )
         CHECKED( FP_LOCK_INTERNAL_CHK( unit, setAddAction( unit, entry ) ) );
      else
         CHECKED( FP_LOCK_INTERNAL_CHK(
            unit, setPortsAddAction( unit, entry, action, vlanFloodPbmp() ) ) );
   }
   installEntry( *tcamManager(), unit, entry );
   if( pbr )
      enableEntry( *tcamManager(), unit, entry, policyRoutingEnabled( __func__ ) );
}

} // namespace Strata
