// The promises of the process: the activity lock, the clock.
#include "conformance/Checks.h"
#include "platform/runtime/Clock.h"

#include <chrono>
#include <future>
#include <thread>

namespace Strata::Conformance {

bool runBesideLockHolder( const std::function<void()>& work )
{
   static constexpr std::chrono::seconds patience( 1 );
   std::promise<void> taken;
   std::promise<void> done;
   bool inTime = false;
   std::thread other( [ & ] {
      const Vormel::LockAnchor lock( Vormel::activityLock() );
      taken.set_value();
      inTime = done.get_future().wait_for( patience ) == std::future_status::ready;
   } );
   taken.get_future().wait();
   std::exception_ptr thrown;
   try {
      work();
   } catch( ... ) {
      thrown = std::current_exception();
   }
   done.set_value();
   other.join();
   if( thrown )
      std::rethrow_exception( thrown );
   return inTime;
}

void checkActivityLock( Examiner& examiner )
{
   Vormel::ActivityLock& lock = Vormel::activityLock();
   const std::string call = "activityLock().heldByThisThread()";
   bool elsewhere = false;
   std::thread( [ & ] { elsewhere = lock.heldByThisThread(); } ).join();
   examiner.expect( Promise::lockKnowsItsOwner, call, lock.heldByThisThread() && !elsewhere,
      elsewhere ? "is true on a thread that did not take it"
                : "is false on the thread that has it" );
   const Vormel::UnlockAnchor anchor( lock );
   const bool inTime = runBesideLockHolder( [ & ] {
      examiner.expect( Promise::lockKnowsItsOwner, call, !lock.heldByThisThread(),
         "is true while another thread holds it" );
   } );
   examiner.expect( Promise::lockKnowsItsOwner, call, inTime, "waited for the lock" );
}

namespace {

class CountingTimer : public Vormel::Timer
{
 public:
   using Timer::Timer;

   int fired = 0;
   double firedAt = 0.0;
   bool underLock = true;
   std::thread::id thread;

 private:
   void expired() noexcept override
   {
      ++fired;
      firedAt = clock()->now();
      underLock = Vormel::activityLock().heldByThisThread();
      thread = std::this_thread::get_id();
   }
};

/// Advances the clock; false if neither the kit nor the port can do that.
bool letPass( const Port& port, Vormel::Clock& clock, double seconds )
{
   if( port.runClock )
      port.runClock( seconds );
   else if( auto* const manual = dynamic_cast<Vormel::ManualClock*>( &clock ) )
      manual->advanceBy( seconds );
   else if( auto* const real = dynamic_cast<Vormel::RealClock*>( &clock ) )
      real->runFor( seconds );
   else
      return false;
   return true;
}

} // namespace

void checkTimers( Examiner& examiner )
{
   static constexpr double delay = 0.02;
   Vormel::Clock& clock = Vormel::activityManager().clock();
   double last = clock.now();
   for( int i = 0; i < 100; ++i ) {
      const double now = clock.now();
      examiner.expect( Promise::clockNeverGoesBack, "now()", now >= last,
         Vormel::format( "went back from %s to %s", last, now ) );
      last = now;
   }

   CountingTimer timer( clock );
   const double due = clock.now() + delay;
   timer.nextTimeIs( due );
   if( !letPass( examiner.port(), clock, 5 * delay ) )
      return examiner.notTried( Promise::timersFireOnce, "needs the hook runClock" );
   const std::string call = Vormel::format( "a timer due at %s seconds", due );
   examiner.expect( Promise::timersFireOnce, call, timer.fired == 1,
      Vormel::format( "fired %d times", timer.fired ) );
   if( timer.fired == 0 )
      return;
   examiner.expect( Promise::timersFireOnce, call, timer.firedAt >= due,
      Vormel::format( "fired at %s", timer.firedAt ) );
   examiner.expect( Promise::timersFireOnce, call,
      timer.underLock && timer.thread == std::this_thread::get_id(),
      "fired without the activity lock, or on another thread" );
}

} // namespace Strata::Conformance
