// The slice's main reactor: turns changes of configuration and status into operations on the helper.
//
// The agent makes it with RoutingStatusSmIs after the helper's init and l3Init. Everything runs on the
// reactor thread with the activity lock held; handlers run inside the notification that causes them, and a
// handler that throws ends the process. The handlers are public: an agent may call them.
#pragma once

#include "platform/runtime/Export.h"
#include "platform/runtime/Reactor.h"
#include "platform/state/AgentConfig.h"
#include "platform/state/Interfaces.h"
#include "platform/state/L3State.h"
#include "platform/state/StrataCommonSmData.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/reactors/UnknownMacDropLoggingSm.h"

#include <string>
#include <vector>

namespace Strata {

class NestedSm_IntfStatus;
class KibNexthopStatusDir;

class VORMEL_EXPORT RoutingStatusSm : public Vormel::Reactor
{
 public:
   const Ref<const StrataCommonSmData>& scsd() const { return scsd_; }
   const Ref<const Features>& features() const { return features_; }
   const Ref<const StrataMiscConfig>& miscConfig() const { return miscConfig_; }
   const Ref<RoutingStatusHelper>& routingStatusHelper() const { return routingStatusHelper_; }
   const Ref<const StrataPbrInfo>& strataPbrInfo() const { return strataPbrInfo_; }
   const Ref<const Interface::EthIntfStatusDir>& ethIntfStatusDir() const
   {
      return ethIntfStatusDir_;
   }
   const Ref<const BastleSourceIpLookupConfig>& bastleSourceIpLookupConfig() const
   {
      return bastleSourceIpLookupConfig_;
   }
   const Ref<HwStatus>& hwStatus() const { return hwStatus_; }
   const Ref<const NexthopStatusDir>& nexthopStatusDir() const { return nexthopStatusDir_; }
   const Ref<UnknownMacDropLoggingSm>& unknownMacDropLoggingSm() const
   {
      return unknownMacDropLoggingSm_;
   }
   bool initialized() const { return initialized_; }

   /// The nested reactors: one for each interface whose status is in ethIntfStatusDir.
   const Vormel::HashMap<IntfId, Ref<NestedSm_IntfStatus>>& intfStatus() const
   {
      return intfStatus_;
   }
   /// Makes the interface's nested reactor, or binds it to another status, and runs its handler once.
   /// NullArgumentError for null.
   void intfStatusIs( const Ref<const Interface::EthIntfStatus>& status );
   void intfStatusDel( IntfId intf );
   void intfStatusDelAll();

   /// Keeps and returns the logging reactor if it was made for the same inputs, otherwise makes a new one.
   Ref<UnknownMacDropLoggingSm> unknownMacDropLoggingSmIs(
      const Ref<const StrataMiscConfig>& miscConfig, const Ref<RoutingStatusHelper>& helper );
   /// Detaches the logging reactor, switches its notifications off and returns it.
   Ref<UnknownMacDropLoggingSm> unknownMacDropLoggingSmDel();

   void handleInitialized();

   // Interfaces, ports and floods (IntfReactions.cpp). The flood handlers with an interface do nothing before
   // initialized().
   void handleIntfFlood();
   void handleIntfFlood( IntfId intf );
   void doAddOrRemoveLagPortFlood();
   void doAddOrRemoveLagPortFlood( IntfId intf );
   /// Writes the controls and the software row of every port that is mapped. Events handle ports that are mapped later;
   /// the agent calls this once for the ports that are mapped when the reactor is made.
   void handleStrataIntfToPort();
   void handleStrataIntfToPort( IntfId intf );

   // Features (FeatureReactions.cpp)

   /// Assertion "strataPbrInfo()" without the input.
   void handleStrataPbrEnabled();
   void handleVxlanEnabled();
   /// Without an argument: every configured class. Assertion "miscConfig()" without the input.
   void handleUnknownMacDrop();
   void handleUnknownMacDrop( U16 tc );
   void handleDualHash();
   /// Runs at each change of the configuration. An agent in which it is configured from the start calls this once.
   void handleL2TrafficRoutingStatus();
   void handleNexthopStatus( const std::string& name );

 private:
   friend VORMEL_EXPORT Ref<RoutingStatusSm> RoutingStatusSmIs(
      const Ref<const StrataCommonSmData>&, const Ref<const Features>&,
      const Ref<const StrataMiscConfig>&, const Ref<RoutingStatusHelper>&,
      const Ref<const StrataPbrInfo>&, const Ref<const Interface::EthIntfStatusDir>&,
      const Ref<const BastleSourceIpLookupConfig>&, const Ref<HwStatus>&,
      const Ref<const NexthopStatusDir>& );

