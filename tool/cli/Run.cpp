// strata-l3 run: runs a scenario.
#include "desk/ChromeTrace.h"
#include "sim/chip/ChipProfile.h"
#include "tool/Session.h"
#include "tool/cli/ConsoleOptions.h"
#include "tool/cli/Subcommand.h"

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace Strata::Tool {

namespace {

class Run : public Subcommand
{
 public:
   CLI::App* declare( CLI::App& app ) override
   {
      CLI::App* const run = app.add_subcommand( "run", "Run a scenario" );
      run->add_option( "scenario", file_, "The scenario file; - is standard input" )->required();
      const auto profiles = Sim::chipProfileNames();
      CLI::Option* const profile =
         run->add_option( "--profile", profile_, "Run on this chip instead of the scenario's" );
      profile->check(
         CLI::IsMember( std::vector<std::string>( profiles.begin(), profiles.end() ) ) );
      options_.declare( *run );
      run->add_option( "--chrome-trace", trace_,
            "Write what the slice was given and did, with times, as trace events in JSON" )
         ->type_name( "FILE" );
      run->add_flag(
            "--check", check_, "Report every line that cannot be run; show and judge nothing" )
         ->excludes( profile )
         ->excludes( run->get_option( "--chrome-trace" ) )
         ->excludes( run->get_option( "--transcript" ) );
      return run;
   }

   ExitStatus run( Terminal& terminal ) override
   {
      const TraceLevels levels;
      try {
         options_.setTraceLevels();
         ConsoleConfig config = options_.config( terminal, file_ );
         config.checking = check_;
         Console console( terminal.out, terminal.err, config );
         if( check_ )
            return checkScenario( file_, console );
         // If the agent ends the process, the recording is left.
         const std::string recording = trace_.empty() ? trace_ : trace_ + ".recording";
         if( !trace_.empty() ) {
            Desk::checkChromeTrace( trace_ );
            Desk::checkReplaceable( recording, "the recording" );
            std::remove( recording.c_str() );
         }
         Desk::RoomSizes rooms;
         const ExitStatus status = runScenario( file_, console,
            { .profile = profile_,
               .keepsRecords = options_.keepsRecords(),
               .recordingFile = recording },
            [ & ]( Session& session ) {
               if( session.hasAgent() )
                  rooms = Desk::roomSizes( session.agent().hardware() );
            } );
         std::error_code none;
         if( std::filesystem::exists( recording, none ) ) { // also behind a line that cannot be run
            const Desk::RecordingFile recorded( recording );
            Desk::writeChromeTrace(
               recorded, rooms.empty() ? Desk::roomSizes( recorded ) : rooms, trace_ );
            std::remove( recording.c_str() );
         } else if( !trace_.empty() && status != ExitStatus::error ) {
            throw std::runtime_error(
               "there is no agent to trace: the scenario has no 'switch' line" );
         }
         return status;
      } catch( const std::exception& error ) {
         terminal.err << "strata-l3 run: " << error.what() << std::endl;
         return ExitStatus::error;
      }
   }

 private:
   std::string file_;
   std::string profile_;
   std::string trace_;
   bool check_ = false;
   ConsoleOptions options_;
};

} // namespace

std::unique_ptr<Subcommand> runSubcommand()
{
   return std::make_unique<Run>();
}

} // namespace Strata::Tool
