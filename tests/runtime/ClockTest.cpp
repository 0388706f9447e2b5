#include "platform/runtime/Clock.h"
#include "platform/runtime/Errors.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <sstream>
#include <utility>

namespace Vormel {
namespace {

class Alarm : public Timer
{
 public:
   Alarm( Clock& clock, std::function<void()> handler )
      : Timer( clock ),
        handler_( std::move( handler ) )
   {}

 private:
   void expired() noexcept override
   {
      const auto handler = handler_; // a copy, because an alarm may destroy itself
      handler();
   }
   std::function<void()> handler_;
};

class ClockTest : public testing::Test
{
 protected:
   ManualClock clock;
   std::ostringstream log;

   std::function<void()> note( const char* name )
   {
      return [ this, name ] { log << name << "@" << clock.now() << " "; };
   }
};

TEST_F( ClockTest, TimersFireInOrderOfTimeThenOfCreationEvenAfterRemovals )
{
   auto gone = std::make_unique<Alarm>( clock, note( "gone" ) );
   Alarm a( clock, note( "a" ) );
   Alarm b( clock, note( "b" ) );
   Alarm c( clock, note( "c" ) );
   gone->nextTimeIs( 1 );
   gone.reset();
   c.nextTimeIs( 2 );
   b.nextTimeIs( 2 );
   a.nextTimeIs( 3 );
   EXPECT_EQ( clock.nextExpiry(), 2 );
   clock.advanceTo( 2.5 );
   clock.advanceBy( 10 );
   clock.advanceBy( 10 );
   EXPECT_EQ( log.str(), "b@2 c@2 a@3 " );
   EXPECT_EQ( clock.now(), 22.5 );
   EXPECT_EQ( clock.nextExpiry(), Timer::never );
   a.nextTimeIs( 1 ); // in the past, so it is due at once, and time does not go back
   clock.advanceBy( 0 );
   EXPECT_EQ( log.str(), "b@2 c@2 a@3 a@22.5 " );
}

TEST_F( ClockTest, AHandlerMayArmDestroyAndMakeTimers )
{
   std::unique_ptr<Alarm> victim, made;
   auto self = std::make_unique<Alarm>( clock, std::function<void()>() );
   Alarm poll( clock, [ & ] {
      note( "poll" )();
      EXPECT_EQ( poll.nextTime(), Timer::never );
      poll.nextTimeIs( clock.now() + 2 );
   } );
   self = std::make_unique<Alarm>( clock, [ & ] {
      note( "self" )();
      self.reset();
      victim.reset();
      made = std::make_unique<Alarm>( clock, note( "made" ) );
      made->nextTimeIs( 3 );
   } );
   victim = std::make_unique<Alarm>( clock, note( "victim" ) );
   for( Timer* timer : { static_cast<Timer*>( &poll ), static_cast<Timer*>( self.get() ),
           static_cast<Timer*>( victim.get() ) } )
      timer->nextTimeIs( 1 );
   clock.advanceTo( 5 );
   EXPECT_EQ( log.str(), "poll@1 self@1 poll@3 made@3 poll@5 " );
}

TEST_F( ClockTest, RefusesInvalidTimes )
{
   Alarm alarm( clock, note( "alarm" ) );
   alarm.nextTimeIs( 1 );
   EXPECT_THROW( alarm.nextTimeIs( -1 ), ValueError );
   EXPECT_THROW( alarm.nextTimeIs( std::nan( "" ) ), ValueError );
   EXPECT_EQ( alarm.nextTime(), 1 );
   EXPECT_THROW( clock.advanceBy( -1 ), ValueError );
   EXPECT_THROW( clock.advanceTo( Timer::never ), ValueError );
}

TEST_F( ClockTest, ATimerThatOutlivesItsClockIsOff )
{
   auto shortLived = std::make_unique<ManualClock>();
   Alarm alarm( *shortLived, note( "alarm" ) );
   alarm.nextTimeIs( 1 );
   shortLived.reset();
   EXPECT_EQ( alarm.nextTime(), Timer::never );
   alarm.nextTimeIs( 1 );
   EXPECT_EQ( alarm.clock(), nullptr );
}

TEST_F( ClockTest, TimersKeepTheirRemainingTimeOnAnotherClock )
{
   std::optional<Alarm> gone( std::in_place, clock, note( "gone" ) );
   Alarm off( clock, note( "off" ) ), late( clock, note( "late" ) ),
      early( clock, note( "early" ) );
   gone.reset(); // its slot may be another timer's now
   late.nextTimeIs( 7 );
   early.nextTimeIs( 3 );
   clock.advanceTo( 2 );
   Alarm overdue( clock, note( "overdue" ) );
   overdue.nextTimeIs( 1 );
   ManualClock next;
   next.advanceTo( 50 );
   clock.timersMoveTo( next );
   EXPECT_EQ( clock.nextExpiry(), Timer::never );
   EXPECT_EQ( early.nextTime(), 51 );
   EXPECT_EQ( late.nextTime(), 55 );
   EXPECT_EQ( overdue.nextTime(), 50 );
   overdue.nextTimeIs( Timer::never );
   EXPECT_EQ( off.nextTime(), Timer::never );
   early.nextTimeIs( 55 );
   next.advanceTo( 60 );
   EXPECT_EQ( log.str(), "late@2 early@2 " ); // the older one first
}

TEST( RealClockTest, RunsTimersThatBecomeDueWhileItSleeps )
{
   RealClock clock;
   int fired = 0;
   Alarm alarm( clock, [ & ] {
      if( ++fired < 3 )
         alarm.nextTimeIs( clock.now() + 0.001 );
   } );
   alarm.nextTimeIs( 0 );
   clock.runDue();
   EXPECT_EQ( fired, 1 );
   clock.runFor( 0.05 );
   EXPECT_EQ( fired, 3 );
   EXPECT_GE( clock.now(), 0.05 );
}

} // namespace
} // namespace Vormel
