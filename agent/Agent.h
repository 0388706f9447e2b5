// A small switch agent: the parts around the slice, on a simulated switch. It makes the helper with its inputs,
// finds every object by a short name, and advances the clock.
//
// Requires: the activity lock is held while an agent is made, used and destroyed, and there is one agent at a time.
#pragma once

#include "platform/runtime/Clock.h"
#include "recording/Recorder.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/reactors/L3PeerMacArpRedirectSm.h"
#include "routing/reactors/RoutingStatusSm.h"
#include "sim/switch/SimSwitch.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Tool {

using Vormel::Entity;
using Vormel::Ref;

struct AgentConfig
{
   Sim::SimSwitchConfig hardware;
   std::string helperName = "routing";
   std::optional<bool> fabricMode;       // by default as in the chip's profile
   Sim::Transcript::Listener listener{}; // gets the transcript from the start
   Sim::Transcript::Filter hears{};      // the kinds of records that it gets; all without a filter
   bool keepsRecords = true;
   std::string recordingFile{}; // written by a Recorder; empty for none
   U64 recordingLimit = 0;      // of the file, in bytes; 0 for none
};

class Agent
{
 public:
   /// Makes the switch and the helper; does not program hardware. ValueError when the configuration is invalid.
   explicit Agent( const AgentConfig& config );
   Agent( const Agent& ) = delete;
   Agent& operator=( const Agent& ) = delete;
   ~Agent();

   Sim::SimSwitch& hardware() { return hardware_; }
   const Sim::SimSwitch& hardware() const { return hardware_; }
   const Ref<RoutingStatusHelper>& helper() const { return helper_; }
   /// Runs an agent's start: init, l3Init, then the reactors.
   void bringUp();
   /// Makes the reactors; earlier ones are dropped first. From then on the hardware follows changes of the input
   /// objects. The reactors do not get the inputs named here, which optionalInputs() lists.
   void startReactors( const std::set<std::string_view>& without = {} );
   /// The inputs, by object name, that the main reactor does not need.
   static std::span<const std::string_view> optionalInputs();
   /// Drops the reactors; the hardware stays as it is.
   void stop();
   /// Null until the reactors are started.
   const Ref<RoutingStatusSm>& reactor() const { return reactor_; }

   /// The clock of the slice's timers; it advances only when told to.
   Vormel::ManualClock& clock() { return *clock_; }

   /// Calls operations of the helper, and records them if there is a recording.
   Recorder& recorder() { return recorder_; }
   const Recorder& recorder() const { return recorder_; }

   /// "helper", an entry manager ("main", ...), an input object, or an interface's status by the interface's
   /// name; null when there is none.
   Ref<Entity> object( std::string_view name ) const;
   /// All names except those of interfaces.
   std::vector<std::string> objectNames() const;

   /// The text of a value: the short names of objects, the text form of all other values.
   std::string valueText( const Vormel::Value& value ) const;

   /// The object's initial values, as texts of valueText(): those of the helper after its constructor, those of the
   /// input objects when the switch was made. Empty for objects that were made later.
   using Values = std::map<std::string, std::string>;
   Values initialValues( const Entity& object ) const;

   /// A helper with the same inputs, as the constructor leaves it.
   Ref<RoutingStatusHelper> newHelper();

 private:
   Values valuesOf( const Entity& object ) const;

   AgentConfig config_;
   std::shared_ptr<Vormel::ManualClock> clock_;
   Sim::SimSwitch hardware_;
   Recorder recorder_;
   class RecordedSinks;
   std::unique_ptr<RecordedSinks> recordedSinks_; // null without a recording
   Ref<RoutingStatusHelper> helper_;
   Ref<RoutingStatusSm> reactor_;
   Ref<L3PeerMacArpRedirectSm> arpRedirect_;
   std::map<const Entity*, Values> initialValues_;
};

} // namespace Strata::Tool
