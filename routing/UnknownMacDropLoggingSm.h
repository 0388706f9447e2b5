// Keeps the unknown-MAC drop counters of the helper up to date by polling, while an interval is configured.
//
// Runs on the reactor thread with the activity lock held; the timer runs on the activity manager's clock.
#pragma once

#include "platform/runtime/Clock.h"
#include "platform/runtime/Export.h"
#include "platform/runtime/Reactor.h"
#include "platform/state/AgentConfig.h"
#include "routing/RoutingStatusHelper.h"

namespace Strata {

class KibPollingTimer;

class VORMEL_EXPORT UnknownMacDropLoggingSm : public Vormel::Reactor
{
 public:
   /// Subscribes to the configuration, resets the counters of its classes and arms the timer. The
   /// configuration must be there; with a null helper its calls are skipped.
   UnknownMacDropLoggingSm(
      const Ref<const StrataMiscConfig>& miscConfig, const Ref<RoutingStatusHelper>& helper );

   const Ref<const StrataMiscConfig>& miscConfig() const { return miscConfig_; }
   const Ref<RoutingStatusHelper>& routingStatusHelper() const { return routingStatusHelper_; }
   /// Seconds, as configured when the reactor was made; 0 for no polling.
   double pollingInterval() const { return pollingInterval_; }
   /// Null once pollingTimerDel() has run.
   const Ref<KibPollingTimer>& pollingTimer() const { return pollingTimer_; }
   /// When the next poll is due on the clock; infinity while polling is off.
   double nextPoll() const;

   void handleInitialized();
   void handleUnknownMacDrop();
   /// The counter of a class starts at 0 again whenever its configuration changes.
   void handleUnknownMacDrop( U16 tc );
   void handleUnknownMacSyslog();
   /// Arms the timer one interval from now, as configured now.
   void setTimer();
   /// One poll; the next is one interval from its end.
   void updateCounters();
   void pollingTimerIs( Vormel::Clock& clock );
   void pollingTimerDel();

 private:
   VORMEL_HIDDEN ~UnknownMacDropLoggingSm() override;

   VORMEL_HIDDEN void subscriptionsAre( bool active ) override;
   VORMEL_HIDDEN void onMiscConfig( const Vormel::Change& change );

   Ref<const StrataMiscConfig> miscConfig_;
   Ref<RoutingStatusHelper> routingStatusHelper_;
   double pollingInterval_;
   Ref<KibPollingTimer> pollingTimer_;
   Vormel::Subscription<UnknownMacDropLoggingSm, &UnknownMacDropLoggingSm::onMiscConfig>
      miscConfigInput_;
};

/// Makes the reactor and switches its notifications on.
VORMEL_EXPORT Ref<UnknownMacDropLoggingSm> unknownMacDropLoggingSmFactory(
   const Ref<const StrataMiscConfig>& miscConfig, const Ref<RoutingStatusHelper>& helper );
VORMEL_EXPORT Ref<UnknownMacDropLoggingSm> UnknownMacDropLoggingSmIs(
   const Ref<const StrataMiscConfig>& miscConfig, const Ref<RoutingStatusHelper>& helper );

} // namespace Strata
