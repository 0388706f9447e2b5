// The shell: commands of scenarios from the keyboard, or from a pipe.
#pragma once

#include "tool/Session.h"
#include "tool/cli/ConsoleOptions.h"
#include "tool/cli/Subcommand.h"

#include <functional>
#include <string>

namespace Strata::Tool {

class LineReader;

class ShellProgram
{
 public:
   /// Declares the options of every shell.
   void declare( CLI::App& subcommand );

   /// Runs the scenario, if `file` names one, and then the lines of the terminal. At a terminal, a session that has died is
   /// followed by a fresh one. `prepare` runs before the scenario of the first session; its exceptions end the program.
   ExitStatus run( Terminal& terminal, const std::string& file,
      const std::function<void( Session& )>& prepare = {} );

 private:
   ExitStatus runSessions( Console& console, Terminal& terminal );
   ExitStatus runSession( Console& console, Terminal& terminal, bool isFirst );
   void converse( Session& session, LineReader& reader );

   ConsoleOptions options_;
   std::string file_;
   std::function<void( Session& )> prepare_;
   bool unpaged_ = false;
   bool refused_ = false;
};

} // namespace Strata::Tool
