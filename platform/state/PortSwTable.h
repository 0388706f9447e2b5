// The agent's software copy of per-port settings.
#pragma once

#include "platform/runtime/Attributes.h"
#include "platform/runtime/Export.h"
#include "platform/state/StrataPort.h"

namespace Strata {

/// The agent's copy of a port's layer-3 settings.
struct PortSwEntry
{
   bool l3Enabled = false;      // IPv4 and IPv6 are enabled on the port
   bool routingEnabled = false; // value of the routing controls that were last written for the port

   bool operator==( const PortSwEntry& ) const = default;
};

/// All functions are called with the activity lock held.
class VORMEL_EXPORT PortSwTable : public Vormel::Entity
{
 public:
   /// The port's entry; the default one for an unknown port.
   virtual PortSwEntry entry( const StrataPort& port ) const = 0;
   virtual void entryCommit( const StrataPort& port, const PortSwEntry& entry ) = 0;
};

} // namespace Strata
