// The agent's software copy of per-port settings.
#pragma once

#include "platform/runtime/Attributes.h"
#include "platform/runtime/Export.h"
#include "platform/state/StrataPort.h"

namespace Strata {

/// What the agent keeps of a port's layer-3 settings.
struct PortSwEntry
{
   bool l3Enabled = false;      // IPv4 and IPv6 are enabled on the port
   bool routingEnabled = false; // the routing controls that were last written for it

   bool operator==( const PortSwEntry& ) const = default;
};

/// Called with the activity lock held.
class VORMEL_EXPORT PortSwTable : public Vormel::Entity
{
 public:
   /// The port's entry; an unknown port has the default one.
   virtual PortSwEntry entry( const StrataPort& port ) const = 0;
   virtual void entryCommit( const StrataPort& port, const PortSwEntry& entry ) = 0;
};

} // namespace Strata
