// The interface through which the slice calls the chip SDK. It uses no name of an SDK, so a port can implement this
// class beside its SDK's own headers.
//
// Operations (SdkOperations.def) are called with the activity lock released; each is preceded by preCall().
// Hooks and questions (SdkQuestions.def) return at once and never fail. They are called with the activity lock held,
// except while the Field Processor lock is held.
#pragma once

#include "platform/runtime/Export.h"
#include "platform/runtime/Types.h"
#include "platform/sdk/SdkRoles.h"
#include "platform/types/EthAddr.h"
#include "platform/types/PortBitmap.h"

#include <array>
#include <cstddef>
#include <string>

namespace Strata {

using Vormel::EthAddr;

/// A VLAN's control record. The slice reads and changes the flags; the rest belongs to the port and is written back
/// as it was read.
class VlanControl
{
 public:
   U32 flags() const { return flags_; }
   void flagsIs( U32 flags ) { flags_ = flags; }

   std::array<std::byte, 252> rest{};

 private:
   U32 flags_ = 0;
};

/// One entry of a chip memory. It is opaque; its fields are accessed through the shim.
struct MemoryEntry
{
   std::array<U32, 16> words{};
};

/// 27 words: the bitmap of a unit's active front-panel ports (word w, bit b is logical port 32 * w + b).
using UnitRecord = std::array<U32, 27>;

class VORMEL_EXPORT SdkShimInterface
{
 public:
   virtual ~SdkShimInterface();

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   virtual int method parameters = 0;
#include "platform/sdk/SdkOperations.def"

#define STRATA_SDK_HOOK( method ) virtual void method() = 0;
#define STRATA_SDK_QUESTION( result, method, parameters, ... ) \
   virtual result method parameters const = 0;
#include "platform/sdk/SdkQuestions.def"
};

/// The process's one shim. An agent sets it before it makes the first helper and keeps it alive.
VORMEL_EXPORT void sdkShimIs( SdkShimInterface* shim );

/// Null if none is set.
VORMEL_EXPORT SdkShimInterface* sdkShim();

namespace Detail {
extern VORMEL_EXPORT SdkShimInterface* theSdkShim;
}

/// The shim, for calls. If none is set, it is a shim whose functions fail an assertion, because a check here would cost
/// time in every SDK call.
inline SdkShimInterface& sdkShimInUse()
{
   return *Detail::theSdkShim;
}

} // namespace Strata
