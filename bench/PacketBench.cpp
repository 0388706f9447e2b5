// The time of a packet through the simulated chip, alone and explained, and with a hundred times as many entries in a range.
#include "platform/runtime/Activity.h"
#include "sim/packet/PacketEngine.h"

#include <benchmark/benchmark.h>

namespace Strata::Sim {
namespace {

Frame routedFrame()
{
   // 02:00:00:00:00:01 to 02:00:a1:00:00:01, IPv4 10.1.0.5 to 10.2.0.9, TTL 64, UDP.
   return Frame( { 0x02, 0x00, 0xa1, 0, 0, 1, 2, 0, 0, 0, 0, 1, 0x08, 0x00, 0x45, 0, 0, 28, 0, 0, 0,
      0, 64, 17, 0x66, 0xc1, 10, 1, 0, 5, 10, 2, 0, 9, 0x9c, 0x40, 0, 53, 0, 8, 0, 0 } );
}

/// Entries with the ids from `first` on, each with a different destination.
void addEntries( FieldGroup& group, U32 first, U32 count )
{
   for( U32 i = 1; i <= count; ++i ) {
      const U32 id = first + i - 1;
      group.claim( id, "entry", {} );
      FieldRule& rule = group.find( id )->claim;
      rule.qualifierIs( { .role = Qualifier::DstMac, .data = i, .mask = 0xFFFFFFFFFFFF } );
      rule.qualifierIs( { .role = Qualifier::L3Routable, .data = i % 2, .mask = 1 } );
      rule.qualifierIs( { .role = Qualifier::IntPriority, .data = i % 8, .mask = 0xFFFFFFFF } );
      rule.actionIs( { .role = FieldAction::Drop } );
      group.install( id );
   }
}

/// A switch that routes the frame, and does nothing else.
struct Router
{
   Router()
   {
      hardware.transcript().keepIs( false );
      Chip& chip = hardware.chip( 0 );
      MemoryEntry station{};
      memoryFieldSet( station, MemoryField::Valid, 1 );
      memoryFieldSet( station, MemoryField::MacAddr, EthAddr( 0x02, 0x00, 0xa1, 0, 0, 1 ) );
      memoryFieldSet( station, MemoryField::MacAddrMask, EthAddr::broadcast );
      memoryFieldSet( station, MemoryField::Ipv4Termination, 1 );
      chip.myStation().write( 1, station );
      chip.portControlIs( 1, PortControl::IP4, 1 );
      chip.controlIs( SwitchControl::L3EgressMode, 1 );
      NextHop nextHop;
      nextHop.kind = NextHop::Kind::port;
      nextHop.vlanId = 1;
      nextHop.port = { 0, 2 };
      engine.tables().routes.routeIs( *IpPrefix::parse( "10.2.0.0/16" ), { { nextHop }, 0 } );
   }

   SimSwitch hardware{ { .profile = "hsdk" } };
   PacketEngine engine{ hardware };
   const Arrival arrival{ { 0, 1 }, routedFrame() };
};

template<class Act>
void packets( benchmark::State& state, Act act )
{
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   Router router;
   for( auto _ : state ) {
      const Verdict verdict = act( router );
      if( verdict.departures().empty() )
         state.SkipWithError( "the packet is not routed" );
   }
   state.SetItemsProcessed( state.iterations() );
}

void route( benchmark::State& state )
{
   packets( state, []( Router& router ) { return router.engine.send( router.arrival ); } );
}
BENCHMARK( route );

void explain( benchmark::State& state )
{
   packets( state, []( Router& router ) {
      Explanation explanation;
      return router.engine.explain( router.arrival, &explanation );
   } );
}
BENCHMARK( explain );

/// The same, with 50 entries in a range, none of which matches.
void explainEntries( benchmark::State& state )
{
   packets( state, []( Router& router ) {
      constexpr U32 entries = 50;
      FieldGroup& group = *router.hardware.chip( 0 ).group( "main" );
      if( group.entries().empty() )
         addEntries( group, group.profile().base, entries );
      Explanation explanation;
      return router.engine.explain( router.arrival, &explanation );
   } );
}
BENCHMARK( explainEntries );

/// A range of this many entries, each with a different destination; the last one wins.
void lookUp( benchmark::State& state )
{
   const U32 size = static_cast<U32>( state.range( 0 ) );
   FieldGroup group( { "range", {}, 1, size, size } );
   addEntries( group, 1, size );
   const FieldLookup lookup( group );
   FieldKey key;
   key.valueIs( Qualifier::DstMac, size );
   key.valueIs( Qualifier::L3Routable, size % 2 );
   key.valueIs( Qualifier::IntPriority, size % 8 );
   for( auto _ : state ) {
      const U32 winner = lookup.winner( key );
      if( winner != size )
         state.SkipWithError( "another entry wins" );
   }
   state.SetItemsProcessed( state.iterations() );
}
BENCHMARK( lookUp )->Arg( 10 )->Arg( 100 )->Arg( 1000 );

} // namespace
} // namespace Strata::Sim
