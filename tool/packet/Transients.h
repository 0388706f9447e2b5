// What becomes of packets while a command runs. Between two writes to a chip a packet may fare as it did before the command
// or as it does after it; anything else is a transient.
#pragma once

#include "report/Chronicle.h"
#include "tool/words/Command.h"

#include <string>
#include <vector>

namespace Strata::Tool {

using Report::Transient;

/// Runs the act of the command, and evaluates the probes and, if there is a solver, a packet for each entry, of before and
/// after, behind each write. Files beside the scenario accept some (AcceptedTransients). InputError if the act is refused, or
/// would end the agent.
std::vector<Transient> runWatched(
   Session& session, const Act& act, const Words& words, const std::string& command );

/// The same for the console's listener. An act that is refused, or ends the agent, runs as if it was not watched.
void runWatchedForListener( Session& session, const Act& act, const Line& line );

} // namespace Strata::Tool
