// What a twin of a recording was not told: routes, MAC tables and properties of VLANs belong to other parts of an agent.
#pragma once

#include "sim/packet/ForwardingTables.h"
#include "sim/packet/Verdict.h"

#include <string>

namespace Strata::Tool {

/// The tables that the packet was looked up in and that are empty: "routes, MAC addresses"; empty if it depends on nothing else.
std::string untoldTables(
   const Sim::Explanation& explanation, const Sim::ForwardingTables& tables );

} // namespace Strata::Tool
