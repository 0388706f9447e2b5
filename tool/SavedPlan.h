// A plan in a file: the commands, the calls that they make, and what the chips held when it was made, so that it is done
// on that switch only, and as it was planned.
#pragma once

#include "desk/SwitchState.h"
#include "tool/words/Words.h"

#include <string>
#include <vector>

namespace Strata::Tool {

class Session;

struct SavedPlan
{
   std::vector<std::string> commands;
   std::vector<std::string> calls;
   Desk::SwitchState state;

   /// ValueError if the file cannot be read, or is not a saved plan.
   static SavedPlan read( const std::string& file );
   /// Replaces the file when all is written. ValueError if that fails.
   void write( const std::string& file ) const;
};

/// Why a plan is not saved there; empty if it can be: nothing is there, or another saved plan.
std::string obstacleOfSaving( const std::string& file );

/// Does what was planned. InputError, before anything changes, if the chips do not hold what they held, or the commands
/// would make other calls; and afterwards, if they did. `file` is the word of its name.
void applyPlan( Session& session, const SavedPlan& plan, const Words& words, const Word& file );

/// The commands of the line; of one that includes a file, those of the file. ScenarioFileError if it cannot be read.
std::vector<std::string> commandsOf( const Line& line );

} // namespace Strata::Tool
