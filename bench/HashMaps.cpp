#include "bench/HashMaps.h"

#include "platform/runtime/HashMap.h"
#include "platform/types/IntfId.h"

#include <memory>
#include <random>
#include <unordered_map>

#ifdef STRATA_BENCH_ABSL // set if the build has found the other map
#include <absl/container/flat_hash_map.h>
#endif

namespace Bench {
namespace {

using Vormel::IntfId;

constexpr U32 interfaceCount = 8192;
// Long enough that the branch predictor cannot learn the sequence.
constexpr U32 queryCount = 1 << 16;

/// The names of a switch's interfaces, from 0 on.
struct Names
{
   const char* text;
   IntfId ( *at )( U32 i );
};

constexpr Names patterns[] = {
   { "Ethernet1 ...", []( U32 i ) { return IntfId::ethernet( i + 1 ); } },
   { "Ethernet1/1 ... /4", []( U32 i ) { return IntfId::ethernet( i / 4 + 1, i % 4 + 1 ); } },
   { "Ethernet1/1 ... /48", []( U32 i ) { return IntfId::ethernet( i / 48 + 1, i % 48 + 1 ); } },
   { "Ethernet3/1/1 ... /36/4",
      []( U32 i ) { return IntfId::ethernet( i / 144 + 3, i / 4 % 36 + 1, i % 4 + 1 ); } },
};

using Ours = Vormel::HashMap<IntfId, void*>;
using Std = std::unordered_map<IntfId, void*>;

#ifdef STRATA_BENCH_ABSL
struct AbslHash
{
   std::size_t operator()( IntfId intf ) const { return absl::Hash<U64>{}( intf.bits() ); }
};
using Absl = absl::flat_hash_map<IntfId, void*, AbslHash>;
#endif

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

/// Lookups in random order, of the names from `firstQueried` on.
template<class Map>
std::function<void( std::size_t )> lookups( const Names& names, U32 firstQueried )
{
   struct State
   {
      Map map;
      std::vector<IntfId> queries{ queryCount };
   };
   const auto state = std::make_shared<State>();
   for( U32 i = 0; i < interfaceCount; ++i )
      insert( state->map, names.at( i ) );
   std::mt19937 random( 1 );
   for( IntfId& query : state->queries )
      query = names.at( firstQueried + static_cast<U32>( random() ) % interfaceCount );
   return [ state, next = U32( 0 ) ]( std::size_t rounds ) mutable {
      const State& all = *state;
      for( ; rounds != 0; --rounds ) {
         const void* const* found = find( all.map, all.queries[ next ] );
         asm volatile( "" : : "r"( found ) );
         next = ( next + 1 ) % queryCount;
      }
   };
}

} // namespace

std::vector<Pair> hashMapPairs()
{
   std::vector<Pair> pairs;
   for( const Names& names : patterns ) {
      const std::string of = std::string( " " ) + names.text;
      pairs.push_back(
         { "found, std map:" + of, 0.33, lookups<Ours>( names, 0 ), lookups<Std>( names, 0 ) } );
#ifdef STRATA_BENCH_ABSL
      pairs.push_back(
         { "found:" + of, 1.2, lookups<Ours>( names, 0 ), lookups<Absl>( names, 0 ) } );
      pairs.push_back( { "not found:" + of, 1.2, lookups<Ours>( names, interfaceCount ),
         lookups<Absl>( names, interfaceCount ) } );
#endif
   }
   return pairs;
}

} // namespace Bench
