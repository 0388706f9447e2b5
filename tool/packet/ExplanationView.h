// The explanation of a packet's verdict, as tables and as JSON.
#pragma once

#include "sim/packet/PacketEngine.h"
#include "tool/view/Table.h"

#include <nlohmann/json.hpp>

namespace Strata::Tool {

/// As tables. `all`: every entry that was looked up; otherwise the winners and the entries that missed by one
/// qualifier.
Table explanationTable( Sim::PacketEngine& engine, const Sim::Verdict& verdict,
   const Sim::Explanation& explanation, bool all );

/// As JSON, always complete.
nlohmann::ordered_json explanationJson(
   Sim::PacketEngine& engine, const Sim::Verdict& verdict, const Sim::Explanation& explanation );

} // namespace Strata::Tool
