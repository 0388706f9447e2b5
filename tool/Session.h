// One run of commands: their agent, their expectations, and the present line.
//
// Requires: the activity lock is held.
#pragma once

#include "agent/Agent.h"
#include "desk/Probes.h"
#include "desk/RecordingFile.h"
#include "desk/SwitchState.h"
#include "tool/packet/AcceptedTransients.h"
#include "tool/packet/PacketDesk.h"
#include "tool/view/Console.h"
#include "tool/words/Words.h"

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Tool {

/// "OBJECT.attribute" or "OBJECT.attribute[KEY]", resolved.
struct AttributePath
{
   Ref<Entity> object;
   const Vormel::Attribute* attribute;
   std::string text; // as given
   std::optional<std::string> key;
};

class Session;
struct Command;
/// Whether it is of an SDK call or an entry manager's operation.
inline bool isCall( const Sim::Record& record )
{
   return record.kind == Sim::RecordKind::call || record.kind == Sim::RecordKind::entry;
}

/// Gets the hardware calls, the refused claims and the notes, while the line that makes them runs.
using RecordListener = std::function<void( const Session&, const Sim::Record& )>;

struct SessionConfig
{
   std::string profile{}; // of all switches, instead of the one in their line; empty for that
   bool keepsRecords = true;
   bool checking = false;       // judges no expectation and writes no capture
   std::string recordingFile{}; // of the switch; empty for none
   U64 recordingLimit = 0;      // of the file, in bytes; 0 for none
   bool watchesEvents =
      false; // for packets that meanwhile fare otherwise; needs a solver or probes
   RecordListener listener{};
};

class Session
{
 public:
   explicit Session( Console& console, SessionConfig config = {} );
   Session( const Session& ) = delete;
   Session& operator=( const Session& ) = delete;
   ~Session();

   /// Runs one command; an empty line has no effect. Its output is JSON if the line ends with --json. InputError if
   /// it cannot be run; Interrupted if Ctrl-C has stopped it, or came before it.
   void run( const Line& line );

   /// Whether quit() was called.
   bool over() const { return over_; }
   void quit() { over_ = true; }

   Console& console() { return console_; }
   const Console& console() const { return console_; }

   bool hasAgent() const { return agent_ != nullptr; }
   /// While hasAgent().
   Agent& agent() { return *agent_; }
   const Agent& agent() const { return *agent_; }
   void agentIs( AgentConfig config );
   void agentDel();
   /// Makes the twin of a recording, in place of a switch: its chips as the recorded agent left them, and no slice, so that
   /// commands that need one are refused. Desk::RecordingError if it cannot be made.
   void twinIs( const Desk::RecordingFile& recording );
   bool isTwin() const { return isTwin_; }
   /// InputError if a twin cannot run the command.
   void checkPossible( const Words& words, const Command& command ) const;
   /// ValueError when the configuration is invalid.
   void check( const AgentConfig& config ) const;
   /// Whether the switch has another profile than that in its line: expectations are not judged, and broken
   /// conventions are reported instead of ending the process.
   bool foreign() const { return foreign_; }
   bool checking() const { return config_.checking; }
   /// Whether lines that cannot be run are only reported: in a check, but not in a copy of the process.
   bool passesRefused() const { return checking() && !isCopy(); }
   /// Whether it is that of a copy of the process.
   bool isCopy() const { return channel_ != nullptr; }
   /// Whether the records since the last mark are kept.
   bool keepsRecords() const { return config_.keepsRecords; }
   /// The switch's packets, while hasAgent().
   PacketDesk& packets() { return *packets_; }
   const PacketDesk& packets() const { return *packets_; }
   /// The packets that are kept by name, also from one switch to the next.
   Desk::Probes& probes() { return probes_; }
   const Desk::Probes& probes() const { return probes_; }

   AcceptedTransients& acceptedTransients() { return acceptedTransients_; }
   /// Tells of lines that have accepted no transient in the run.
   void tellIdleAcceptances();

   // While hasAgent().

   /// Takes the name of an object.
   Ref<Entity> takeObject( Words& words ) const;
   /// Takes an attribute's path; without an object it is the helper's. RangeError for a slot that an array lacks.
   AttributePath takeAttribute( Words& words ) const;
   /// Takes an expected value of an attribute that holds objects: the name of one, or "none". A member that has been
   /// removed keeps its name, which is its key.
   std::string takeObjectName( Words& words, const AttributePath& path ) const;
   /// Takes a unit number of the switch.
   U32 takeUnit( Words& words ) const;
   /// Takes the SDK's number of a port, on a unit that is not known yet.
   int takePortNumber( Words& words ) const;
   /// Takes a port number, then `[unit N]`: all units that it may be on.
   std::pair<int, std::vector<U32>> takePortAndUnits( Words& words ) const;
   /// Takes `unit N`, if it is next; otherwise all units.
   std::vector<U32> takeUnits( Words& words ) const;

   /// The last hardware call; empty if there was none.
   const std::string& lastCall() const { return lastCall_; }
   /// The broken convention that was reported last; empty if another record came behind it.
   const std::string& lastBreach() const { return lastBreach_; }
   /// The first claim that an entry manager refused; empty if there was none.
   const std::string& firstRefusedClaim() const { return firstRefusedClaim_; }
   /// The records since the last mark.
   const std::deque<Sim::Record>& window() const;
   /// Starts a new window and forgets the records of the present one.
   void mark();
   /// What the chips held at the last mark; at first, when the switch was made.
   const Desk::SwitchState& stateAtMark() const { return stateAtMark_; }

   /// Reports an expectation of the running command with its result.
   void expect( bool held, const std::string& expected, const std::string& found );
   const RunCounts& counts() const { return counts_; }
   U32 failures() const { return counts_.failures; }
   /// A convention of the hardware calls was broken on a foreign profile.
   void broken( const std::string& what );
   /// Reports and counts a line that cannot be run, of a check; an error once that several lines meet.
   void refused( const InputError& error );
   /// Whether the last `switch` line of a check was refused, so that there is nothing to run lines on.
   bool hasLostSwitch() const { return hasLostSwitch_; }
   void hasLostSwitchIs( bool lost ) { hasLostSwitch_ = lost; }
   /// Reports a line that cannot be run on the foreign profile.
   void passedOver( const Line& line, const std::string& why );
   /// Ends the switch: the critic reports calls that are missing at the end.
   void end();

   /// Sets the listener, and returns the one before.
   RecordListener listenerIs( RecordListener listener )
   {
      return std::exchange( config_.listener, std::move( listener ) );
   }

   /// The line that runs, for reports while it runs; null if none does.
   const Line* running() const { return running_; }

   /// Makes this the session of a child process, which runs one more command.
   void childOf( ChildChannel& channel );

 private:
   void heard( const Sim::Record& record );
   // For the transcript of the agent.
   Sim::Transcript::Listener listener();
   Sim::Transcript::Filter filter() const;
   void makeAgent( AgentConfig config );
   /// As this session makes it, which may have a profile of its own.
   Sim::SimSwitchConfig played( Sim::SimSwitchConfig config ) const;
   Ref<Entity> objectNamed( const Words& words, std::string_view name ) const;

   Console& console_;
   std::unique_ptr<Agent> agent_;
   std::unique_ptr<PacketDesk> packets_; // of the agent's switch
   Desk::Probes probes_;
   AcceptedTransients acceptedTransients_;
   const Line* running_ = nullptr; // the innermost of an included file
   std::optional<Line> last_;      // the line that ran last
   SessionConfig config_;
   Desk::SwitchState stateAtMark_;
   std::string lastCall_;
   std::string lastBreach_;
   std::string firstRefusedClaim_;
   bool foreign_ = false;
   bool isTwin_ = false;
   bool over_ = false;
   bool hasLostSwitch_ = false;
   ChildChannel* channel_ = nullptr;  // of a child
   std::set<std::string> refusals_{}; // of a check
   RunCounts counts_;
};

/// Listens as long as it exists, beside the listener that is there.
class Listening
{
 public:
   Listening( Session& session, std::function<void( const Sim::Record& )> heard )
      : session_( session ),
        before_( session.listenerIs(
           [ this, heard = std::move( heard ) ]( const Session& live, const Sim::Record& record ) {
              if( before_ )
                 before_( live, record );
              heard( record );
           } ) )
   {}
   Listening( const Listening& ) = delete;
   Listening& operator=( const Listening& ) = delete;
   ~Listening() { session_.listenerIs( std::move( before_ ) ); }

 private:
   Session& session_;
   RecordListener before_;
};

} // namespace Strata::Tool