   VORMEL_HIDDEN RoutingStatusSm( const Ref<const StrataCommonSmData>& scsd,
      const Ref<const Features>& features, const Ref<const StrataMiscConfig>& miscConfig,
      const Ref<RoutingStatusHelper>& routingStatusHelper,
      const Ref<const StrataPbrInfo>& strataPbrInfo,
      const Ref<const Interface::EthIntfStatusDir>& ethIntfStatusDir,
      const Ref<const BastleSourceIpLookupConfig>& bastleSourceIpLookupConfig,
      const Ref<HwStatus>& hwStatus, const Ref<const NexthopStatusDir>& nexthopStatusDir );
   VORMEL_HIDDEN ~RoutingStatusSm() override;

   VORMEL_HIDDEN void start();
   VORMEL_HIDDEN void catchUp( const std::vector<U32>& pairsBefore );
   VORMEL_HIDDEN void subscriptionsAre( bool active ) override;
   VORMEL_HIDDEN void kibDoZombieReactors();

   VORMEL_HIDDEN void onScsd( const Vormel::Change& change );
   VORMEL_HIDDEN void onMiscConfig( const Vormel::Change& change );
   VORMEL_HIDDEN void onPbrInfo( const Vormel::Change& change );
   VORMEL_HIDDEN void onIntfStatusDir( const Vormel::Change& change );
   VORMEL_HIDDEN void onSourceIpLookup( const Vormel::Change& change );

   /// The settings in hardware: those of hwStatus, or the reactor's own record without a hwStatus.
   struct InForce
   {
      bool l2DualHash = false;
      bool l3DualHash = false;
      bool l2TrafficRouting = false;
   };
   VORMEL_HIDDEN InForce inForce() const;

   struct Nexthop
   {
      bool programmed = false;
      bool usesL3Egress = false;
   };

   template<auto dispatcher>
   using Input = Vormel::Subscription<RoutingStatusSm, dispatcher>;

   Ref<const StrataCommonSmData> scsd_;
   Ref<const Features> features_;
   Ref<const StrataMiscConfig> miscConfig_;
   Ref<RoutingStatusHelper> routingStatusHelper_;
   Ref<const StrataPbrInfo> strataPbrInfo_;
   Ref<const Interface::EthIntfStatusDir> ethIntfStatusDir_;
   Ref<const BastleSourceIpLookupConfig> bastleSourceIpLookupConfig_;
   Ref<HwStatus> hwStatus_;
   Ref<const NexthopStatusDir> nexthopStatusDir_;
   Ref<KibNexthopStatusDir> kibNexthopStatusDir_;
   Vormel::HashMap<IntfId, Ref<NestedSm_IntfStatus>> intfStatus_;
   Ref<UnknownMacDropLoggingSm> unknownMacDropLoggingSm_;
   bool initialized_ = false;

   InForce ownInForce_;
   Vormel::HashMap<std::string, Nexthop> nexthops_;
   U32 nexthopsProgrammed_ = 0;
   U32 nexthopsUsingL3Egress_ = 0;

   Input<&RoutingStatusSm::onScsd> scsdInput_;
   Input<&RoutingStatusSm::onMiscConfig> miscConfigInput_;
   Input<&RoutingStatusSm::onPbrInfo> pbrInfoInput_;
   Input<&RoutingStatusSm::onIntfStatusDir> intfStatusDirInput_;
   Input<&RoutingStatusSm::onSourceIpLookup> sourceIpLookupInput_;
};

/// Makes the reactor and switches its notifications on. It handles the interfaces, drop classes, dual hash and next hops
/// that exist already, and starts the flood set from the active ports of the first unit. It does not handle ports that
/// are mapped already, nor the present state of policy routing, VXLAN and the source-IP lookup. Therefore the agent
/// calls handleStrataIntfToPort() afterwards and, where the state may have changed since init, handleStrataPbrEnabled(),
/// handleVxlanEnabled() and handleL2TrafficRoutingStatus().
/// Inputs that may be null: features, strataPbrInfo, ethIntfStatusDir, bastleSourceIpLookupConfig, hwStatus,
/// nexthopStatusDir; with a null helper every call on it is skipped.
VORMEL_EXPORT Ref<RoutingStatusSm> RoutingStatusSmIs( const Ref<const StrataCommonSmData>& scsd,
   const Ref<const Features>& features, const Ref<const StrataMiscConfig>& miscConfig,
   const Ref<RoutingStatusHelper>& routingStatusHelper,
   const Ref<const StrataPbrInfo>& strataPbrInfo,
   const Ref<const Interface::EthIntfStatusDir>& ethIntfStatusDir,
   const Ref<const BastleSourceIpLookupConfig>& bastleSourceIpLookupConfig,
   const Ref<HwStatus>& hwStatus, const Ref<const NexthopStatusDir>& nexthopStatusDir );

} // namespace Strata
