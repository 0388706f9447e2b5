// The commands of scenarios: one small function each, in tool/commands/ by theme. The registry is the one
// place that knows them all, for running, for help, and for whoever completes what somebody types.
#pragma once

#include "tool/Words.h"

#include <string_view>
#include <vector>

namespace Strata::Tool {

class Session;

struct Command
{
   std::string_view name;    // one or more words: "interface", "expect call"
   std::string_view syntax;  // what follows the name
   std::string_view summary; // one line
   void ( *run )( Session& session, Words& words );
   bool announced = true; // its line is shown before it runs; else its outcome shows what it was
};

/// All commands, in the order in which documentation shows them.
const std::vector<Command>& commands();

/// The words that can follow a line that has so far only words of commands' names.
std::vector<std::string_view> commandWords( const Words& words );
/// The command with the longest name that the line starts with, or null.
const Command* findCommand( const Words& words );
/// Takes the longest name that the line starts with. InputError, with the nearest name, when there is none.
const Command& takeCommand( Words& words );

// The themes.
std::vector<Command> switchCommands();
std::vector<Command> stateCommands();
std::vector<Command> faultCommands();
std::vector<Command> runCommands();
std::vector<Command> showCommands();
std::vector<Command> expectCommands();
std::vector<Command> expectEventCommands();
std::vector<Command> myStationCommands();
std::vector<Command> chipCommands();
std::vector<Command> tableCommands();
std::vector<Command> showTableCommands();
std::vector<Command> packetCommands();

} // namespace Strata::Tool
