// The command strata-l3 as a function.
#pragma once

#include "tool/ScenarioRun.h"
#include "tool/cli/Terminal.h"

namespace Strata::Tool {

/// Returns the exit status. The agent's own lines go to the process's standard error, not to `err`.
int runCommandLine( int argc, const char* const* argv, Terminal& terminal );

} // namespace Strata::Tool
