// Runs one path for a number of rounds and nothing else, so that callgrind can count its instructions:
// `strata-l3-instructions <number of path> <rounds>`. Without arguments lists the paths.
#include "bench/NullShim.h"
#include "bench/Paths.h"
#include "bench/SleepingThread.h"
#include "platform/runtime/Activity.h"

#include <cstdlib>
#include <iostream>

int main( int count, char** arguments )
{
   if( count != 3 ) {
      for( const Bench::Path& path : Bench::paths() )
         std::cout << path.name << '|' << path.goal << '\n';
      return 0;
   }
   startSleepingThread();
   Bench::NullShim shim;
   Strata::sdkShimIs( &shim );
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   const auto number = std::strtoul( arguments[ 1 ], nullptr, 10 );
   Bench::paths()[ number ].run( std::strtoul( arguments[ 2 ], nullptr, 10 ) );
   return 0;
}
