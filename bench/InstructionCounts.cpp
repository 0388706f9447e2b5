// Runs each path and job a few times and then more often, for callgrind (instructions.py), which counts the instructions
// of strataCounted() alone. Prints a line for each: name, how many rounds more, its goal. Fails when a round allocates
// memory, except a job that makes its own slice.
#include "bench/Jobs.h"
#include "bench/Paths.h"
#include "bench/Recordings.h"
#include "bench/SleepingThread.h"
#include "platform/runtime/Activity.h"

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <new>
#include <string>
#include <string_view>

static std::atomic<std::size_t> allocations = 0;

void* operator new( std::size_t size )
{
   ++allocations;
   if( void* const memory = std::malloc( size ) )
      return memory;
   throw std::bad_alloc();
}

void operator delete( void* memory ) noexcept
{
   std::free( memory );
}

void operator delete( void* memory, std::size_t ) noexcept
{
   std::free( memory );
}

/// Its instructions are counted. Returns the number of allocations.
extern "C" [[gnu::noinline]] std::size_t strataCounted( const std::function<void()>& work )
{
   const std::size_t before = allocations;
   work();
   return allocations - before;
}

namespace Bench {
namespace {

bool allocates = false;

void expectNone( std::string_view name, std::size_t rounds, std::size_t allocated )
{
   if( allocated == 0 )
      return;
   allocates = true;
   std::fprintf( stderr, "%s: %zu allocations in %zu rounds; none are wanted\n",
      std::string( name ).c_str(), allocated, rounds );
}

void row( std::string_view name, std::size_t rounds, std::string_view goal, std::size_t allocated )
{
   std::printf( "%s|%zu|%s\n", std::string( name ).c_str(), rounds, std::string( goal ).c_str() );
   std::fflush( stdout );
   expectNone( name, rounds, allocated );
}

void count( const Path& path )
{
   constexpr std::size_t few = 1000;
   constexpr std::size_t many = 3000;
   NullShim shim;
   sdkShimIs( &shim );
   path.run( few );
   const std::size_t first = strataCounted( [ & ] { path.run( few ); } );
   const std::size_t second = strataCounted( [ & ] { path.run( many ); } );
   row( path.name, many - few, path.goal, second - first );
   sdkShimIs( nullptr );
}

/// Its instructions depend on the digits of times, and are not counted.
void watch( const Path& path )
{
   constexpr std::size_t rounds = 100;
   const auto allocated = [ & ]( std::size_t times ) {
      const std::size_t before = allocations;
      path.run( times );
      return allocations - before;
   };
   allocated( 1 );
   const std::size_t first = allocated( rounds );
   expectNone( path.name, rounds, allocated( 2 * rounds ) - first );
}

void count( const Job& job )
{
   const auto slice = sliceFor( job );
   for( int warmUp = 0; warmUp < 2 && !job.fresh; ++warmUp )
      job.run( *slice );
   strataCounted( [] {} );
   const std::size_t allocated = strataCounted( [ & ] { job.run( *slice ); } );
   row( job.name, 1, "", job.fresh ? 0 : allocated );
}

} // namespace
} // namespace Bench

int main()
{
   using namespace Bench;
   startSleepingThread();
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   for( const Path& path : paths() )
      count( path );
   for( const Path& path : recordingPaths() )
      watch( path );
   for( const Job& job : jobs() )
      count( job );
   return allocates ? 1 : 0;
}
