// The output of a run: the terminal and, if requested, a transcript file. Both get all lines in order, as text or as
// JSON lines. Every line is written before the next event, so a crash loses none.
#pragma once

#include "platform/runtime/Enum.h"
#include "platform/runtime/Types.h"
#include "sim/switch/Transcript.h"
#include "tool/view/Folding.h"
#include "tool/words/Filter.h"
#include "tool/words/Words.h"

#include <fstream>
#include <functional>
#include <iosfwd>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Tool {

struct ConsoleConfig
{
   bool json = false;
   bool quiet = false; // on the terminal only requested output and failures
   bool echo = true;   // also show commands; not needed on a terminal where they were typed
   bool colour = false;
   std::string transcriptFile; // empty for none
   bool screen = false;        // the output is a terminal, and as wide as that
   bool paged = false;         // what is shown and longer than the screen goes through a pager
   bool errorsBeside = false;  // standard error is the same terminal or file
   bool brief = false;         // on the terminal, repeated sequences of events are folded
   bool checking = false;      // only lines that cannot be run, and the end
};

class Console;
class RunListener;
class Table;

/// Collects what a command shows, and shows it at the end of its lifetime.
class Showing
{
 public:
   Showing( Console& console, std::vector<Filter> filters );
   ~Showing();
   Showing( const Showing& ) = delete;
   Showing& operator=( const Showing& ) = delete;

 private:
   Console& console_;
};

/// Leaves calls and notifications of its lifetime off the screen, unless `loud` has asked for them: a summary follows.
class Summing
{
 public:
   explicit Summing( Console& console );
   ~Summing();
   Summing( const Summing& ) = delete;
   Summing& operator=( const Summing& ) = delete;

 private:
   Console& console_;
};

/// How a run of commands ended.
VORMEL_ENUM( RunEnd, U8, complete,
   refused, // by a line that could not be run, or a file that could not be read
   died,    // with the agent
   checked  // every line, also behind those that could not be run
)

/// The counts of a run.
struct RunCounts
{
   U32 expectations = 0; // that were judged
   U32 failures = 0;     // among them
   U32 notJudged = 0;
   U32 broken = 0;  // conventions
   U32 refused = 0; // lines of a check
};

/// Sends the output of a child process line by line to the parent's console.
class ChildChannel
{
 public:
   virtual ~ChildChannel();
   virtual void send( char form, std::string_view text ) = 0;
};

class Console
{
 public:
   /// std::runtime_error when the transcript file cannot be written.
   Console( std::ostream& out, std::ostream& err, const ConsoleConfig& config );

   /// Sets what else gets all of the output, as values; null for nothing. It outlives the console.
   void listenerIs( RunListener* listener ) { listener_ = listener; }
   RunListener* listener() const { return listener_; }

   /// Whether the transcript is written to this file.
   bool writesTo( const std::string& file ) const;

