// The agent's FP entry managers. Their operations are those of TcamOperations.def, which says what each does. Every call
// is made with the activity lock held.
#pragma once

#include "platform/runtime/Attributes.h"
#include "platform/runtime/Export.h"
#include "platform/types/PortBitmap.h"

#include <string>

namespace Strata {

using Vormel::Ref;

/// What a claim asks for. The strings are labels, kept with the claim and shown, never interpreted.
struct RequestKey
{
   std::string feature;
   /// The entry asked for, or the next one where that is held under another name.
   bool orNext = false;
   std::string detail;
};

/// Owns ids base to base + size - 1 of one FP group, with the room that the group has on each unit.
class VORMEL_EXPORT StrataTcamEntryManager : public Vormel::Entity
{
 public:
#define STRATA_TCAM_OPERATION( result, method, parameters, arguments ) \
   virtual result method parameters = 0;
#define STRATA_TCAM_QUESTION( result, method, parameters, arguments ) \
   virtual result method parameters const = 0;
#include "platform/tcam/TcamOperations.def"
};

class VORMEL_EXPORT StrataBoundedTcamEntryManager : public StrataTcamEntryManager
{
 public:
   /// The first id of the range; at least 1.
   virtual U32 baseEntryId() const = 0;
};

/// Group assignments that serve the slice.
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
   /// Null when the group is not assigned.
   virtual Ref<StrataBoundedTcamEntryManager> boundedTcamEntryManager( TcamGroup group ) const = 0;
};

} // namespace Strata
