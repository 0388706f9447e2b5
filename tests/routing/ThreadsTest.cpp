// Threads beside the reactor's. The thread sanitizer's build has these tests alone, so each test that starts a thread
// belongs here.
#include "tests/routing/Fixture.h"

#include "platform/runtime/Snapshot.h"
#include "platform/runtime/Trace.h"

#include <atomic>
#include <thread>

namespace Strata {
namespace {

using Sim::RecordKind;

class ThreadsTest : public SwitchTest
{
};

TEST_F( ThreadsTest, OtherThreadsMayTakeTheLockDuringAnSdkCall )
{
   make( "hsdk", { 0 } );
   U64 looks = 0;
   transcript().listenerIs( [ & ]( const Sim::Record& record ) {
      if( record.kind != RecordKind::call )
         return;
      // Deadlocks if the slice held the lock across the call.
      std::thread( [ & ] {
         const Vormel::LockAnchor looking( Vormel::activityLock() );
         looks += helper().tcamEntryVlanFlood() == 0 || helper().tcamEntryVlanFlood() > 1 ? 1 : 0;
      } ).join();
   } );
   helper().init( true, true );
   transcript().listenerIs( {} );
   EXPECT_EQ( looks, transcript().count( RecordKind::call ) );
}

// The thread sanitizer compares what the threads do; the counts only make sure that they did it.
TEST_F( ThreadsTest, ReadersAndTracersGoBesideTheReactor )
{
   static Vormel::TraceHandle tracing( "ThreadsTest" );
   make( "hsdk", { 0 } );
   std::atomic<bool> done = false;
   std::atomic<int> reads = 0;
   std::atomic<int> traces = 0;
   std::thread reader( [ & ] {
      for( ; !done; ++reads ) {
         Vormel::Ref<RoutingStatusHelper> kept; // dropped without the lock
         const Vormel::LockAnchor reading( Vormel::activityLock() );
         kept = agent->helper();
         EXPECT_NE( Vormel::snapshotJson( *kept ), "" );
      }
   } );
   std::thread tracer( [ & ] {
      for( ; !done; ++traces ) {
         Vormel::traceLevelsIs( "ThreadsTest=1" );
         Vormel::traceSinkIs( Vormel::traceSinkIs( []( const auto& ) {} ) );
         VORMEL_TRACE( tracing, 1, "trace " << traces.load() );
      }
   } );
   Vormel::traceLevelsIs( "StrataRoutingStatus=9" );
   agent->bringUp();
   while( reads == 0 || traces == 0 ) {
      const Vormel::UnlockAnchor waiting( Vormel::activityLock() );
      std::this_thread::yield();
   }
   agent->hardware().miscConfig()->unknownMacDropTrafficClassIs( 3, true );
   done = true;
   {
      const Vormel::UnlockAnchor waiting( Vormel::activityLock() );
      reader.join();
      tracer.join();
   }
   Vormel::traceLevelsIs( "StrataRoutingStatus=off" );
   EXPECT_GT( transcript().count( RecordKind::call ), 0u );
}

} // namespace
} // namespace Strata
