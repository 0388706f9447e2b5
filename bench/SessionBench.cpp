// The time of commands: a capture that is sent at once beside the same frames one by one, and a scenario beside 100 packets
// behind each of its calls.
//
// Runs in the project's directory, because it reads a scenario.
#include "platform/runtime/Activity.h"
#include "tool/ScenarioFile.h"
#include "tool/Session.h"
#include "tool/packet/CaptureFile.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace Strata::Tool {
namespace {

using Sim::Frame;

/// From one of 64 stations to the router, IPv4 10.1.0.5 to 10.2.0.9, TTL 64, UDP from port `number`.
Frame routedFrame( U32 number )
{
   const U8 high = static_cast<U8>( number >> 8 );
   const U8 low = static_cast<U8>( number );
   return Frame(
      { 2, 0, 0xa1, 0, 0, 1, 2, 0, 0, 0, 0, static_cast<U8>( number % 64 ), 8, 0, 0x45, 0, 0, 28, 0,
         0, 0, 0, 64, 17, 0x66, 0xc1, 10, 1, 0, 5, 10, 2, 0, 9, high, low, 0, 53, 0, 8, 0, 0 } );
}

/// A switch that routes the frames, without a transcript.
struct RoutedFrames
{
   static constexpr U32 count = 100'000;

   RoutedFrames()
   {
      for( const char* command :
         { "switch hsdk ports 8", "bring-up", "interface Ethernet1-8 unit 0 port 1",
            "router 02:00:a1:00:00:01", "vlan 10 svi members Ethernet1",
            "vlan 20 svi members Ethernet4", "native-vlan 10 Ethernet1", "native-vlan 20 Ethernet4",
            "route 10.2.0.0/16 via Ethernet4 mac 00:00:00:00:02:02 vlan 20" } )
         session.run( splitLine( "bench", 1, command ) );
      CaptureWriter writer( file );
      for( U32 number = 0; number < count; ++number )
         writer.add( routedFrame( number ), 0 );
   }
   ~RoutedFrames() { std::filesystem::remove( file ); }

   const Vormel::LockAnchor lock{ Vormel::activityLock() };
   std::ofstream nothing{ "/dev/null" };
   Console console{ nothing, nothing, {} };
   Session session{ console, { .keepsRecords = false } };
   const std::string file = std::filesystem::temp_directory_path() / "strata-l3-bench.pcap";
};

void framesOneByOne( benchmark::State& state )
{
   RoutedFrames switched;
   std::vector<Frame> frames;
   CaptureReader reader( switched.file );
   while( const std::optional<CapturedFrame> captured = reader.next() )
      frames.push_back( captured->frame() );
   for( auto _ : state )
      for( const Frame& frame : frames )
         if( switched.session.packets().engine().send( { { 0, 1 }, frame } ).departures().empty() )
            state.SkipWithError( "the packet is not routed" );
   state.SetItemsProcessed( state.iterations() * RoutedFrames::count );
}
BENCHMARK( framesOneByOne )->Unit( benchmark::kMillisecond );

void framesOfACapture( benchmark::State& state )
{
   RoutedFrames switched;
   const Line line = splitLine( "bench", 1, "pcap " + switched.file + " in Ethernet1 summary" );
   for( auto _ : state )
      switched.session.run( line );
   state.SetItemsProcessed( state.iterations() * RoutedFrames::count );
}
BENCHMARK( framesOfACapture )->Unit( benchmark::kMillisecond );

void dayInTheLife( benchmark::State& state )
{
   const U32 packets = static_cast<U32>( state.range( 0 ) );
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   U64 calls = 0;
   U64 evaluated = 0;
   const auto watch = [ & ]( const Session& session, const Sim::Record& ) {
      ++calls;
      const Sim::Chips& chips = session.agent().hardware().chips();
      for( U32 number = 0; number < packets; ++number ) {
         const Sim::PortRef port{ number % 2, 1 + number / 2 % 8 };
         const auto chip = chips.find( port.unit );
         if( chip == chips.end() || !chip->second.ports().contains( port.port ) )
            continue;
         benchmark::DoNotOptimize(
            session.packets().engine().explain( { port, routedFrame( number ) } ) );
         ++evaluated;
      }
   };
   for( auto _ : state ) {
      std::ofstream nothing( "/dev/null" );
      Console console( nothing, nothing, {} );
      Session session( console, { .listener = watch } );
      ScenarioFile file( "scenarios/day-in-the-life.scenario" );
      while( const std::optional<Line> line = file.next() )
         session.run( *line );
   }
   const auto each = benchmark::Counter::kAvgIterations;
   state.counters[ "calls" ] = benchmark::Counter( static_cast<double>( calls ), each );
   state.counters[ "packets" ] = benchmark::Counter( static_cast<double>( evaluated ), each );
}
BENCHMARK( dayInTheLife )->Arg( 0 )->Arg( 100 )->Unit( benchmark::kMillisecond );

} // namespace
} // namespace Strata::Tool
