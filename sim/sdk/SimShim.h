// The SDK shim over simulated chips. Every operation takes the same steps: the critic checks the
// circumstances, a fault may replace or repeat the effect, the chip changes, the transcript gets the call.
#pragma once

#include "platform/sdk/SdkShimInterface.h"
#include "sim/sdk/ChipOperations.h"
#include "sim/switch/Hardware.h"

#include <array>
#include <string>
#include <string_view>

namespace Strata::Sim {

class SimShim final : public SdkShimInterface
{
 public:
   explicit SimShim( const Hardware& hardware ) : hardware_( hardware ), operations_( hardware ) {}

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) int method parameters override;
#include "platform/sdk/SdkOperations.def"

#define STRATA_SDK_HOOK( method ) void method() override;
#define STRATA_SDK_QUESTION( result, method, parameters, ... ) \
   result method parameters const override;
#include "platform/sdk/SdkQuestions.def"

   /// The number of calls of the operation.
   U64 calls( SdkOperation operation ) const
   {
      return callsOf_[ static_cast<std::size_t>( operation ) ];
   }
   /// The number of calls of all operations, which is the number of the last call.
   U64 calls() const
   {
      return calls_;
   }

 private:
   template<class Work, class... Arguments>
   int perform( SdkOperation operation, std::string_view names, Work work, U32 unit,
      const Arguments&... arguments );
   const Chip* findChip( U32 unit, std::string_view question ) const;

   Hardware hardware_;
   ChipOperations operations_;
   std::array<U64, roleNames<SdkOperation>.size()> callsOf_{};
   U64 calls_ = 0;
};

} // namespace Strata::Sim
