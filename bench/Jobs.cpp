// What jobs of the slice cost beside their floors: strata-l3-jobs [JOB]. `strata-l3-jobs JOB job|floor ROUNDS` only runs
// one of them, so that callgrind can count its instructions.
#include "bench/SleepingThread.h"
#include "bench/Slice.h"
#include "platform/runtime/Activity.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace Bench {
namespace {

struct Job
{
   const char* name;
   double wanted; // times the floor
   U32 units;
   U32 interfaces;
   void ( *prepare )( Slice& );
   void ( *run )(
      Slice& ); // ends in the state in which it starts, unless each run has a slice of its own
   bool fresh = false; // it has
};

void nothing( Slice& ) {}

void bringUp( Slice& slice )
{
   slice.bringUp();
}

/// Each interface in a row that visits all of them, there and back.
template<void ( Slice::*event )( U32 )>
void eachTwice( Slice& slice )
{
   for( int times = 0; times < 2; ++times )
      for( U32 i = 0, at = 0; i < slice.interfaces(); ++i ) {
         at = ( at + 4097 ) % slice.interfaces();
         ( slice.*event )( at );
      }
}

void mixed( Slice& slice )
{
   constexpr U32 events = 10000;
   for( U32 i = 0; i < events; ++i ) {
      const U32 at = ( i / 6 * 4097 ) % slice.interfaces();
      switch( i % 3 ) {
      case 0:
         slice.turn( at );
         break;
      case 1:
         slice.replug( at );
         break;
      default:
         slice.regroup( at );
      }
   }
}

constexpr U32 lastVlan = 4094;

void vlanFlags( Slice& slice )
{
   for( U32 vlan = 1; vlan <= lastVlan; ++vlan )
      slice.helper().handleVlanRoutingState( vlan, { .routing = true, .routing6 = true } );
}

void addresses( Slice& slice )
{
   bringUp( slice );
   for( U32 vlan = 1; vlan <= lastVlan; ++vlan )
      slice.helper().handleIpAddressState( vlan, true, true );
}

void perVlanRouting( Slice& slice )
{
   slice.helper().handlePerVlanRouting( true );
   slice.helper().handlePerVlanRouting( false );
}

void dropping( Slice& slice )
{
   bringUp( slice );
   slice.startDropping();
}

void poll( Slice& slice )
{
   slice.poll();
}

constexpr Job jobs[] = {
   { "bring-up, 1 unit", 0, 1, 0, nothing, bringUp, true },
   { "bring-up, 8 units", 1.5, 8, 0, nothing, bringUp, true },
   { "bring-up, 64 units", 1.5, 64, 0, nothing, bringUp, true },
   { "bring-up, 1,024 interfaces", 2, 1, 1024, nothing, bringUp, true },
   { "bring-up, 8,192 interfaces", 2, 1, 8192, nothing, bringUp, true },
   { "forwarding model, 8 interfaces", 1.6, 1, 8, bringUp, eachTwice<&Slice::turn> },
   { "forwarding model, 8,192 interfaces", 1.6, 1, 8192, bringUp, eachTwice<&Slice::turn> },
   { "port, 8,192 interfaces", 0, 1, 8192, bringUp, eachTwice<&Slice::replug> },
   { "LAG member, 8 interfaces", 1.7, 1, 8, bringUp, eachTwice<&Slice::regroup> },
   { "LAG member, 8,192 interfaces", 1.7, 1, 8192, bringUp, eachTwice<&Slice::regroup> },
   { "10,000 mixed events, 1,024 interfaces", 1.7, 1, 1024, bringUp, mixed },
   { "handleVlanRoutingState, 4,094 VLANs", 1.4, 1, 0, bringUp, vlanFlags },
   { "handlePerVlanRouting, 4,094 VLANs", 1.4, 1, 0, addresses, perVlanRouting },
   { "poll, 8 classes, 64 units", 1.4, 64, 0, dropping, poll },
};

std::unique_ptr<Slice> sliceFor( const Job& job, Slice::Calls calls = Slice::Calls::direct )
{
   auto slice = std::make_unique<Slice>( job.units, job.interfaces, calls );
   job.prepare( *slice );
   return slice;
}

using Clock = std::chrono::steady_clock;

double secondsOf( const std::function<void()>& work )
{
   const auto start = Clock::now();
   work();
   return std::chrono::duration<double>( Clock::now() - start ).count();
}

/// The shortest of several times of a round; job and floor take turns, so that both see the same machine.
void compare( const Job& job )
{
   constexpr int turns = 15;
   constexpr double longEnough = 0.02; // seconds a turn
   const auto recorded = sliceFor( job, Slice::Calls::recorded );
   const Floor floor = recorded->floorOf( job.run );
   auto slice = sliceFor( job );
   const auto oneJob = [ & ] {
      if( job.fresh ) {
         slice = nullptr;
         slice = sliceFor( job );
      }
      return secondsOf( [ & ] { job.run( *slice ); } );
   };
   const auto oneFloor = [ & ] { return secondsOf( [ & ] { floor.run(); } ); };
   const int rounds = std::max( 1, static_cast<int>( longEnough / oneJob() ) );
   const auto shortest = [ & ]( double best, const std::function<double()>& once ) {
      double sum = 0;
      for( int i = 0; i < rounds; ++i )
         sum += once();
      return std::min( best, sum / rounds );
   };
   double ofJob = 1e9;
   double ofFloor = 1e9;
   for( int turn = 0; turn < turns; ++turn ) {
      ofFloor = shortest( ofFloor, oneFloor );
      ofJob = shortest( ofJob, oneJob );
   }
   const std::string wanted = job.wanted > 0 ? std::to_string( job.wanted ).substr( 0, 3 ) : "-";
   std::printf( "%-38s %8zu %10.1f %10.1f %7.2f %7s\n", job.name, floor.calls(), ofFloor * 1e6,
      ofJob * 1e6, ofJob / ofFloor, wanted.c_str() );
   std::fflush( stdout );
}

/// For callgrind: the difference between two numbers of rounds is what a round costs.
void runOnly( const Job& job, bool wantsFloor, unsigned long rounds )
{
   if( wantsFloor ) {
      const auto recorded = sliceFor( job, Slice::Calls::recorded );
      const Floor floor = recorded->floorOf( job.run );
      for( ; rounds > 0; --rounds )
         floor.run();
      return;
   }
   auto slice = sliceFor( job );
   for( ; rounds > 0; --rounds ) {
      if( job.fresh ) {
         slice = nullptr;
         slice = sliceFor( job );
      }
      job.run( *slice );
   }
}

} // namespace
} // namespace Bench

int main( int count, char** arguments )
{
   using namespace Bench;
   startSleepingThread();
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   if( count == 4 ) {
      for( const Job& job : jobs )
         if( std::strcmp( arguments[ 1 ], job.name ) == 0 )
            runOnly( job, std::strcmp( arguments[ 2 ], "floor" ) == 0,
               std::strtoul( arguments[ 3 ], nullptr, 10 ) );
      return 0;
   }
   std::printf(
      "%-38s %8s %10s %10s %7s %7s\n", "job", "calls", "floor/us", "job/us", "ratio", "wanted" );
   for( const Job& job : jobs )
      if( count < 2 || std::strstr( job.name, arguments[ 1 ] ) )
         compare( job );
   return 0;
}
