// Times of the runtime's paths, of a checked call beside a bare one, and of bring-up by units.
#include "bench/NullShim.h"
#include "bench/Paths.h"
#include "bench/SleepingThread.h"
#include "platform/runtime/Activity.h"
#include "routing/RoutingStatusHelper.h"

#include <benchmark/benchmark.h>

#include <string>

namespace Bench {
namespace {

constexpr std::size_t roundsPerBatch = 1000;

void runPath( benchmark::State& state, void ( *run )( std::size_t ) )
{
   startSleepingThread();
   NullShim shim;
   sdkShimIs( &shim );
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   for( auto _ : state )
      run( roundsPerBatch );
   state.SetItemsProcessed( state.iterations() * static_cast<S64>( roundsPerBatch ) );
   sdkShimIs( nullptr );
}

void bringUp( benchmark::State& state )
{
   startSleepingThread();
   NullShim shim;
   sdkShimIs( &shim );
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   ChipAttributes chip;
   chip.l3CpuFpEntries = chip.floodingPortSupported = chip.vxlanSupported = true;
   strataAttributes().chipAttributesIs( { "bench" }, chip );
   const auto scsd = Vormel::make<StrataCommonSmData>( &shim );
   StrataUnit unit;
   unit.chipInfo.model = "bench";
   for( U16 number = 0; number < state.range( 0 ); ++number )
      scsd->units().unitIs( number, unit );
   const auto helper = Vormel::make<RoutingStatusHelper>( "bench", scsd, nullptr, nullptr, false,
      nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr );
   helper->tcamManagerIs( Vormel::make<NullManager>() );
   helper->l2McastTableAllocationIs( Vormel::make<L2McastTableAllocationEnt>() );
   for( auto _ : state ) {
      helper->init( true, true );
      helper->l3Init( true );
   }
   state.SetItemsProcessed( state.iterations() * state.range( 0 ) );
   sdkShimIs( nullptr );
}
BENCHMARK( bringUp )->Arg( 1 )->Arg( 8 )->Arg( 64 );

const bool registered = [] {
   for( const Path& path : paths() )
      benchmark::RegisterBenchmark( std::string( path.name ).c_str(), runPath, path.run );
   return true;
}();

} // namespace
} // namespace Bench
