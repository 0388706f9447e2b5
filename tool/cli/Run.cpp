// strata-l3 run: runs a scenario.
#include "sim/chip/ChipProfile.h"
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
      const auto profiles = Sim::chipProfileNames();
      run->add_option( "--profile", profile_, "Run on this chip instead of the scenario's" )
         ->check( CLI::IsMember( std::vector<std::string>( profiles.begin(), profiles.end() ) ) );
      options_.declare( *run );
      return run;
   }

   ExitStatus run( Terminal& terminal ) override
   {
      const TraceLevels levels;
      try {
         options_.setTraceLevels();
         Console console( terminal.out, terminal.err, options_.config( terminal, file_ ) );
         return runScenario( file_, console, profile_ );
      } catch( const std::exception& error ) {
         terminal.err << "strata-l3 run: " << error.what() << std::endl;
         return ExitStatus::error;
      }
   }

 private:
   std::string file_;
   std::string profile_;
   ConsoleOptions options_;
};

} // namespace

std::unique_ptr<Subcommand> runSubcommand()
{
   return std::make_unique<Run>();
}

} // namespace Strata::Tool
