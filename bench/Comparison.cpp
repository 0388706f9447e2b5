// What jobs of the slice cost beside their floors, and paths beside other ways to the same result: strata-l3-jobs [NAME].
// `strata-l3-jobs JOB job|floor ROUNDS` only runs one of them, for callgrind.
#include "bench/HashMaps.h"
#include "bench/Jobs.h"
#include "bench/Paths.h"
#include "bench/SleepingThread.h"
#include "platform/runtime/Activity.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>

namespace Bench {
namespace {

using Clock = std::chrono::steady_clock;

double secondsOf( const std::function<void()>& work )
{
   const auto start = Clock::now();
   work();
   return std::chrono::duration<double>( Clock::now() - start ).count();
}

struct Times
{
   double job = 1e9; // seconds a round
   double floor = 1e9;
};

/// The shortest of several times of a round; job and floor take turns, so that both see the same machine.
Times shortest( const std::function<double()>& oneJob, const std::function<double()>& oneFloor )
{
   constexpr int turns = 15;
   constexpr double longEnough = 0.02; // seconds a turn
   const int rounds = std::max( 1, static_cast<int>( longEnough / oneJob() ) );
   const auto mean = [ & ]( const std::function<double()>& once ) {
      double sum = 0;
      for( int i = 0; i < rounds; ++i )
         sum += once();
      return sum / rounds;
   };
   Times times;
   for( int turn = 0; turn < turns; ++turn ) {
      times.floor = std::min( times.floor, mean( oneFloor ) );
      times.job = std::min( times.job, mean( oneJob ) );
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
   const auto oneJob = [ & ] {
      if( job.fresh ) {
         slice = nullptr;
         slice = sliceFor( job );
      }
      return secondsOf( [ & ] { job.run( *slice ); } );
   };
   print( job.name, std::to_string( floor.calls() ),
      shortest( oneJob, [ & ] { return secondsOf( [ & ] { floor.run(); } ); } ), job.wanted );
}

void compare( const Pair& pair )
{
   constexpr std::size_t rounds = 10000;
   NullShim shim;
   sdkShimIs( &shim );
   const auto timeOf = []( const std::function<void( std::size_t )>& run ) {
      return secondsOf( [ & ] { run( rounds ); } );
   };
   const Times times =
      shortest( [ & ] { return timeOf( pair.run ); }, [ & ] { return timeOf( pair.floor ); } );
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
   for( const Pair& pair : hashMapPairs() )
      if( wanted( pair.name ) )
         compare( pair );
   return 0;
}
