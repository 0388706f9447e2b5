// Reports the claims that an entry manager refuses. The slice does not check the result of a claim, so a refused claim
// is noticed only later, when a call does not find the entry. To report it at once, an agent gives the slice this
// manager in front of its own.
#pragma once

#include "platform/sdk/ForwardingTcamEntryManager.h"

#include <functional>
#include <string>

namespace Strata {

/// A claim that returned 0.
struct RefusedClaim
{
   std::string name; // of the entry
   U32 entryId = 0;
   U32 unit = 0;

   /// "unit 0 has refused the claim of entry 1004 \"vlan flood\""
   VORMEL_EXPORT std::string text() const;
};

#define STRATA_OBSERVED_TCAM_ENTRY_MANAGER_ATTRIBUTES( ROW )

class VORMEL_EXPORT ObservedTcamEntryManager final : public ForwardingTcamEntryManager
{
   VORMEL_ENTITY( ObservedTcamEntryManager, STRATA_OBSERVED_TCAM_ENTRY_MANAGER_ATTRIBUTES )
   VORMEL_SIZE_OF_LIBRARY

   using Listener = std::function<void( const RefusedClaim& )>;

   /// Without a listener the text goes to standard error. Requires: `next` is not null.
   explicit ObservedTcamEntryManager(
      Ref<StrataBoundedTcamEntryManager> next, Listener listener = {} );

   U32 getEntry( U32 unit, U32 entryId, const std::string& name, const RequestKey& key ) override;

 private:
   Listener listener_;
};

} // namespace Strata
