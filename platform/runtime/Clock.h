// Clocks and their timers. A timer is a time at which its handler is due; arming it is one store.
// The agent runs the clock: a test or a tool advances a ManualClock, an event loop waits for
// nextExpiry() of a RealClock and calls runDue(). Handlers run inside that call, on its thread.
// Not thread-safe: clocks and timers belong to one thread, or to the holder of the activity lock.
#pragma once

#include "platform/runtime/Export.h"
#include "platform/runtime/Types.h"

#include <chrono>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

namespace Vormel {

class Timer;

class VORMEL_EXPORT Clock
{
 public:
   Clock() = default;
   Clock( const Clock& ) = delete;
   Clock& operator=( const Clock& ) = delete;
   /// Switches off the remaining timers. Requires: the clock runs no handler.
   virtual ~Clock();

   /// Seconds since a start that the clock chooses; never goes back.
   virtual double now() const = 0;

   /// The earliest time for which a timer is armed; +infinity when none is.
   double nextExpiry() const;

   /// Moves all timers to another clock; each keeps its remaining time.
   void timersMoveTo( Clock& next );

   /// Called with the time of the clock before each handler of a timer runs. Empty for none.
   using ExpiryListener = std::function<void( double now )>;
   void expiryListenerIs( ExpiryListener listener ) { expiryListener_ = std::move( listener ); }

 protected:
   /// Runs the handlers that are due at `limit`, also those that handlers arm, until none is left: the earliest
   /// first, and the older timer first among equals. Calls timeReached() before each.
   void runUntil( double limit );
   virtual void timeReached( double /*expiry*/ ) {}

 private:
   friend class Timer;
   VORMEL_HIDDEN Timer* earliest() const;

   std::vector<Timer*> timers_;
   U64 lastSerial_ = 0;
   ExpiryListener expiryListener_;
};

class VORMEL_EXPORT Timer
{
 public:
   static constexpr double never = std::numeric_limits<double>::infinity();

   /// A new timer is switched off.
   explicit Timer( Clock& clock );
   Timer( const Timer& ) = delete;
   Timer& operator=( const Timer& ) = delete;
   virtual ~Timer();

   /// Arms the timer for `time`, in seconds of its clock: +infinity switches it off, a time that
   /// has passed is due at once. ValueError when `time` is negative or not a number. Has no effect
   /// if the clock was destroyed.
   void nextTimeIs( double time )
   {
      if( !( time >= 0.0 ) ) [[unlikely]]
         rejectTime( time );
      nextTime_ = time;
   }
   double nextTime() const { return clock_ ? nextTime_ : never; }

   /// Null if the clock was destroyed.
   Clock* clock() const { return clock_; }

 private:
   friend class Clock;
   /// The handler, run once for each expiry after the timer is switched off. It may arm this
   /// timer again, and make and destroy timers, including this one.
   virtual void expired() noexcept = 0;
   [[noreturn]] static void rejectTime( double time );
   void enter( Clock& clock );

   double nextTime_ = never;
   Clock* clock_ = nullptr;
   U64 slot_ = 0;   // its index in the clock's array
   U64 serial_ = 0; // order of arrival at the clock
};

/// A clock that advances only when told to. It starts at 0.
class VORMEL_EXPORT ManualClock : public Clock
{
 public:
   double now() const override { return now_; }

   /// Advances to `time` and runs all handlers that become due, each at its own time.
   /// ValueError if `time` is before now or not finite. A handler may advance the clock further.
   void advanceTo( double time );
   /// The same as advanceTo( now() + seconds ).
   void advanceBy( double seconds );

 private:
   VORMEL_HIDDEN void timeReached( double expiry ) override;
   double now_ = 0.0;
};

/// Real time, unaffected by changes of the date. It starts at 0 when it is made.
class VORMEL_EXPORT RealClock : public Clock
{
 public:
   double now() const override;

   /// Runs the handlers that are due at the time of the call.
   void runDue();
   /// Sleeps for that many seconds and runs handlers when they become due. Locks that the caller holds
   /// remain held.
   void runFor( double seconds );

 private:
   std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

} // namespace Vormel
