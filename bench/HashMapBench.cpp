// Compares the runtime's hash map with another open-addressing map and the standard one: lookups among 8,192
// interfaces, of present and absent keys, in random order.
#include "bench/SleepingThread.h"
#include "platform/runtime/HashMap.h"
#include "platform/types/IntfId.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <random>
#include <unordered_map>
#include <vector>

#ifdef STRATA_BENCH_ABSL // set if the build has found the other map
#include <absl/container/flat_hash_map.h>
#endif

namespace {

using Vormel::IntfId;

constexpr U32 interfaceCount = 8192;
// Long enough that the branch predictor cannot learn the sequence.
constexpr U32 queryCount = 1 << 18;

using Ours = Vormel::HashMap<IntfId, void*>;
using Std = std::unordered_map<IntfId, void*>;

#ifdef STRATA_BENCH_ABSL
struct AbslHash
{
   std::size_t operator()( IntfId intf ) const { return absl::Hash<U64>{}( intf.bits() ); }
};
using Absl = absl::flat_hash_map<IntfId, void*, AbslHash>;
#endif

IntfId interface( U32 i )
{
   return IntfId::ethernet( i / 4 + 1, i % 4 + 1 );
}

void insert( Ours& map, IntfId intf )
{
   map.insertOrAssign( intf, nullptr );
}

template<class Map>
void insert( Map& map, IntfId intf )
{
   map.emplace( intf, nullptr );
}

void* const* find( const Ours& map, IntfId intf )
{
   return map.find( intf );
}

template<class Map>
void* const* find( const Map& map, IntfId intf )
{
   const auto at = map.find( intf );
   return at == map.end() ? nullptr : &at->second;
}

template<class Map>
void lookUp( benchmark::State& state, U32 firstQueried )
{
   startSleepingThread();
   Map map;
   for( U32 i = 0; i < interfaceCount; ++i )
      insert( map, interface( i ) );
   std::mt19937 random( 1 );
   std::vector<IntfId> queries( queryCount );
   for( IntfId& query : queries )
      query = interface( firstQueried + static_cast<U32>( random() ) % interfaceCount );
   U32 next = 0;
   for( auto _ : state ) {
      benchmark::DoNotOptimize( find( map, queries[ next ] ) );
      next = ( next + 1 ) % queryCount;
   }
}

template<class Map>
void hits( benchmark::State& state )
{
   lookUp<Map>( state, 0 );
}

template<class Map>
void misses( benchmark::State& state )
{
   lookUp<Map>( state, interfaceCount );
}

BENCHMARK( hits<Ours> );
BENCHMARK( hits<Std> );
BENCHMARK( misses<Ours> );
#ifdef STRATA_BENCH_ABSL
BENCHMARK( hits<Absl> );
BENCHMARK( misses<Absl> );
#endif
BENCHMARK( misses<Std> );

} // namespace
