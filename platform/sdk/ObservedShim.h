// Counts and times SDK calls. An agent that needs the statistics sets it as the process's shim, in front of its own
// shim; other agents have no cost.
#pragma once

#include "platform/sdk/ForwardingShim.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace Strata {

/// By how long a call takes it is counted in one of these groups. Each group but the last one has an upper bound, in
/// nanoseconds and inclusive: 256 ns, then always four times as much, up to 1.07 s.
constexpr std::array<U64, 12> sdkCallTimeBounds = [] {
   std::array<U64, 12> bounds{};
   U64 next = 256;
   for( U64& bound : bounds ) {
      bound = next;
      next *= 4;
   }
   return bounds;
}();

struct SdkCallStatistics
{
   std::string_view call; // the SDK function's name
   U64 calls = 0;
   U64 failures = 0; // negative codes except the feature-not-available code
   U64 unavailable = 0;
   double seconds = 0.0; // total of all calls
   double longest = 0.0; // longest call, in seconds
   std::array<U64, sdkCallTimeBounds.size() + 1>
      byTime{}; // calls of each group; their sum is `calls`
};

class VORMEL_EXPORT ObservedShim final : public ForwardingShim
{
 public:
   explicit ObservedShim( SdkShimInterface& next );
   ~ObservedShim() override;

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) int method parameters override;
#include "platform/sdk/SdkOperations.def"

   /// The statistics of each SDK function that was called, in the order of SdkOperations.def. Safe from any thread.
   std::vector<SdkCallStatistics> statistics() const;
   /// Sets all statistics to zero. Safe from any thread.
   void statisticsDel();

 private:
   struct Counters
   {
      std::array<std::atomic<U64>, sdkCallTimeBounds.size() + 1> byTime;
      std::atomic<U64> failures;
      std::atomic<U64> unavailable;
      std::atomic<U64> nanoseconds;
      std::atomic<U64> longest;
   };

   template<class Call>
   int observed( SdkOperation operation, Call call );

   int unavailableCode_;
   std::unique_ptr<Counters[]> counters_;
};

} // namespace Strata
