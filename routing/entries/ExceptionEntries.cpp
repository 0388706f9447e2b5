// Exceptions: TTL 0 and 1, and packets whose next hop is the CPU. Their entries are made at chip initialisation and never
// removed.
#include "messages/Traces.h"
#include "platform/runtime/Format.h"
#include "platform/state/StrataCommon.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"
#include "routing/tcam/TcamEntry.h"

namespace Strata {

// IP packets with TTL 0 or 1 go to the CPU, on a queue of their own, and are not forwarded.
static void initializeTtlCheckTcam( const Ref<StrataBoundedTcamEntryManager>& manager, U8 unit )
{
   using StrataCommon::cpuCosqTtl1_;

   if( SdkShim->trapsTtlExceptions( unit ) )
      return;
   for( U32 ttl = 0; ttl <= 1; ++ttl ) {
      const U32 entryId = manager->baseEntryId() + ttl;
      manager->getEntry( unit, entryId, Vormel::format( "VFI IP TTL %d", ttl ), {} );
      CHECKED( bcm_field_qualify_Ttl( unit, entryId, ttl, 0xFF ) );
      CHECKED( bcm_field_qualify_L3Routable( unit, entryId, 1, 1 ) );
      CHECKED( bcm_field_qualify_Drop( unit, entryId, 0, 1 ) );
      CHECKED( bcm_field_action_add( unit, entryId, bcmFieldActionCopyToCpu, 0, 0 ) );
      CHECKED( bcm_field_action_add( unit, entryId, bcmFieldActionDrop, 0, 0 ) );
      CHECKED( bcm_field_action_add( unit, entryId, bcmFieldActionCosQCpuNew, cpuCosqTtl1_, 0 ) );
      installEntry( *manager, unit, entryId );
   }
}

static constexpr U32 highestTtlCheckUnit = 0xFF;

/// Runs before anything is written, because a later error would leave the switch half programmed.
static void checkTtlCheckUnits( const UnitTable& units )
{
   for( const auto& i : units )
      if( i.key() > highestTtlCheckUnit && !SdkShim->trapsTtlExceptions( i.key() ) )
         throw Vormel::ValueError( "init: unit " + std::to_string( i.key() ) +
                                   " cannot have TTL-check entries; units 0 to 255 can" );
}

void RoutingStatusHelper::initTtlCheck()
{
   const Ref<StrataBoundedTcamEntryManager> manager =
      tcamGroupManager() ? tcamGroupManager()->boundedTcamEntryManager( TcamGroup::ttlCheck )
                         : nullptr;
   if( manager )
      checkTtlCheckUnits( shared().units() );
   ttlCheckTcamManagerIs( manager );
   if( !manager ) {
      VORMEL_TRACE( routingTrace, 1, "init: no entry manager for the TTL check" );
      return;
   }
   for( const auto& i : shared().units() )
      if( i.key() <= highestTtlCheckUnit )
         initializeTtlCheckTcam( manager, static_cast<U8>( i.key() ) );
}

void RoutingStatusHelper::initializeNextHopToCpuTcam()
{
   if( shared().nextHopToCpuSuppressed() ||
       !hasManager( tcamManager(), "initializeNextHopToCpuTcam" ) )
      return;
   TcamEntry nextHop( tcamManager(), TcamL3EntryId::nexthopToCpu, "NextHop to Cpu" );
   for( const auto& i : shared().units() ) {
      const U32 entry = nextHop.claim( i.key() );
      CHECKED( bcm_field_qualify_DstPort(
         i.key(), entry, StrataCommon::cpuNhInvalidModId_, StrataCommon::maskModId_, 0, 0 ) );
      CHECKED( bcm_field_action_add( i.key(), entry, bcmFieldActionCopyToCpu, 0, 0 ) );
      nextHop.install( i.key() );
   }
}

} // namespace Strata
