// A shim that hands everything on to another one: the base for those that only want to see, count or change some
// of what passes.
#pragma once

#include "platform/sdk/SdkShimInterface.h"

namespace Strata {

class VORMEL_EXPORT ForwardingShim : public SdkShimInterface
{
 public:
   /// `next` must outlive the shim.
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
