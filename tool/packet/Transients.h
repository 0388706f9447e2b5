// What becomes of packets while a command runs. Between two writes to a chip a packet may fare as it did before the command
// or as it does after it; anything else is a transient.
#pragma once

#include "sim/packet/Verdict.h"
#include "tool/words/Command.h"

#include <set>
#include <string>
#include <vector>

namespace Strata::Tool {

struct Transient
{
   std::string packet; // the entry that it wins before or after, or its name as a probe
   std::vector<std::string> commands; // that show it; the last one explains
   // The call that makes it fare otherwise, and the one that ends it, by their record's numbers and texts.
   U64 from = 0;
   U64 to = 0;
   std::string call;
   std::string endedBy;
   std::string before;
   std::string meanwhile;
   std::string after;
};

/// Runs the act, and evaluates the probes and a packet for each entry, of before and after, behind each write.
/// InputError if the act is refused, at `word`, or would end the agent. Requires: Cover::Solver::available().
std::vector<Transient> runWatched( Session& session, const Act& act, const Words& words );

/// The packets whose transients are accepted while the command of a scenario runs. They are in a file beside the scenario
/// with the ending .transients, in lines of "COMMAND => PACKET => REASON"; a command "*" is each, a packet "*", too.
std::set<std::string> acceptedTransients( const std::string& scenario, const std::string& command );

} // namespace Strata::Tool
