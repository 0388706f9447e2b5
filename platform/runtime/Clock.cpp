#include "platform/runtime/Clock.h"

#include "platform/runtime/Errors.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <thread>

namespace Vormel {

Clock::~Clock()
{
   for( Timer* timer : timers_ )
      timer->clock_ = nullptr;
}

void Clock::timersMoveTo( Clock& next )
{
   if( &next == this )
      return;
   std::ranges::sort( timers_, {}, &Timer::serial_ );
   for( Timer* const timer : timers_ ) {
      // An infinite time stays infinite; an overdue timer is due at once.
      timer->nextTime_ = next.now() + std::max( timer->nextTime_ - now(), 0.0 );
      timer->enter( next );
   }
   timers_.clear();
}

Timer* Clock::earliest() const
{
   const auto before = []( const Timer* a, const Timer* b ) {
      return a->nextTime_ != b->nextTime_ ? a->nextTime_ < b->nextTime_ : a->serial_ < b->serial_;
   };
   const auto at = std::ranges::min_element( timers_, before );
   return at == timers_.end() ? nullptr : *at;
}

double Clock::nextExpiry() const
{
   const Timer* timer = earliest();
   return timer ? timer->nextTime_ : Timer::never;
}

void Clock::runUntil( double limit )
{
   // Looked up again each time, because a handler may make and destroy any timer.
   for( Timer* timer = earliest(); timer && timer->nextTime_ <= limit; timer = earliest() ) {
      timeReached( timer->nextTime_ );
      timer->nextTime_ = Timer::never;
      if( expiryListener_ )
         expiryListener_( now() );
      timer->expired();
   }
}

Timer::Timer( Clock& clock )
{
   enter( clock );
}

void Timer::enter( Clock& clock )
{
   clock_ = &clock;
   slot_ = clock.timers_.size();
   serial_ = ++clock.lastSerial_;
   clock.timers_.push_back( this );
}

Timer::~Timer()
{
   if( !clock_ )
      return;
   auto& timers = clock_->timers_;
   timers[ slot_ ] = timers.back();
   timers[ slot_ ]->slot_ = slot_;
   timers.pop_back();
}

void Timer::rejectTime( double time )
{
   throw ValueError( "nextTimeIs: time " + std::to_string( time ) +
                     " must be a number of seconds, not negative, or +infinity for off" );
}

void ManualClock::advanceTo( double time )
{
   if( !( time >= now_ ) || std::isinf( time ) )
      throw ValueError( "advanceTo: time " + std::to_string( time ) +
                        " must be finite and not before now, " + std::to_string( now_ ) );
   runUntil( time );
   timeReached( time );
}

void ManualClock::advanceBy( double seconds )
{
   advanceTo( now_ + seconds );
}

void ManualClock::timeReached( double expiry )
{
   now_ = std::max( now_, expiry );
}

double RealClock::now() const
{
   return std::chrono::duration<double>( std::chrono::steady_clock::now() - start_ ).count();
}

void RealClock::runDue()
{
   runUntil( now() );
}

void RealClock::runFor( double seconds )
{
   const double end = now() + seconds;
   for( double wake = 0.0; wake < end; ) {
      runDue();
      wake = std::min( nextExpiry(), end );
      std::this_thread::sleep_for( std::chrono::duration<double>( wake - now() ) );
   }
   runDue();
}

} // namespace Vormel
