// A shim that passes every call to another one: the base for shims that observe, count or change some of the calls.
#pragma once

#include "platform/sdk/SdkShimInterface.h"

namespace Strata {

class VORMEL_EXPORT ForwardingShim : public SdkShimInterface
{
 public:
   /// Requires: `next` outlives the shim.
   explicit ForwardingShim( SdkShimInterface& next ) : next_( next ) {}

   SdkShimInterface& next() const { return next_; }

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   int method parameters override \
   { \
      return next_.method arguments; \
   }
#include "platform/sdk/SdkOperations.def"

#define STRATA_SDK_HOOK( method ) \
   void method() override \
   { \
      next_.method(); \
   }
#define STRATA_SDK_QUESTION( result, method, parameters, arguments, ... ) \
   result method parameters const override \
   { \
      return next_.method arguments; \
   }
#include "platform/sdk/SdkQuestions.def"

 private:
   SdkShimInterface& next_;
};

} // namespace Strata
