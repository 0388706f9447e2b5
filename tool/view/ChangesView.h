// Differences of what the chips hold, as a table.
#pragma once

#include "desk/SwitchState.h"
#include "tool/view/Table.h"

#include <vector>

namespace Strata::Tool {

/// A row for each value that differs; equal rows of several units are one.
Table changesTable( const std::vector<Desk::Difference>& differences );

} // namespace Strata::Tool
