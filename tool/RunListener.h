// What a report is made of: gets what happens in a run, as values and in order, whether it is shown or not.
#pragma once

#include "platform/runtime/Types.h"
#include "sim/switch/Transcript.h"
#include "tool/words/Words.h"

#include <string>
#include <string_view>
#include <vector>

namespace Strata::Desk {
class RecordingFile;
}

namespace Strata::Report {
struct Transient;
}

namespace Strata::Sim {
struct Arrival;
struct Explanation;
struct Verdict;
} // namespace Strata::Sim

namespace Strata::Tool {

class Session;
class Table;
struct RunCounts;

class RunListener
{
 public:
   virtual ~RunListener();

   // From the session.

   /// A new switch is about to be made.
   virtual void switchBegins() = 0;
   /// The twin of a recording has been made; the session's window has the calls that made it.
   virtual void twinMade( const Session& session, const Desk::RecordingFile& recording ) = 0;
   /// The commands of a line begin; what comes next is about them.
   virtual void begins( const Line& line ) = 0;
   /// The session has taken its state: when the switch was made, then at each mark.
   virtual void marked( Session& session ) = 0;
   /// A packet is about to be sent, or is only explained.
   virtual void explained( Session& session, const Sim::Arrival& arrival,
      const Sim::Verdict& verdict, const Sim::Explanation& explanation, bool isSent ) = 0;
   /// A frame of a capture is about to be sent, by the present command.
   virtual void frameComes( Session& session, U32 frame, const Sim::Arrival& arrival ) = 0;
   /// Packets were watched while the present command ran: those that fared neither as before nor as after.
   virtual void watched( const std::vector<Report::Transient>& transients ) = 0;
   /// The switch is about to be dropped, or the run is over.
   virtual void switchEnds( Session& session ) = 0;

   // From the console.

   virtual void recorded( const Sim::Record& record ) = 0;
   virtual void noted( std::string_view text ) = 0;
   virtual void shown( const std::string& title, const Table& table ) = 0;
   /// What is JSON in each form.
   virtual void shown( const std::string& title, const std::string& json ) = 0;
   virtual void resulted( const std::string& text ) = 0;
   virtual void held( const Line& line ) = 0;
   virtual void failed(
      const Line& line, const std::string& expected, const std::string& found ) = 0;
   virtual void childWrote( std::string_view text ) = 0;
   /// A broken convention, or what the agent died of.
   virtual void complained( const std::string& text ) = 0;
   /// A line or file cannot be run, which ends the run.
   virtual void refused( const std::string& text ) = 0;
   /// The last that it gets: the process ends.
   virtual void died( const std::string& text ) = 0;
};

} // namespace Strata::Tool
