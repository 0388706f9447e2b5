// Runs a scenario file from top to bottom. Expectations that fail are reported and the run goes on; a line
// that cannot be run ends it; the death of the agent ends the process.
#pragma once

#include "tool/Console.h"

#include <string>

namespace Strata::Tool {

/// The exit statuses of the command, permanent.
enum class ExitStatus : int
{
   held = 0,   // everything that was expected
   failed = 1, // at least one expectation
   error = 2,  // in the scenario, or in how the command was called
   died = 3,   // the agent, unexpectedly
};

/// Reads the whole file before its first line is run. Holds the activity lock meanwhile. When the agent dies
/// the process ends at once, with ExitStatus::died.
ExitStatus runScenario( const std::string& file, Console& console );

} // namespace Strata::Tool
