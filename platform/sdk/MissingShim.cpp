// The shim that is used while none is set. Each of its functions fails an assertion.
#include "platform/runtime/Assert.h"
#include "platform/sdk/SdkShimInterface.h"

#include <cstdlib>

namespace Strata {

[[noreturn]] static void noShim()
{
   VORMEL_ASSERT( sdkShim() && "no SDK shim is set: sdkShimIs() comes before the first operation" );
   std::abort(); // there is still no shim when an assertion hook returns
}

namespace {

class MissingShim final : public SdkShimInterface
{
 public:
#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   int method parameters override \
   { \
      return unanswered<int> arguments; \
   }
#include "platform/sdk/SdkOperations.def"

#define STRATA_SDK_HOOK( method ) \
   void method() override \
   { \
      noShim(); \
   }
#define STRATA_SDK_QUESTION( result, method, parameters, arguments, ... ) \
   result method parameters const override \
   { \
      return unanswered<result> arguments; \
   }
#include "platform/sdk/SdkQuestions.def"

 private:
   template<class Result, class... Arguments>
   [[noreturn]] static Result unanswered( const Arguments&... )
   {
      noShim();
   }
};

} // namespace

constinit static MissingShim missingShim;

constinit SdkShimInterface* Detail::theSdkShim = &missingShim;

void sdkShimIs( SdkShimInterface* shim )
{
   Detail::theSdkShim = shim ? shim : &missingShim;
}

SdkShimInterface* sdkShim()
{
   return Detail::theSdkShim == &missingShim ? nullptr : Detail::theSdkShim;
}

} // namespace Strata
