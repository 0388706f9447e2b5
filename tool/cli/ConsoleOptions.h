// The options of subcommands with a session: output, files and traces.
#pragma once

#include "tool/cli/Cli.h"
#include "tool/view/Console.h"

#include <CLI/CLI.hpp>
#include <string>
#include <utility>
#include <vector>

namespace Vormel {
class TraceHandle;
}

namespace Strata::Tool {

/// Restores the trace levels, which belong to the process, at the end of its lifetime.
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

   /// Requires: the command line has been parsed.
   ConsoleConfig config( const Terminal& terminal, const std::string& scenario ) const;
   /// Whether the session keeps records for expectations and show commands.
   bool keepsRecords() const { return !forgets_; }
   /// ValueError for a handle or level that does not exist; std::runtime_error for a handle that is given twice.
   void setTraceLevels() const;

 private:
   ConsoleConfig config_;
   std::vector<std::string> traces_;
   std::string colour_ = "auto";
   bool forgets_ = false;
};

} // namespace Strata::Tool
