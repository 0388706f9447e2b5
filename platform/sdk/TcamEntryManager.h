// The agent's FP entry managers. TcamOperations.def lists and describes their operations. Requires: the activity lock
// is held during every call.
#pragma once

#include "platform/runtime/Attributes.h"
#include "platform/runtime/Export.h"
#include "platform/types/PortBitmap.h"

#include <string>

namespace Strata {

using Vormel::Ref;

/// The options of a claim. The strings are labels, which are kept with the claim and shown, but not interpreted.
struct RequestKey
{
   std::string feature;
   /// Claims the requested entry, or the next one if the requested one is claimed under another name.
   bool orNext = false;
   std::string detail;
};

/// Manages a range: the ids base to base + size - 1 of one FP group, with the room that the group has on each unit.
class VORMEL_EXPORT StrataTcamEntryManager : public Vormel::Entity
{
 public:
#define STRATA_TCAM_OPERATION( result, method, parameters, arguments ) \
   virtual result method parameters = 0;
#define STRATA_TCAM_QUESTION( result, method, parameters, arguments ) \
   virtual result method parameters const = 0;
#include "platform/sdk/TcamOperations.def"
};

class VORMEL_EXPORT StrataBoundedTcamEntryManager : public StrataTcamEntryManager
{
 public:
   /// The first id of the range; at least 1.
   virtual U32 baseEntryId() const = 0;
};

/// How many ids of the main range the slice uses, from baseEntryId() on.
constexpr U32 mainRangeIds = 53;

/// The assignments of the group manager that the slice uses.
enum class TcamGroup : U32
{
   urpfSingleWide = 53,
   urpfDoubleWide = 55,
   ttlCheck = 147,
   phpLspPing = 148,
   peerMacArp = 149,
};

class VORMEL_EXPORT StrataTcamGroupManager : public Vormel::Entity
{
 public:
   /// Null if the range is not assigned.
   virtual Ref<StrataBoundedTcamEntryManager> boundedTcamEntryManager( TcamGroup group ) const = 0;
};

} // namespace Strata
