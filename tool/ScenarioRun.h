// Runs a scenario file from top to bottom. Expectations that fail are reported and the run continues; a line
// that cannot be run ends it; the death of the agent ends the process.
#pragma once

#include "tool/Session.h"
#include "tool/words/Words.h"

#include <functional>
#include <memory>
#include <string>

namespace Strata::Tool {

/// The exit statuses of the command, permanent.
enum class ExitStatus : int
{
   held = 0,   // everything that was expected
   failed = 1, // at least one expectation failed; on a foreign profile, a convention was broken
   error = 2,  // in the scenario or in the command line
   died = 3,   // the agent, unexpectedly
};

/// Runs the lines of a scenario on a session, each before the next is read. InputError for a line that cannot be run,
/// except on a foreign profile, where it is skipped, and in a check. ScenarioFileError for a file that cannot be read.
void runLines( const std::string& file, Session& session,
   const std::shared_ptr<const Inclusion>& inclusion = {} );

/// Runs a scenario on a new session. When the agent dies the process ends at once, with ExitStatus::died. `atEnd` sees
/// the session behind the last line, unless a line could not be run.
ExitStatus runScenario( const std::string& file, Console& console, SessionConfig config = {},
   const std::function<void( Session& )>& atEnd = {} );

/// Runs a scenario, if its name is not empty, on the twin of a recording.
ExitStatus runOnTwin(
   const Desk::RecordingFile& recording, const std::string& file, Console& console );

/// Reports every line that cannot be run: runs a scenario on a new session and goes on behind such lines, without
/// judging expectations or writing captures. Requires: the console is one for checking.
ExitStatus checkScenario( const std::string& file, Console& console );

} // namespace Strata::Tool
