// Times of the runtime's paths, of a checked call and a plain one, of bring-up by units, and of an interface event
// by interfaces.
#include "bench/NullShim.h"
#include "bench/Paths.h"
#include "bench/SleepingThread.h"
#include "bench/Slice.h"
#include "platform/runtime/Activity.h"

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
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   Slice slice( static_cast<U32>( state.range( 0 ) ), 0 );
   for( auto _ : state )
      slice.init();
   state.SetItemsProcessed( state.iterations() * state.range( 0 ) );
}
BENCHMARK( bringUp )->Arg( 1 )->Arg( 8 )->Arg( 64 );

// The cost of one event of an interface among many interfaces.
template<void ( Slice::*event )( U32 )>
void interfaceEvent( benchmark::State& state )
{
   startSleepingThread();
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   Slice slice( 1, static_cast<U32>( state.range( 0 ) ) );
   slice.init();
   slice.startReactor();
   const U64 before = slice.sdkCalls();
   U32 at = 0;
   for( auto _ : state ) {
      at = ( at + 4097 ) % slice.interfaces();
      ( slice.*event )( at );
   }
   state.counters[ "sdkCalls" ] = benchmark::Counter(
      static_cast<double>( slice.sdkCalls() - before ), benchmark::Counter::kAvgIterations );
}
BENCHMARK( interfaceEvent<&Slice::turn> )->Name( "forwardingModel" )->Arg( 8 )->Arg( 8192 );
BENCHMARK( interfaceEvent<&Slice::replug> )->Name( "port" )->Arg( 8 )->Arg( 8192 );
BENCHMARK( interfaceEvent<&Slice::regroup> )->Name( "lagMember" )->Arg( 8 )->Arg( 8192 );

const bool registered = [] {
   for( const Path& path : paths() )
      benchmark::RegisterBenchmark( std::string( path.name ).c_str(), runPath, path.run );
   return true;
}();

} // namespace
} // namespace Bench
