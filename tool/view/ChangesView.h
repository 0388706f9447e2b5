// Differences of what the chips hold, as a table.
#pragma once

#include "desk/SwitchState.h"
#include "sim/switch/Transcript.h"
#include "tool/view/Table.h"

#include <string>
#include <vector>

namespace Strata::Sim {
class SimSwitch;
}

namespace Strata::Tool {

/// A row for each value that differs; equal rows of several units are one.
Table changesTable( const std::vector<Desk::Difference>& differences );

/// What a call writes: "main 1024 "vlan flood"", "L3EgressMode of port 1", "VLAN 10". Empty if it writes nothing.
std::string writtenPlace( const Sim::Record& record, const Sim::SimSwitch& hardware );

} // namespace Strata::Tool
