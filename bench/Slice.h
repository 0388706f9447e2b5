// The slice on hardware that does nothing: units, interfaces, helper and reactor, as an agent would have them.
#pragma once

#include "bench/Floor.h"
#include "bench/NullShim.h"
#include "platform/state/Interfaces.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/reactors/L3PeerMacArpRedirectSm.h"
#include "routing/reactors/RoutingStatusSm.h"
#include "routing/reactors/UnknownMacDropLoggingSm.h"

#include <functional>

namespace Bench {

/// One per process at a time. The activity lock is held while it is made, used and destroyed.
class Slice
{
 public:
   enum class Calls : bool
   {
      direct,
      recorded, // for floorOf()
   };
   /// Ethernet1 and so on, bridged, on ports of the first unit.
   Slice( U32 units, U32 interfaces, Calls calls = Calls::direct );
   Slice( const Slice& ) = delete;
   Slice& operator=( const Slice& ) = delete;
   ~Slice();

   void init();
   /// After init().
   void startReactor();
   /// All of a start.
   void bringUp();

   /// Runs the job and returns its calls. Requires: calls are recorded, and the slice outlives the floor.
   Floor floorOf( const std::function<void( Slice& )>& job );

   StrataCommonSmData& scsd() { return *scsd_; }
   RoutingStatusHelper& helper() { return *helper_; }
   U32 interfaces() const { return static_cast<U32>( interfaces_.size() ); }

   /// Makes it routed when it is bridged, and bridged when it is routed.
   void turn( U32 index );
   /// Removes its port, or adds it again.
   void replug( U32 index );
   /// Adds it to a LAG, or removes it.
   void regroup( U32 index );
   /// Makes all interfaces the members of a LAG.
   void startLag();
   /// Makes the LAG routed when it is bridged, and bridged when it is routed. After startLag().
   void turnLag();
   /// Makes all interfaces the members of a LAG to an MLAG peer, and redirects ARP to the peer.
   void startPeerLink();
   /// Drops packets to unknown MACs in all traffic classes.
   void startDropping();
   /// Reads the counters of all classes. After startDropping().
   void poll() { logging_->updateCounters(); }

 private:
   NullShim shim_;
   RecordingShim recordingShim_{ shim_ };
   Ref<NullManager> manager_ = Vormel::make<NullManager>();
   Ref<RecordingManager> recordingManager_ = Vormel::make<RecordingManager>( manager_ );
   Ref<StrataCommonSmData> scsd_;
   Ref<Interface::EthIntfStatusDir> dir_ = Vormel::make<Interface::EthIntfStatusDir>();
   Ref<StrataMiscConfig> miscConfig_ = Vormel::make<StrataMiscConfig>();
   std::vector<Ref<Interface::EthIntfStatus>> interfaces_;
   Ref<Interface::EthIntfStatus> lag_;
   Ref<RoutingStatusHelper> helper_;
   Ref<RoutingStatusSm> reactor_;
   Ref<L3PeerMacArpRedirectSm> redirect_;
   Ref<UnknownMacDropLoggingSm> logging_;
};

} // namespace Bench
