// strata-l3 run: runs a scenario.
#include "platform/runtime/Errors.h"
#include "platform/runtime/Trace.h"
#include "tool/Console.h"
#include "tool/cli/Subcommand.h"

#include <utility>
#include <vector>

namespace Strata::Tool {

namespace {

/// Trace levels are the process's; a run leaves them as it found them.
class TraceLevels
{
 public:
   TraceLevels()
   {
      for( Vormel::TraceHandle* const handle : Vormel::traceHandles() )
         before_.emplace_back( handle, handle->levels() );
   }
   ~TraceLevels()
   {
      for( const auto& [ handle, levels ] : before_ )
         handle->levelsIs( levels );
   }
   TraceLevels( const TraceLevels& ) = delete;
   TraceLevels& operator=( const TraceLevels& ) = delete;

 private:
   std::vector<std::pair<Vormel::TraceHandle*, U32>> before_;
};

class Run : public Subcommand
{
 public:
   CLI::App* declare( CLI::App& app ) override
   {
      CLI::App* const run = app.add_subcommand( "run", "Run a scenario" );
      run->add_option( "scenario", file_, "The scenario file" )->required();
      run->add_flag( "--json", config_.json, "Write everything as JSON lines" );
      run->add_option( "--transcript", config_.transcriptFile,
         "Also write everything to this file, as text, or as JSON lines with --json" );
      run->add_option( "--trace", traces_, "Set trace levels, as in ApiStrata=4" )
         ->type_name( "HANDLE=LEVEL" )
         ->allow_extra_args( false );
      run->add_flag(
         "--quiet", config_.quiet, "Show only what the scenario shows, and what fails" );
      run->add_option( "--color", colour_, "When to use colours: auto, always or never" )
         ->check( CLI::IsMember( { "auto", "always", "never" } ) );
      return run;
   }

   ExitStatus run( Terminal& terminal ) override
   {
      config_.colour = colour_ == "always" || ( colour_ == "auto" && terminal.showsColours );
      const TraceLevels levels;
      try {
         for( const std::string& trace : traces_ )
            Vormel::traceLevelsIs( trace );
         Console console( terminal.out, terminal.err, config_ );
         return runScenario( file_, console );
      } catch( const std::exception& error ) {
         terminal.err << "strata-l3 run: " << error.what() << std::endl;
         return ExitStatus::error;
      }
   }

 private:
   std::string file_;
   ConsoleConfig config_;
   std::vector<std::string> traces_;
   std::string colour_ = "auto";
};

} // namespace

std::unique_ptr<Subcommand> runSubcommand()
{
   return std::make_unique<Run>();
}

} // namespace Strata::Tool
