// strata-l3 diff: what two scenarios or recordings do differently.
#include "desk/RecordingFile.h"
#include "desk/SwitchState.h"
#include "platform/runtime/Activity.h"
#include "tool/cli/Subcommand.h"
#include "tool/view/ChangesView.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <ostream>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace Strata::Tool {

namespace {

using nlohmann::ordered_json;

/// A hardware call, with the names of roles instead of the SDK's numbers.
struct MadeCall
{
   std::string text;
   std::string line; // that made it, with its place
};

/// What a scenario did.
struct RunOutcome
{
   std::vector<MadeCall> calls;
   Desk::SwitchState state;
};

/// The calls around the first that is not the same in both.
struct Divergence
{
   std::size_t number; // of the call; the first is 1
   const MadeCall* a;  // null behind the last call
   const MadeCall* b;
   std::vector<const MadeCall*> before; // in both, at most five
};

std::optional<Divergence> firstDivergence(
   const std::vector<MadeCall>& a, const std::vector<MadeCall>& b )
{
   const auto [ inA, inB ] = std::ranges::mismatch( a, b, {}, &MadeCall::text, &MadeCall::text );
   if( inA == a.end() && inB == b.end() )
      return std::nullopt;
   const auto index = static_cast<std::size_t>( inA - a.begin() );
   Divergence found{
      index + 1, inA == a.end() ? nullptr : &*inA, inB == b.end() ? nullptr : &*inB, {} };
   for( std::size_t i = index - std::min<std::size_t>( index, 5 ); i < index; ++i )
      found.before.push_back( &a[ i ] );
   return found;
}

/// A file that is removed at the end of its lifetime.
class TemporaryFile
{
 public:
   TemporaryFile()
   {
      const int descriptor = ::mkstemp( name_.data() );
      if( descriptor < 0 )
         throw std::system_error( errno, std::generic_category(), "cannot make " + name_ );
      ::close( descriptor );
   }
   ~TemporaryFile() { std::filesystem::remove( name_ ); }
   TemporaryFile( const TemporaryFile& ) = delete;
   TemporaryFile& operator=( const TemporaryFile& ) = delete;

   const std::string& name() const { return name_; }

 private:
   std::string name_ = std::filesystem::temp_directory_path() / "strata-l3-XXXXXX";
};

class Diff : public Subcommand
{
 public:
   CLI::App* declare( CLI::App& app ) override
   {
      CLI::App* const diff = app.add_subcommand(
         "diff", "Show what two scenarios, or recordings, do to the chips differently" );
      diff->add_option( "first", a_, "A scenario file or a recording" )->required();
      diff->add_option( "second", b_, "The scenario file or recording to compare with" )
         ->required();
      diff->add_flag( "--json", json_, "The result as one JSON object" );
      return diff;
   }

   ExitStatus run( Terminal& terminal ) override
   {
      RunOutcome a;
      RunOutcome b;
      // A recording knows less of a switch than the switch itself, so it is compared with a recording.
      const bool recorded = Desk::isRecording( a_ ) || Desk::isRecording( b_ );
      try {
         for( const auto& [ file, outcome ] : { std::pair( &a_, &a ), std::pair( &b_, &b ) } ) {
            const ExitStatus status = recorded ? readInto( *outcome, *file, terminal )
                                               : runInto( *outcome, *file, terminal );
            if( status == ExitStatus::error )
               return status;
         }
      } catch( const std::exception& error ) {
         terminal.err << "strata-l3 diff: " << error.what() << std::endl;
         return ExitStatus::error;
      }
      const auto divergence = firstDivergence( a.calls, b.calls );
      const auto differences = Desk::differences( a.state, b.state );
      const Table table = changesTable( differences );
      if( json_ )
         terminal.out << resultJson( a, b, divergence, table ).dump() << '\n';
      else
         writeText( terminal, a, divergence, table );
      terminal.out.flush();
      return divergence || !differences.empty() ? ExitStatus::failed : ExitStatus::held;
   }

