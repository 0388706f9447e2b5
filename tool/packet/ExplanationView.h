// Why a packet fares as it does, for people and for programs.
#pragma once

#include "sim/packet/PacketEngine.h"
#include "tool/Table.h"

#include <nlohmann/json.hpp>

namespace Strata::Tool {

/// For people. `all`: every entry that was looked at; else the winners and the entries that missed by one
/// qualifier.
Table explanationTable( Sim::PacketEngine& engine, const Sim::Verdict& verdict,
   const Sim::Explanation& explanation, bool all );

/// For programs: always everything.
nlohmann::ordered_json explanationJson(
   Sim::PacketEngine& engine, const Sim::Verdict& verdict, const Sim::Explanation& explanation );

} // namespace Strata::Tool
