// strata-l3 run: runs a scenario.
#include "tool/cli/ConsoleOptions.h"
#include "tool/cli/Subcommand.h"

namespace Strata::Tool {

namespace {

class Run : public Subcommand
{
 public:
   CLI::App* declare( CLI::App& app ) override
   {
      CLI::App* const run = app.add_subcommand( "run", "Run a scenario" );
      run->add_option( "scenario", file_, "The scenario file" )->required();
      options_.declare( *run );
      return run;
   }

   ExitStatus run( Terminal& terminal ) override
   {
      const TraceLevels levels;
      try {
         options_.setTraceLevels();
         Console console( terminal.out, terminal.err, options_.config( terminal, file_ ) );
         return runScenario( file_, console );
      } catch( const std::exception& error ) {
         terminal.err << "strata-l3 run: " << error.what() << std::endl;
         return ExitStatus::error;
      }
   }

 private:
   std::string file_;
   ConsoleOptions options_;
};

} // namespace

std::unique_ptr<Subcommand> runSubcommand()
{
   return std::make_unique<Run>();
}

} // namespace Strata::Tool
