// strata-l3 record: runs a scenario and records what the agent does.
#include "desk/RecordingFile.h"
#include "sim/chip/ChipProfile.h"
#include "tool/cli/ConsoleOptions.h"
#include "tool/cli/Subcommand.h"

#include <ostream>
#include <stdexcept>

namespace Strata::Tool {

namespace {

class RecordSubcommand : public Subcommand
{
 public:
   CLI::App* declare( CLI::App& app ) override
   {
      CLI::App* const record =
         app.add_subcommand( "record", "Run a scenario, and record its agent in a file" );
      record->add_option( "scenario", file_, "The scenario file; - is standard input" )->required();
      record->add_option( "-o,--output", recording_, "The recording" )->required();
      const auto profiles = Sim::chipProfileNames();
      record->add_option( "--profile", profile_, "Run on this chip instead of the scenario's" )
         ->check( CLI::IsMember( std::vector<std::string>( profiles.begin(), profiles.end() ) ) );
      record
         ->add_option( "--limit", limit_,
            "Rename the recording to FILE.old when it has so many bytes, and begin another" )
         ->type_name( "BYTES" );
      options_.declare( *record );
      return record;
   }

   ExitStatus run( Terminal& terminal ) override
   {
      const TraceLevels levels;
      try {
         options_.setTraceLevels();
         ConsoleConfig config = options_.config( terminal, file_ );
         Desk::checkReplaceable( recording_, "the recording" );
         Console console( terminal.out, terminal.err, config );
         bool isComplete = false;
         const ExitStatus status = runScenario( file_, console,
            { .profile = profile_,
               .keepsRecords = options_.keepsRecords(),
               .recordingFile = recording_,
               .recordingLimit = limit_ },
            [ & ]( const Session& session ) {
               isComplete = !session.hasAgent() || session.agent().recorder().recording();
            } );
         if( status != ExitStatus::error && !isComplete )
            throw std::runtime_error( "the recording '" + recording_ +
                                      "' has ended before the scenario: it could not be written" );
         return status;
      } catch( const std::exception& error ) {
         terminal.err << "strata-l3 record: " << error.what() << std::endl;
         return ExitStatus::error;
      }
   }

 private:
   std::string file_;
   std::string recording_;
   std::string profile_;
   U64 limit_ = 0;
   ConsoleOptions options_;
};

} // namespace

std::unique_ptr<Subcommand> recordSubcommand()
{
   return std::make_unique<RecordSubcommand>();
}

} // namespace Strata::Tool
