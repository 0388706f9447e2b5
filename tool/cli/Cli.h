// The command strata-l3 as a function of its words and its streams.
#pragma once

#include "tool/ScenarioRun.h"

#include <iosfwd>

namespace Strata::Tool {

/// The streams of a subcommand.
struct Terminal
{
   std::istream& in;
   std::ostream& out;
   std::ostream& err;
   bool showsColours = false;
   bool typed = false;        // input and output are a terminal
   bool screen = false;       // the output is a terminal
   bool errorsBeside = false; // errors go where the output goes
};

/// Returns the exit status. The agent's own lines go to the process's standard error, not to `err`.
int runCommandLine( int argc, const char* const* argv, Terminal& terminal );

} // namespace Strata::Tool
