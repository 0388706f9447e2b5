#include "routing/reactors/UnknownMacDropLoggingSm.h"

#include "messages/Traces.h"
#include "platform/runtime/Activity.h"
#include "platform/runtime/Assert.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Strata {

/// The timer of one logging reactor, which owns it.
class KibPollingTimer final : public Vormel::Counted, public Vormel::Timer
{
 public:
   KibPollingTimer( Vormel::Clock& clock, UnknownMacDropLoggingSm* owner )
      : Timer( clock ),
        owner_( owner )
   {}

 private:
   void expired() noexcept override
   {
      if( !owner_->markedForDeletion() )
         owner_->updateCounters();
   }

   UnknownMacDropLoggingSm* owner_;
};

UnknownMacDropLoggingSm::UnknownMacDropLoggingSm(
   const Ref<const StrataMiscConfig>& miscConfig, const Ref<RoutingStatusHelper>& helper )
   : miscConfig_( miscConfig ),
     routingStatusHelper_( helper ),
     pollingInterval_( miscConfig ? miscConfig->syslogTimeout() : 0.0 ),
     miscConfigInput_( *this, miscConfig )
{
   hasNotificationActiveIs( true );
   handleInitialized();
}

VORMEL_ALLOCATION( UnknownMacDropLoggingSm )

UnknownMacDropLoggingSm::~UnknownMacDropLoggingSm()
{
   pollingTimerDel();
}

Ref<UnknownMacDropLoggingSm> unknownMacDropLoggingSmFactory(
   const Ref<const StrataMiscConfig>& miscConfig, const Ref<RoutingStatusHelper>& helper )
{
   auto sm = Vormel::make<UnknownMacDropLoggingSm>( miscConfig, helper );
   sm->hasNotificationActiveIs( true );
   return sm;
}

Ref<UnknownMacDropLoggingSm> UnknownMacDropLoggingSmIs(
   const Ref<const StrataMiscConfig>& miscConfig, const Ref<RoutingStatusHelper>& helper )
{
   return unknownMacDropLoggingSmFactory( miscConfig, helper );
}

void UnknownMacDropLoggingSm::subscriptionsAre( bool active )
{
   miscConfigInput_.activeIs( active );
   if( !pollingTimer_ )
      return;
   if( active )
      setTimer();
   else
      pollingTimer_->nextTimeIs( Vormel::Timer::never );
}

double UnknownMacDropLoggingSm::nextPoll() const
{
   return pollingTimer_ ? pollingTimer_->nextTime() : Vormel::Timer::never;
}

void UnknownMacDropLoggingSm::handleInitialized()
{
   VORMEL_TRACE( routingTrace, 5,
      "UnknownMacDropLoggingSm::handleInitialized Configured timer value "
         << ( miscConfig_ ? miscConfig_->syslogTimeout() : 0.0 ) );
   pollingTimerIs( Vormel::activityManager().clock() );
   handleUnknownMacDrop();
   handleUnknownMacSyslog();
}

void UnknownMacDropLoggingSm::handleUnknownMacDrop()
{
   VORMEL_ASSERT( miscConfig() );
   for( const U16 tc : Vormel::keysOf( miscConfig_->unknownMacDropTrafficClass() ) )
      handleUnknownMacDrop( tc );
}

void UnknownMacDropLoggingSm::handleUnknownMacDrop( U16 tc )
{
   VORMEL_TRACE( routingTrace, 5, "UnknownMacDropLoggingSm::handleUnknownMacDrop" << tc );
   if( routingStatusHelper_ )
      routingStatusHelper_->resetUnknownMacDropCounters( tc );
}

void UnknownMacDropLoggingSm::handleUnknownMacSyslog()
{
   VORMEL_ASSERT( miscConfig() );
   VORMEL_TRACE( routingTrace, 5,
      "UnknownMacDropLoggingSm::handleUnknownMacSyslog Configuring syslog timeout value : "
         << miscConfig_->syslogTimeout() );
   setTimer();
}

void UnknownMacDropLoggingSm::setTimer()
{
   VORMEL_TRACE( routingTrace, 5, "UnknownMacDropLoggingSm::setTimer" );
   VORMEL_ASSERT( miscConfig() );
   if( !pollingTimer_ || !hasNotificationActive() ) // a detached reactor does not poll
      return;
   if( !pollingTimer_->clock() ) // the clock was destroyed; the manager has another one
      pollingTimerIs( Vormel::activityManager().clock() );
   const double timeout = miscConfig_->syslogTimeout();
   if( std::isfinite( timeout ) && timeout > 0.0 ) {
      // At least the next number after now: adding a very small interval may not change the sum.
      const double now = pollingTimer_->clock()->now();
      pollingTimer_->nextTimeIs(
         std::max( now + timeout, std::nextafter( now, Vormel::Timer::never ) ) );
      return;
   }
   if( timeout != 0.0 )
      VORMEL_TRACE( routingTrace, 1, "setTimer: no polling with timeout " << timeout );
   pollingTimer_->nextTimeIs( Vormel::Timer::never );
}

void UnknownMacDropLoggingSm::updateCounters()
{
   // A subscriber of the counters may drop the reactor meanwhile. During construction there is no reference yet.
   const Ref<UnknownMacDropLoggingSm> keep( references() != 0 ? this : nullptr );
   VORMEL_TRACE( routingTrace, 5, "updateCounters" );
   VORMEL_ASSERT( miscConfig() );
   // A copy, because a subscriber may change the classes.
   std::vector<U16> classes = std::exchange( classesRoom_, {} );
   classes.clear();
   for( const auto& dropped : miscConfig_->unknownMacDropTrafficClass() )
      classes.push_back( dropped.key );
   for( const U16 tc : classes )
      if( routingStatusHelper_ )
         routingStatusHelper_->updateUnknownMacDropCounters( tc );
   classesRoom_ = std::move( classes );
   setTimer();
}

void UnknownMacDropLoggingSm::pollingTimerIs( Vormel::Clock& clock )
{
   pollingTimer_ = Vormel::make<KibPollingTimer>( clock, this );
}

void UnknownMacDropLoggingSm::pollingTimerDel()
{
   pollingTimer_ = nullptr;
}

void UnknownMacDropLoggingSm::onMiscConfig( const Vormel::Change& change )
{
   switch( change.number ) {
   case StrataMiscConfig::unknownMacDropTrafficClassNumber:
      return handleUnknownMacDrop( change.key.as<U16>() );
   case StrataMiscConfig::syslogTimeoutNumber:
      return handleUnknownMacSyslog();
   default:
      return;
   }
}

} // namespace Strata
