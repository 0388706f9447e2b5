// Keeps the unknown-MAC drop counters of the helper up to date by polling, while an interval is configured.
//
// Runs on the reactor thread with the activity lock held; the timer runs on the activity manager's clock.
#pragma once

#include "platform/runtime/Clock.h"
#include "platform/runtime/Export.h"
#include "platform/runtime/Reactor.h"
#include "platform/state/AgentConfig.h"
#include "routing/RoutingStatusHelper.h"

#include <vector>

namespace Strata {

class KibPollingTimer;

class VORMEL_EXPORT UnknownMacDropLoggingSm : public Vormel::Reactor
{
   VORMEL_SIZE_OF_LIBRARY

 public:
   /// Subscribes to the configuration, resets the counters of its classes and arms the timer. With a null helper its
   /// calls are skipped. Requires: the configuration is not null.
   UnknownMacDropLoggingSm(
      const Ref<const StrataMiscConfig>& miscConfig, const Ref<RoutingStatusHelper>& helper );

   const Ref<const StrataMiscConfig>& miscConfig() const { return miscConfig_; }
   const Ref<RoutingStatusHelper>& routingStatusHelper() const { return routingStatusHelper_; }
   /// The interval in seconds that was configured when the reactor was made; 0 for no polling.
   double pollingInterval() const { return pollingInterval_; }
   /// Null once pollingTimerDel() has run.
   const Ref<KibPollingTimer>& pollingTimer() const { return pollingTimer_; }
   /// Time of the next poll on the clock; infinity while polling is off.
   double nextPoll() const;

   void handleInitialized();
   void handleUnknownMacDrop();
   /// Resets the counter of a class. Runs whenever its configuration changes.
   void handleUnknownMacDrop( U16 tc );
   void handleUnknownMacSyslog();
   /// Arms the timer for one interval from now, with the present configuration.
   void setTimer();
   /// Polls once; the next poll is one interval after its end.
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
   std::vector<U16> classesRoom_; // used again by the next poll, which allocates nothing then
};

/// Makes the reactor and switches its notifications on.
VORMEL_EXPORT Ref<UnknownMacDropLoggingSm> unknownMacDropLoggingSmFactory(
   const Ref<const StrataMiscConfig>& miscConfig, const Ref<RoutingStatusHelper>& helper );
VORMEL_EXPORT Ref<UnknownMacDropLoggingSm> UnknownMacDropLoggingSmIs(
   const Ref<const StrataMiscConfig>& miscConfig, const Ref<RoutingStatusHelper>& helper );

} // namespace Strata
