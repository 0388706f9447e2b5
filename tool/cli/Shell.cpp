// strata-l3 shell: the commands of scenarios from the keyboard.
#include "tool/cli/ShellProgram.h"
#include "tool/cli/Subcommand.h"

#include <string>

namespace Strata::Tool {

namespace {

class Shell : public Subcommand
{
 public:
   CLI::App* declare( CLI::App& app ) override
   {
      CLI::App* const shell = app.add_subcommand( "shell", "Type the commands of scenarios" );
      shell->add_option( "scenario", file_, "A scenario to run first" );
      program_.declare( *shell );
      return shell;
   }

   ExitStatus run( Terminal& terminal ) override { return program_.run( terminal, file_ ); }

 private:
   std::string file_;
   ShellProgram program_;
};

} // namespace

std::unique_ptr<Subcommand> shellSubcommand()
{
   return std::make_unique<Shell>();
}

} // namespace Strata::Tool
