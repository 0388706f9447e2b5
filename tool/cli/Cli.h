// The command strata-l3 as a function.
#pragma once

#include "tool/ScenarioRun.h"
#include "tool/cli/Terminal.h"

namespace Strata::Tool {

/// Returns the exit status. What the agent writes to standard error by itself goes there, not to `err`.
int runCommandLine( int argc, const char* const* argv, Terminal& terminal );

} // namespace Strata::Tool
