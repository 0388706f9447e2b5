// Exemptions from uRPF: packets of these interface classes are not checked. The entries are on the single unit, in a
// range of their own, and recorded in the data shared with the agent.
#include "messages/Messages.h"
#include "messages/Traces.h"
#include "platform/runtime/Assert.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"
#include "routing/tcam/TcamEntry.h"

namespace Strata {

Ref<StrataBoundedTcamEntryManager> RoutingStatusHelper::getUrpfTcamEntryManager()
{
   const bool doubleWide = strataUrpfCommonData() && strataUrpfCommonData()->doubleWideMode();
   if( doubleWide )
      VORMEL_TRACE( routingTrace, 7, "uRPF Feature is in double wide mode " );
   else
      VORMEL_TRACE( routingTrace, 7, "uRPF Feature is in single wide mode" );
   if( !tcamGroupManager() )
      return nullptr;
   return tcamGroupManager()->boundedTcamEntryManager(
      doubleWide ? TcamGroup::urpfDoubleWide : TcamGroup::urpfSingleWide );
}

// The width may have changed since the entry was made, so the manager is found by the recorded id.
static void releaseUrpfEntry( U32 id, U32 offset, const Ref<StrataBoundedTcamEntryManager>& present,
   const Ref<StrataTcamGroupManager>& groups )
{
   const auto releasedBy = [ & ]( const Ref<StrataBoundedTcamEntryManager>& manager ) {
      const bool owns = manager && manager->baseEntryId() + offset == id;
      if( owns )
         manager->releaseEntry( SdkShim->kbSingleUnit(), id );
      return owns;
   };
   if( releasedBy( present ) )
      return;
   const bool released =
      groups && ( releasedBy( groups->boundedTcamEntryManager( TcamGroup::urpfSingleWide ) ) ||
                   releasedBy( groups->boundedTcamEntryManager( TcamGroup::urpfDoubleWide ) ) );
   VORMEL_TRACE_AS( routingTrace, 1, "handleTcamEntryUrpf",
      "handleTcamEntryUrpf: entry "
         << id << ( released ? " is of the other width" : " has no manager" ) );
}

bool RoutingStatusHelper::handleTcamEntryUrpf( bool enable, bool ipv4 )
{
   VORMEL_TRACE( routingTrace, 2, "uRPF tcam entry enable " << enable << ", ipv4: " << ipv4 );
   const Ref<StrataUrpfCommonData> sucd = strataUrpfCommonData();
   VORMEL_ASSERT( !!sucd );
   const Ref<StrataBoundedTcamEntryManager> manager = getUrpfTcamEntryManager();
   const U32 recorded = ipv4 ? sucd->tcamEntryUrpf4() : sucd->tcamEntryUrpf6();
   const auto record = [ & ]( U32 id ) {
      ipv4 ? sucd->tcamEntryUrpf4Is( id ) : sucd->tcamEntryUrpf6Is( id );
   };

   const U32 offset = ipv4 ? 0 : 1;
   if( !enable ) {
      if( recorded != 0 )
         releaseUrpfEntry( recorded, offset, manager, tcamGroupManager() );
      record( 0 );
      return true;
   }
   if( recorded != 0 )
      return true;
   const U32 urpfClass = ipv4 ? 1 : 2;
   const U32 urpfEntryId = manager ? manager->baseEntryId() + offset : 0;
   if( !manager ||
       claimEntry( *manager, SdkShim->kbSingleUnit(), urpfEntryId, "Do not check uRPF" ) == 0 ) {
      logMessage( STRATA_URPF_HW_RESOURCE_FULL );
      return false;
   }
   CHECKED( bcm_field_qualify_InterfaceClassL3(
      SdkShim->kbSingleUnit(), urpfEntryId, urpfClass, urpfClass ) );
   if( ipv4 )
      CHECKED(
         bcm_field_qualify_IpType( SdkShim->kbSingleUnit(), urpfEntryId, bcmFieldIpTypeIpv4Any ) );
   else
      CHECKED(
         bcm_field_qualify_IpType( SdkShim->kbSingleUnit(), urpfEntryId, bcmFieldIpTypeIpv6 ) );
   CHECKED( bcm_field_action_add(
      SdkShim->kbSingleUnit(), urpfEntryId, bcmFieldActionDoNotCheckUrpf, 1, 0 ) );
   installEntry( *manager, SdkShim->kbSingleUnit(), urpfEntryId );
   record( urpfEntryId );
   VORMEL_TRACE( routingTrace, 2, "Allocated uRPF tcam entry (ID:" << urpfEntryId );
   return true;
}

bool RoutingStatusHelper::doUrpfHwInitStage1( bool enable )
{
   VORMEL_TRACE( routingTrace, 7, "doUrpfHwInitStage1, enable: " << enable );
   // IPv6 follows the current state of IPv4: a subscriber may have requested the opposite.
   return handleTcamEntryUrpf( enable, true ) &&
          handleTcamEntryUrpf( strataUrpfCommonData()->tcamEntryUrpf4() != 0, false );
}

void RoutingStatusHelper::handleUrpf( Vormel::IntfId, U32, UrpfStatus, UrpfStatus )
{
   VORMEL_ASSERT( false );
}

} // namespace Strata
