// One run of commands: the agent that they drive, what they expect, and where they stand.
//
// The activity lock is held throughout.
#pragma once

#include "tool/Agent.h"
#include "tool/Console.h"
#include "tool/Words.h"
#include "tool/packet/PacketDesk.h"

#include <memory>
#include <optional>
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

class Session
{
 public:
   /// With a profile, switches are of that one, whatever they ask for.
   explicit Session( Console& console, std::string profile = {} );
   Session( const Session& ) = delete;
   Session& operator=( const Session& ) = delete;
   ~Session();

   /// Runs one command; an empty line is nothing. What a command shows is JSON when its line ends with --json.
   /// InputError when it cannot be run.
   void run( const Line& line );

   Console& console() { return console_; }

   bool hasAgent() const { return agent_ != nullptr; }
   /// While hasAgent().
   Agent& agent() { return *agent_; }
   const Agent& agent() const { return *agent_; }
   void agentIs( AgentConfig config );
   /// ValueError when there can be no such agent.
   void check( const AgentConfig& config ) const;
   /// The switch is of another profile than it asked for: expectations are not judged, and broken conventions
   /// are told instead of ending the process.
   bool foreign() const { return foreign_; }
   /// The switch's packets, while hasAgent().
   PacketDesk& packets() { return *packets_; }
   const PacketDesk& packets() const { return *packets_; }

   // While hasAgent().

   /// Takes the name of an object.
   Ref<Entity> takeObject( Words& words ) const;
   /// Takes an attribute's path; without an object it is the helper's.
   AttributePath takeAttribute( Words& words ) const;
   /// Takes a unit number of the switch.
   U32 takeUnit( Words& words ) const;
   /// Takes a port number, then `[unit N]`: all units that it may be on.
   std::pair<int, std::vector<U32>> takePortAndUnits( Words& words ) const;
   /// The unit, if `unit N` comes next, else all units.
   std::vector<U32> takeUnits( Words& words ) const;

   /// The hardware call that came last; empty when there was none.
   std::string lastCall() const;
   /// The broken convention that the transcript ends with; empty for another end.
   std::string lastBreach() const;
   /// The claim that an entry manager refused first; empty when there was none.
   std::string firstRefusedClaim() const;
   /// What happened since the last mark.
   std::vector<const Sim::Record*> window() const;
   void mark();

   /// States an expectation about which the running command has found out.
   void expect( bool held, const std::string& expected, const std::string& found );
   const RunCounts& counts() const { return counts_; }
   U32 failures() const { return counts_.failures; }
   /// A convention of the hardware calls was broken on a foreign profile.
   void broken( const std::string& what );
   /// On a foreign profile: the line was meant for another chip.
   void passedOver( const Line& line, const std::string& why );
   /// The switch is finished: the critic checks what is left undone.
   void end();

   /// The line that runs, for whoever must report from the middle of it; null when none does.
   const Line* running() const { return running_; }

   /// This process is a child that runs one more command.
   void childOf( ChildChannel& channel );

 private:
   /// As this session makes it, which may have a profile of its own.
   Sim::SimSwitchConfig played( Sim::SimSwitchConfig config ) const;
   Ref<Entity> objectNamed( const Words& words, std::string_view name ) const;

   Console& console_;
   std::unique_ptr<Agent> agent_;
   std::unique_ptr<PacketDesk> packets_; // of the agent's switch
   const Line* running_ = nullptr;
   std::optional<Line> last_; // what ran last
   U64 windowStart_ = 0;      // number of the last record before it
   std::string profile_;      // empty: what the switch asks for
   bool foreign_ = false;
   ChildChannel* channel_ = nullptr; // of a child
   RunCounts counts_;
};

} // namespace Strata::Tool
