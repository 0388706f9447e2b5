// What becomes of a packet after a command, beside what becomes of it now.
#pragma once

#include "sim/packet/PacketEngine.h"
#include "tool/Plan.h"

#include <optional>
#include <string>
#include <vector>

namespace Strata::Tool {

/// A result of the explanation that is not the same; empty where one of the two has no such result.
struct ExplainedChange
{
   U32 pass; // from 1
   std::string part;
   std::optional<std::string> now;
   std::optional<std::string> then;
};

/// The command runs in a copy of the process, so nothing changes here. ValueError if it does not get through, or the
/// packet cannot come in behind it.
std::vector<ExplainedChange> explainedChanges(
   Session& session, const Sim::Arrival& arrival, const Planned& planned );

} // namespace Strata::Tool
