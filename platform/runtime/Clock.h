// Clocks and their timers. A timer is a time at which its handler is due; to arm it is one store.
// Somebody drives the clock: a test or a tool moves a ManualClock, an event loop waits for
// nextExpiry() of a RealClock and calls runDue(). Handlers run inside that call, on its thread.
// Not thread-safe: clocks and timers belong to one thread, or to the holder of the activity lock.
#pragma once

#include "platform/runtime/Export.h"
#include "platform/runtime/Types.h"

#include <chrono>
#include <limits>
#include <vector>

namespace Vormel {

class Timer;

class VORMEL_EXPORT Clock
{
 public:
   Clock() = default;
   Clock( const Clock& ) = delete;
   Clock& operator=( const Clock& ) = delete;
   /// Switches off the timers that are left. Not allowed while the clock runs a handler.
   virtual ~Clock();

   /// Seconds since a start that the clock chooses; never goes back.
   virtual double now() const = 0;

   /// The earliest time for which a timer is armed; +infinity when none is.
   double nextExpiry() const;

   /// Hands all timers over to another clock, on which each is due after as long as it would have been here.
   void timersMoveTo( Clock& next );

 protected:
   /// Runs the handlers that are due at `limit`, the earliest first and the older timer first among
   /// equals, until none is left: also those that handlers arm. Calls timeReached() before each.
   void runUntil( double limit );
   virtual void timeReached( double /*expiry*/ ) {}

 private:
   friend class Timer;
   VORMEL_HIDDEN Timer* earliest() const;

   std::vector<Timer*> timers_;
   U64 lastSerial_ = 0;
};

class VORMEL_EXPORT Timer
{
 public:
   static constexpr double never = std::numeric_limits<double>::infinity();

   /// Made switched off.
   explicit Timer( Clock& clock );
   Timer( const Timer& ) = delete;
   Timer& operator=( const Timer& ) = delete;
   virtual ~Timer();

   /// Arms the timer for `time`, in seconds of its clock: +infinity switches it off, a time that
   /// has passed is due at once. ValueError when `time` is negative or not a number. Without effect
   /// when the clock is gone.
   void nextTimeIs( double time )
   {
      if( !( time >= 0.0 ) ) [[unlikely]]
         rejectTime( time );
      nextTime_ = time;
   }
   double nextTime() const { return clock_ ? nextTime_ : never; }

   /// Null once the clock is gone.
   Clock* clock() const { return clock_; }

 private:
   friend class Clock;
   /// The handler, run once for each expiry; the timer is switched off before. It may arm this
   /// timer again, and make and destroy timers, this one included.
   virtual void expired() noexcept = 0;
   [[noreturn]] static void rejectTime( double time );
   void enter( Clock& clock );

   double nextTime_ = never;
   Clock* clock_ = nullptr;
   U64 slot_ = 0;   // where the clock keeps it
   U64 serial_ = 0; // order of arrival
};

/// A clock that stands until it is moved. It starts at 0.
class VORMEL_EXPORT ManualClock : public Clock
{
 public:
   double now() const override { return now_; }

   /// Runs everything that becomes due on the way, each at its own time, and ends at `time`.
   /// ValueError when `time` lies before now or is not finite. A handler may advance the clock
   /// further.
   void advanceTo( double time );
   /// As advanceTo( now() + seconds ).
   void advanceBy( double seconds );

 private:
   VORMEL_HIDDEN void timeReached( double expiry ) override;
   double now_ = 0.0;
};

/// Time as it passes, unaffected by changes of the date. It starts at 0 when it is made.
class VORMEL_EXPORT RealClock : public Clock
{
 public:
   double now() const override;

   /// Runs what is due at the time of the call.
   void runDue();
   /// Sleeps and runs what becomes due for that many seconds. Locks that the caller holds stay
   /// held.
   void runFor( double seconds );

 private:
   std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

} // namespace Vormel
