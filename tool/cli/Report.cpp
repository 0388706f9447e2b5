// strata-l3 report: a run, or a recording, as one HTML file.
#include "report/Report.h"
#include "cover/Solver.h"
#include "desk/RecordingFile.h"
#include "sim/chip/ChipProfile.h"
#include "tool/Chronicler.h"
#include "tool/ScenarioFile.h"
#include "tool/WholeFile.h"
#include "tool/cli/Subcommand.h"
#include "tool/view/Console.h"

#include <filesystem>
#include <fstream>
#include <ostream>
#include <stdexcept>
#include <string>

namespace Strata::Tool {

namespace {

constexpr std::string_view firstLine = "<!DOCTYPE html>";

/// std::runtime_error if the file has contents that are not a page.
void checkPage( const std::string& file )
{
   if( std::filesystem::is_directory( file ) )
      throw std::runtime_error( "'" + file + "' is a directory; give the report another name" );
   std::ifstream in( file );
   std::string line;
   if( in && std::getline( in, line ) && !line.starts_with( firstLine ) )
      throw std::runtime_error(
         "'" + file + "' exists and is not a page; give the report another name" );
}

class ReportSubcommand : public Subcommand
{
 public:
   CLI::App* declare( CLI::App& app ) override
   {
      CLI::App* const report =
         app.add_subcommand( "report", "Run a scenario, and write what happened as a web page" );
      report
         ->add_option( "scenario", file_, "The scenario file, or a recording; - is standard input" )
         ->required();
      report->add_option( "tables", tables_,
         "Of a recording: a scenario to run on its twin, with what belongs to other parts of the agent, and packets" );
      report->add_option( "-o,--output", page_, "The page, one HTML file; - is standard output" )
         ->required();
      const auto profiles = Sim::chipProfileNames();
      report->add_option( "--profile", profile_, "Run on this chip instead of the scenario's" )
         ->check( CLI::IsMember( std::vector<std::string>( profiles.begin(), profiles.end() ) ) );
      report->add_flag( "--no-lint", passesEntries_,
         "Do not search for what is wrong with entries, as 'lint' does" );
      report->add_flag( "--transients", watchesEvents_,
         "Watch packets while each command of the scenario runs, as 'transient' does" );
      return report;
   }

   ExitStatus run( Terminal& terminal ) override
   {
      try {
         if( page_ != "-" ) {
            if( readsFile( file_, page_ ) )
               throw std::runtime_error(
                  "the report would overwrite the scenario '" + page_ + "'; give it another name" );
            checkPage( page_ );
         }
         std::ofstream nothing( "/dev/null" );
         ConsoleConfig config;
         config.quiet = true;
         Console console( nothing, terminal.err, config );
         Chronicler chronicler( [ & ] { write( chronicler, terminal ); } );
         chronicler.findsEntriesIs( !passesEntries_ );
         chronicler.chronicle().title = std::filesystem::path( file_ ).filename();
         console.listenerIs( &chronicler );
         const ExitStatus status = collect( chronicler, console );
         if( !chronicler.chronicle().events.empty() )
            write( chronicler, terminal );
         if( status == ExitStatus::failed )
            terminal.err << "strata-l3 report: not everything held; the report shows what\n"
                         << std::flush;
         return status;
      } catch( const std::exception& error ) {
         terminal.err << "strata-l3 report: " << error.what() << std::endl;
         return ExitStatus::error;
      }
   }

 private:
   ExitStatus collect( Chronicler& chronicler, Console& console ) const
   {
      if( !Desk::isRecording( file_ ) ) {
         if( !tables_.empty() )
            throw std::runtime_error( "a second file belongs to a recording, and '" + file_ +
                                      "' is a scenario; leave it out" );
         if( watchesEvents_ && !Cover::Solver::available() )
            throw std::runtime_error( "this build has no solver, which --transients needs; install "
                                      "Debian's libz3-dev and build again" );
         return runScenario(
            file_, console, { .profile = profile_, .watchesEvents = watchesEvents_ } );
      }
      if( watchesEvents_ )
         throw std::runtime_error( "a recording has no commands to watch; leave --transients out" );
      const Desk::RecordingFile recording( file_ );
      chronicler.chronicle().notes = recording.notes();
      return runOnTwin( recording, tables_, console );
   }

   void write( Chronicler& chronicler, Terminal& terminal ) const
   {
      if( page_ == "-" ) {
         Report::writeReport( terminal.out, chronicler.chronicle() );
         terminal.out.flush();
         return;
      }
      WholeFile page( page_ );
      Report::writeReport( page.out(), chronicler.chronicle() );
      page.finish();
   }

   std::string file_;
   std::string tables_;
   std::string page_;
   std::string profile_;
   bool passesEntries_ = false;
   bool watchesEvents_ = false;
};

} // namespace

std::unique_ptr<Subcommand> reportSubcommand()
{
   return std::make_unique<ReportSubcommand>();
}

} // namespace Strata::Tool