   void command( const Line& line );
   /// Whether the next output is JSON rows instead of a table.
   void rowsAsJsonIs( bool json ) { rowsAsJson_ = json; }
   void note( std::string_view text ) { note( text, Weight::ordinary ); }
   /// A note that is shown even when quiet.
   void notice( std::string_view text ) { note( text, Weight::asked ); }
   void record( const Sim::Record& record );
   /// Whether a record of the kind would be written anywhere, or a listener gets it.
   bool hears( Sim::RecordKind kind ) const;
   /// Whether the text has calls, notifications and traces; at first it has. JSON always has them.
   void eventsShownIs( bool shown ) { eventsAsked_ = shown; }
   /// Output that the scenario requested. JSON output has `json` instead of the table.
   void table( const std::string& title, const Table& table );
   /// The same for what is expensive: of the two functions only those run whose result is written.
   using MakeTable = std::function<Table()>;
   using MakeRows = std::function<nlohmann::ordered_json()>;
   void table( const std::string& title, const MakeTable& table, const MakeRows& rows );
   /// The outcome of a command.
   void report( const std::string& title, const Table& table );
   /// Output that is JSON in both forms.
   void document( const std::string& title, const nlohmann::ordered_json& json );
   void records( const std::string& title, const std::vector<const Sim::Record*>& records );
   /// Between these two, output that was requested is filtered, and shown together.
   void showBegins( std::vector<Filter> filters );
   void showEnds();
   /// The lines of the screen for the pager, instead of the terminal's own number; 0 for no pager.
   void lengthIs( std::size_t lines ) { length_ = lines; }
   /// Help with the line that is being typed; not in the transcript.
   void hint( const std::string& title, const Table& table );
   /// Shows what is held back of the events of a command.
   void commandEnds() { folding_.flush(); }
   void result(
      std::string_view operation, const std::string& text, const nlohmann::ordered_json& value );
   void held( const Line& line );
   void failed( const Line& line, const std::string& expected, const std::string& found );
   /// A convention of the hardware calls was broken, and the run continues; null at the end of the run.
   void broken( const Line* line, const std::string& what );
   /// The agent ended unexpectedly, at this failure, of which a fatal record may have told already.
   void died( const Line& line, const std::string& failure, const std::string& context );
   /// The standard error of a child process.
   void childError( const std::string& text );
   /// The lines that a child process sent through its channel.
   void childLine( char form, std::string_view text );
   void summary( const std::string& file, const RunCounts& counts, RunEnd end = RunEnd::complete );
   /// A line could not be run. Writes to JSON and the transcript only; the error is reported elsewhere.
   void refused( const InputError& error );
   /// The same for a whole scenario, for which it also writes the end of the run.
   void refused( const std::string& file, const std::string& message );
   /// std::runtime_error if some output could not be written.
   void checkWritten();
   /// Says on standard error where the agent died, unless died() can be read there.
   void diedError( const Line& line );
   /// Writes to standard error, in both forms.
   void error( const std::string& text );

   /// Makes this the console of a child process: all further output goes to the channel. Requires: the channel
   /// outlives the console.
   void childOf( ChildChannel& channel );

 private:
   friend class Summing;

   enum class Weight : U8
   {
      detail, // not on the screen
      echo,   // of what was typed
      fatal,  // what standard error has, too
      ordinary,
      asked,  // shown even when quiet
      report, // shown even by a check
   };
   /// Makes lines of at most `width`. The terminal may be wider than what else has them.
   using Lines = std::function<std::vector<Toned>( std::size_t width )>;
   using Json = std::function<std::string()>;

   Weight weightOf( Sim::RecordKind kind ) const;
   bool isWritten( Sim::RecordKind kind ) const;
   void note( std::string_view text, Weight weight );
   /// Whether standard output has it.
   bool shows( Weight weight ) const;
   /// Whether anything has it.
   bool hears( Weight weight ) const;
   std::size_t width() const;
   static std::vector<Toned> tableLines(
      const std::string& title, const Table& table, std::size_t width );
   std::vector<Toned> filtered( std::vector<Toned> lines ) const;
   void show( const std::string& title, const Lines& lines, const MakeRows& rows );
   void outcome( Weight weight, const Lines& lines, const Json& json );
   void refuse( const nlohmann::ordered_json& record, const std::string& text );

   /// Of the functions only that runs whose result is written.
   void emit( Weight weight, const Lines& lines, const Json& json );
   void emitJson( Weight weight, const std::string& object );
   void emitText( Weight weight, const Lines& lines );
   void writeScreen( const std::vector<Toned>& lines );
   static void write( std::ostream& stream, bool colour, const std::vector<Toned>& lines );
   void writeTranscript( const std::vector<Toned>& lines );

   std::ostream& out_;
   std::ostream& err_;
   Folding folding_{ [ this ]( const Toned& line ) { write( out_, config_.colour, { line } ); } };
   ConsoleConfig config_;
   std::ofstream transcript_;
   ChildChannel* channel_ = nullptr;
   RunListener* listener_ = nullptr;
   std::vector<Filter> filters_;
   std::optional<std::vector<Toned>> page_; // while output is collected
   std::optional<std::size_t> length_;
   bool folds_ = false; // the present lines
   bool rowsAsJson_ = false;
   std::optional<bool> eventsAsked_; // by `loud` or `quiet`
   bool summing_ = false;            // the present command
   bool reported_ = false;           // something since the last heading
   bool blank_ = true;               // the last line was
   bool happened_ = false;           // the last thing was an event, not an outcome
};

} // namespace Strata::Tool
