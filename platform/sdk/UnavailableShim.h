// A shim without a chip: every operation returns the feature-not-available code, which the slice tolerates.
// A port can derive from it and override one operation after another.
#pragma once

#include "platform/sdk/SdkShimInterface.h"

namespace Strata {

/// The codes and their texts are left to the port. Every question has the answer of its row in SdkQuestions.def.
class UnavailableShim : public SdkShimInterface
{
 public:
#define STRATA_SDK_HOOK( method ) \
   void method() override {}
#define STRATA_SDK_CODE_QUESTION( result, method, parameters, arguments )
#define STRATA_SDK_QUESTION( result, method, parameters, arguments, answer ) \
   result method parameters const override \
   { \
      unused arguments; \
      return answer; \
   }
#include "platform/sdk/SdkQuestions.def"

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   int method parameters override \
   { \
      return unavailable arguments; \
   }
#include "platform/sdk/SdkOperations.def"

 private:
   template<class... Arguments>
   static void unused( const Arguments&... )
   {}

   template<class... Arguments>
   int unavailable( const Arguments&... ) const
   {
      return featureNotAvailableCode();
   }
};

} // namespace Strata
