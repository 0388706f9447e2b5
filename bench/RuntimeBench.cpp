// Times of the runtime's paths, and of a checked call and a plain one.
#include "bench/NullShim.h"
#include "bench/Paths.h"
#include "bench/SleepingThread.h"
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

const bool registered = [] {
   for( const Path& path : paths() )
      benchmark::RegisterBenchmark( std::string( path.name ).c_str(), runPath, path.run );
   return true;
}();

} // namespace
} // namespace Bench
