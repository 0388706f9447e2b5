// The slice on hardware that does nothing: units, interfaces, helper and reactor, as an agent would have them.
#pragma once

#include "bench/NullShim.h"
#include "platform/state/Interfaces.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/reactors/RoutingStatusSm.h"

namespace Bench {

/// Also counts the SDK calls.
class CountingShim final : public NullShim
{
 public:
   void preCall() override { ++calls; }
   U64 calls = 0;
};

/// One per process at a time. The activity lock is held while it is made, used and destroyed.
class Slice
{
 public:
   /// Ethernet1 and so on, bridged, on ports of the first unit.
   Slice( U32 units, U32 interfaces );
   Slice( const Slice& ) = delete;
   Slice& operator=( const Slice& ) = delete;
   ~Slice();

   void init();
   /// After init().
   void startReactor();

   U64 sdkCalls() const { return shim_.calls; }
   StrataCommonSmData& scsd() { return *scsd_; }
   U32 interfaces() const { return static_cast<U32>( interfaces_.size() ); }

   /// Makes it routed when it is bridged, and bridged when it is routed.
   void turn( U32 index );
   /// Removes its port, or adds it again.
   void replug( U32 index );
   /// Adds it to a LAG, or removes it.
   void regroup( U32 index );

 private:
   CountingShim shim_;
   Ref<StrataCommonSmData> scsd_;
   Ref<Interface::EthIntfStatusDir> dir_ = Vormel::make<Interface::EthIntfStatusDir>();
   Ref<StrataMiscConfig> miscConfig_ = Vormel::make<StrataMiscConfig>();
   std::vector<Ref<Interface::EthIntfStatus>> interfaces_;
   Ref<RoutingStatusHelper> helper_;
   Ref<RoutingStatusSm> reactor_;
};

} // namespace Bench
