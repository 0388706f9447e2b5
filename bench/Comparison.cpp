// What jobs of the slice cost beside their floors, and paths beside other ways to the same result: strata-l3-jobs [NAME].
// `strata-l3-jobs JOB job|floor ROUNDS` only runs one of them, for callgrind.
#include "bench/HashMaps.h"
#include "bench/Jobs.h"
#include "bench/Paths.h"
#include "bench/Recordings.h"
#include "bench/SleepingThread.h"
#include "platform/runtime/Activity.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <string>

namespace Bench {
namespace {

/// Processor time, so that other processes count as little as possible.
double secondsOf( const std::function<void()>& work )
{
   const auto now = [] {
      timespec time{};
      clock_gettime( CLOCK_THREAD_CPUTIME_ID, &time );
      return static_cast<double>( time.tv_sec ) + static_cast<double>( time.tv_nsec ) * 1e-9;
   };
   const double start = now();
   work();
   return now() - start;
}

struct Times
{
   double job = 1e9; // seconds a round
   double floor = 1e9;
};

/// The time of a number of rounds, in seconds.
using Rounds = std::function<double( int )>;

Rounds roundsOf( const std::function<void()>& once )
{
   return [ once ]( int rounds ) {
      return secondsOf( [ & ] {
         for( int i = 0; i < rounds; ++i )
            once();
      } );
   };
}

/// The shortest of several times of a round; job and floor take turns, so that both see the same machine.
Times shortest( const Rounds& job, const Rounds& floor )
{
   constexpr int turns = 15;
   constexpr double longEnough = 0.02; // seconds a turn
   const int rounds = std::max( 1, static_cast<int>( longEnough / job( 1 ) ) );
   Times times;
   for( int turn = 0; turn < turns; ++turn ) {
      times.floor = std::min( times.floor, floor( rounds ) / rounds );
      times.job = std::min( times.job, job( rounds ) / rounds );
   }
   return times;
}

void print( const char* name, const std::string& calls, const Times& times, double wanted )
{
   std::printf( "%-42s %7s %11.4f %11.4f %6.2f %6s\n", name, calls.c_str(), times.floor * 1e6,
      times.job * 1e6, times.job / times.floor,
      wanted > 0 ? std::to_string( wanted ).substr( 0, 3 ).c_str() : "-" );
   std::fflush( stdout );
}

void compare( const Job& job )
{
   const auto recorded = sliceFor( job, Slice::Calls::recorded );
   const Floor floor = recorded->floorOf( job.run );
   auto slice = sliceFor( job );
   const auto withFreshSlices = [ & ]( int rounds ) {
      double sum = 0;
      for( int i = 0; i < rounds; ++i ) {
         slice = nullptr;
         slice = sliceFor( job );
         sum += secondsOf( [ & ] { job.run( *slice ); } );
      }
      return sum;
   };
   const Times times =
      shortest( job.fresh ? Rounds( withFreshSlices ) : roundsOf( [ & ] { job.run( *slice ); } ),
         roundsOf( [ & ] { floor.run(); } ) );
   print( job.name, std::to_string( floor.calls() ), times, job.wanted );
}

void compare( const Pair& pair )
{
   constexpr std::size_t rounds = 10000;
   NullShim shim;
   sdkShimIs( &shim );
   const Times times = shortest(
      roundsOf( [ & ] { pair.run( rounds ); } ), roundsOf( [ & ] { pair.floor( rounds ); } ) );
   print( pair.name.c_str(), "", { times.job / rounds, times.floor / rounds }, pair.wanted );
   sdkShimIs( nullptr );
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
      for( const Job& job : jobs() )
         if( std::strcmp( arguments[ 1 ], job.name ) == 0 )
            runOnly( job, std::strcmp( arguments[ 2 ], "floor" ) == 0,
               std::strtoul( arguments[ 3 ], nullptr, 10 ) );
      return 0;
   }
   const auto wanted = [ & ]( const std::string& name ) {
      return count < 2 || name.find( arguments[ 1 ] ) != name.npos;
   };
   std::printf(
      "%-42s %7s %11s %11s %6s %6s\n", "", "calls", "floor/us", "job/us", "ratio", "wanted" );
   for( const Job& job : jobs() )
      if( wanted( job.name ) )
         compare( job );
   for( const Pair& pair : pathPairs() )
      if( wanted( pair.name ) )
         compare( pair );
   for( const Pair& pair : recordingPairs() )
      if( wanted( pair.name ) )
         compare( pair );
   for( const Pair& pair : hashMapPairs() )
      if( wanted( pair.name ) )
         compare( pair );
   return 0;
}
