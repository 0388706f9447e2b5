// The base of entry managers with one fault.
#pragma once

#include "platform/sdk/ForwardingTcamEntryManager.h"

namespace Strata::Conformance {

class ForwardingManager : public ForwardingTcamEntryManager
{
 public:
   using ForwardingTcamEntryManager::ForwardingTcamEntryManager;

   const Vormel::EntityType& entityType() const override { return next().entityType(); }
};

} // namespace Strata::Conformance
