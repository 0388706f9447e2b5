// strata-l3 twin: the shell on the switch of a recording.
#include "desk/RecordingFile.h"
#include "tool/cli/ShellProgram.h"
#include "tool/cli/Subcommand.h"

#include <ostream>
#include <stdexcept>
#include <string>

namespace Strata::Tool {

namespace {

class TwinSubcommand : public Subcommand
{
 public:
   CLI::App* declare( CLI::App& app ) override
   {
      CLI::App* const twin = app.add_subcommand(
         "twin", "Ask about the switch of a recording: commands that show, explain and expect" );
      twin->add_option( "recording", recording_, "The recording" )->required();
      twin->add_option( "scenario", file_,
         "A scenario to run first, with what belongs to other parts of the agent: routes, MAC "
         "addresses, properties of VLANs" );
      program_.declare( *twin );
      return twin;
   }

   ExitStatus run( Terminal& terminal ) override
   {
      try {
         const Desk::RecordingFile recording( recording_ );
         return program_.run( terminal, file_, [ & ]( Session& session ) {
            try {
               session.twinIs( recording );
            } catch( const Desk::RecordingError& error ) {
               throw std::runtime_error( std::string( "strata-l3 twin: " ) + error.what() );
            }
            for( const std::string& note : recording.notes() )
               session.console().notice( recording_ + ": " + note );
         } );
      } catch( const Desk::RecordingError& error ) {
         terminal.err << "strata-l3 twin: " << error.what() << std::endl;
         return ExitStatus::error;
      }
   }

 private:
   std::string recording_;
   std::string file_;
   ShellProgram program_;
};

} // namespace

std::unique_ptr<Subcommand> twinSubcommand()
{
   return std::make_unique<TwinSubcommand>();
}

} // namespace Strata::Tool
