// The options of subcommands that drive a session: what it writes, where to, and what it traces.
#pragma once

#include "tool/Console.h"
#include "tool/cli/Terminal.h"

#include <CLI/CLI.hpp>
#include <string>
#include <utility>
#include <vector>

namespace Vormel {
class TraceHandle;
}

namespace Strata::Tool {

/// Trace levels are the process's; whoever sets some leaves them as they were.
class TraceLevels
{
 public:
   TraceLevels();
   ~TraceLevels();
   TraceLevels( const TraceLevels& ) = delete;
   TraceLevels& operator=( const TraceLevels& ) = delete;

 private:
   std::vector<std::pair<Vormel::TraceHandle*, U32>> before_;
};

class ConsoleOptions
{
 public:
   void declare( CLI::App& subcommand );

   /// After the command line was read.
   ConsoleConfig config( const Terminal& terminal, const std::string& scenario ) const;
   /// ValueError for a handle that does not exist, or no level.
   void setTraceLevels() const;

 private:
   ConsoleConfig config_;
   std::vector<std::string> traces_;
   std::string colour_ = "auto";
};

} // namespace Strata::Tool
