// The subcommands of strata-l3: one file each. To add one, write its file and list it in Cli.cpp.
#pragma once

#include "tool/ScenarioRun.h"
#include "tool/cli/Cli.h"

#include <CLI/CLI.hpp>
#include <memory>

namespace Strata::Tool {

class Subcommand
{
 public:
   virtual ~Subcommand();

   /// Declares its name, options and help below `app`.
   virtual CLI::App* declare( CLI::App& app ) = 0;
   virtual ExitStatus run( Terminal& terminal ) = 0;
};

std::unique_ptr<Subcommand> runSubcommand();
std::unique_ptr<Subcommand> shellSubcommand();
std::unique_ptr<Subcommand> recordSubcommand();
std::unique_ptr<Subcommand> replaySubcommand();
std::unique_ptr<Subcommand> anonymiseSubcommand();
std::unique_ptr<Subcommand> twinSubcommand();
std::unique_ptr<Subcommand> diffSubcommand();
std::unique_ptr<Subcommand> reportSubcommand();
std::unique_ptr<Subcommand> profilesSubcommand();
std::unique_ptr<Subcommand> attributesSubcommand();
std::unique_ptr<Subcommand> operationsSubcommand();
std::unique_ptr<Subcommand> commandsSubcommand();
std::unique_ptr<Subcommand> messagesSubcommand();
std::unique_ptr<Subcommand> completeSubcommand();

} // namespace Strata::Tool
