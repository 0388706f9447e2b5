// The time to find a packet for each of 1,000 random entries, or what blocks it.
#include "cover/Solver.h"
#include "platform/runtime/Activity.h"

#include <benchmark/benchmark.h>

#include <array>
#include <random>

namespace Strata::Cover {
namespace {

using namespace Sim;

FieldRule randomRule( std::mt19937_64& random )
{
   const auto below = [ & ]( U64 limit ) { return random() % limit; };
   FieldRule rule;
   const auto maybe = [ & ]( Qualifier role, U64 values, U64 mask ) {
      if( below( 2 ) == 0 )
         rule.qualifierIs( { .role = role, .data = below( values ), .mask = mask } );
   };
   rule.qualifierIs( { .role = Qualifier::DstMac, .data = below( 512 ), .mask = 0xFFFFFFFFFFFF } );
   maybe( Qualifier::DstIp, 256, 0xFFFFFFFF );
   maybe( Qualifier::EtherType, 0x10000, 0xFF00 );
   maybe( Qualifier::IntPriority, 8, 7 );
   maybe( Qualifier::Ttl, 256, 0xF0 );
   maybe( Qualifier::L3Routable, 2, 1 );
   rule.actionIs( { .role = below( 2 ) == 0 ? FieldAction::Drop : FieldAction::CopyToCpu } );
   return rule;
}

void coverThousandEntries( benchmark::State& state )
{
   constexpr U32 size = 1000;
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   SimSwitch hardware( { .profile = "hsdk" } );
   PacketEngine engine( hardware );
   std::mt19937_64 random( 1 );
   FieldGroup group( { "random", {}, 1, size, size } );
   for( U32 id = 1; id <= size; ++id ) {
      group.claim( id, "entry", {} );
      group.find( id )->claim = randomRule( random );
      group.install( id );
   }
   U32 found = 0;
   for( auto _ : state ) {
      const Facts facts( hardware, engine.tables(), 0 );
      Solver solver( facts, group );
      found = 0;
      for( U32 id = 1; id <= size; ++id )
         found += solver.find( id ).shape ? 1 : 0;
   }
   state.counters[ "found" ] = found;
}
BENCHMARK( coverThousandEntries )->Unit( benchmark::kMillisecond );

} // namespace
} // namespace Strata::Cover
