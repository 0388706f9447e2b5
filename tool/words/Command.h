// The commands of scenarios: one small function each, in tool/commands/ by theme. The registry is the one
// place that knows them all: for running, help and completion.
//
// A command parses before it acts. Its function takes the words and returns what is to be done; it sees a const
// session, so a line that it refuses has changed nothing, and completion can call it at any time.
#pragma once

#include "tool/words/Words.h"

#include <functional>
#include <string_view>
#include <vector>

namespace Strata::Tool {

class Session;

/// The forms of NEXTHOP in the syntax of commands.
inline constexpr std::string_view nextHopSyntax =
   "PORT|LAG mac MAC vlan ID; cpu; flood mac MAC vlan ID; tunnel NAME mac MAC vlan ID";

/// The act of a line. It contains values, or references to the words of its line, which outlive it.
using Act = std::function<void( Session& session )>;

struct Command
{
   std::string_view name;    // one or more words: "interface", "expect call"
   std::string_view syntax;  // the words behind the name
   std::string_view summary; // one line
   Act ( *parse )( const Session& session, Words& words ); // leaves the end of the line to act()
   bool announced = true;     // its line is shown before it runs; otherwise its outcome shows it
   bool needsSwitch = true;   // parse() is called only if there is a switch
   bool needsRecords = false; // it looks at the records since the last mark

   /// Whether it only shows something: as rows, which can be JSON and be filtered.
   bool shows() const
   {
      return name.starts_with( "show " ) || name == "explain" || name == "cover" ||
             name == "lint" || name == "plan" || name == "help";
   }
   /// Whether the line may end with --json.
   bool takesJson() const { return shows() || name == "pcap" || name == "transient"; }
   /// Whether it changes a switch that exists.
   bool isEvent() const;

   /// Parses the line to its end. InputError, also from the act, with the place of the error.
   Act act( const Session& session, Words& words ) const;
};

/// Parses a command without words.
template<void ( *act )( Session& session )>
Act parseNone( const Session&, Words& )
{
   return act;
}

/// All commands of scenarios, in the order in which documentation shows them.
const std::vector<Command>& commands();

/// The commands by theme. The last theme is the shell's, which scenarios do not have.
struct Theme
{
   std::string_view title;
   std::vector<Command> commands;
};
const std::vector<Theme>& themes();

/// Takes a command's name; one of the shell's in a line that was typed. InputError, with the nearest name, if there is no
/// such command.
const Command& takeCommand( Words& words );

/// Takes the words of a name, or of its start, to the end of the line. InputError if no command has them.
std::string takeNameStart( Words& words );

// The themes.
std::vector<Command> switchCommands();
std::vector<Command> stateCommands();
std::vector<Command> faultCommands();
std::vector<Command> routerCommands();
std::vector<Command> runCommands();
std::vector<Command> showCommands();
std::vector<Command> expectCommands();
std::vector<Command> expectEventCommands();
std::vector<Command> expectPacketCommands();
std::vector<Command> myStationCommands();
std::vector<Command> chipCommands();
std::vector<Command> tableCommands();
std::vector<Command> routeCommands();
std::vector<Command> showPartsCommands();
std::vector<Command> showTableCommands();
std::vector<Command> changeCommands();
std::vector<Command> planCommands();
std::vector<Command> roomCommands();
std::vector<Command> packetCommands();
std::vector<Command> captureCommands();
std::vector<Command> probeCommands();
std::vector<Command> coverCommands();
std::vector<Command> transientCommands();
std::vector<Command> shellCommands();

} // namespace Strata::Tool