 private:
   /// A recording, or a scenario that is recorded for it.
   static ExitStatus readInto( RunOutcome& outcome, const std::string& file, Terminal& terminal )
   {
      std::ofstream nothing( "/dev/null" );
      Console console( nothing, terminal.err, quiet() );
      const TemporaryFile copy;
      if( !Desk::isRecording( file ) )
         if( const ExitStatus status =
                runScenario( file, console, { .recordingFile = copy.name() } );
             status == ExitStatus::error )
            return status;
      const Desk::RecordingFile recording( Desk::isRecording( file ) ? file : copy.name() );
      for( const Desk::RecordedLine& record : recording.records() )
         if( record.kind == Desk::RecordedKind::begin ) {
            const Desk::Json json = record.json();
            outcome.calls.push_back(
               { Desk::recordText( json ), "record " + std::to_string( record.number ) + ", in " +
                                              recording.eventText( json ) } );
         }
      const Vormel::LockAnchor lock( Vormel::activityLock() );
      Session session( console );
      session.twinIs( recording );
      outcome.state = Desk::SwitchState( session.agent().hardware() );
      return ExitStatus::held;
   }

   static ConsoleConfig quiet()
   {
      ConsoleConfig config;
      config.quiet = true;
      return config;
   }

   /// The scenario's own output is left away; its errors are not.
   static ExitStatus runInto( RunOutcome& outcome, const std::string& file, Terminal& terminal )
   {
      std::ofstream nothing( "/dev/null" );
      Console console( nothing, terminal.err, quiet() );
      const auto note = [ & ]( const Session& session, const Sim::Record& record ) {
         if( !isCall( record ) )
            return;
         const Line* const line = session.running();
         outcome.calls.push_back(
            { record.text, line ? placeText( *line ) + ": " + commandText( *line ) : "" } );
      };
      return runScenario( file, console, { .listener = note }, [ & ]( const Session& session ) {
         if( session.hasAgent() )
            outcome.state = Desk::SwitchState( session.agent().hardware() );
      } );
   }

   void writeText( Terminal& terminal, const RunOutcome& a,
      const std::optional<Divergence>& divergence, const Table& table ) const
   {
      std::ostream& out = terminal.out;
      if( !divergence )
         out << "Hardware calls: the same, " << a.calls.size() << '\n';
      else {
         out << "Hardware calls: number " << divergence->number << " is the first that differs\n";
         for( const MadeCall* const call : divergence->before )
            out << "   in both  " << call->text << '\n';
         for( const auto& [ file, call ] :
            { std::pair( &a_, divergence->a ), std::pair( &b_, divergence->b ) } )
            if( call )
               out << "   in " << *file << "  " << call->text << "\n      by " << call->line
                   << '\n';
            else
               out << "   in " << *file << "  no more calls\n";
      }
      if( table.empty() )
         out << "What the chips hold at the end: the same\n";
      else {
         out << "What the chips hold at the end: " << a_ << " -> " << b_ << '\n';
         for( const Table::TextLine& line : table.lines() )
            out << line.text << '\n';
      }
   }

   static ordered_json callJson( const MadeCall* call )
   {
      if( !call )
         return nullptr;
      return { { "call", call->text }, { "line", call->line } };
   }

   static ordered_json resultJson( const RunOutcome& a, const RunOutcome& b,
      const std::optional<Divergence>& divergence, const Table& table )
   {
      ordered_json first;
      if( divergence ) {
         auto before = ordered_json::array();
         for( const MadeCall* const call : divergence->before )
            before.push_back( call->text );
         first = { { "number", divergence->number }, { "before", before },
            { "first", callJson( divergence->a ) }, { "second", callJson( divergence->b ) } };
      }
      return { { "kind", "diff" },
         { "calls", { { "first", a.calls.size() }, { "second", b.calls.size() } } },
         { "divergence", first }, { "changes", table.json() } };
   }

   std::string a_;
   std::string b_;
   bool json_ = false;
};

} // namespace

std::unique_ptr<Subcommand> diffSubcommand()
{
   return std::make_unique<Diff>();
}

} // namespace Strata::Tool
