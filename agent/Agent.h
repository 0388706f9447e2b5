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

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
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

/// What becomes of the chips when an agent starts again.
enum class Restart : U8
{
   cold, // they are reset
   warm, // they stay as they are, and the new agent adopts what it claims
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

   /// Calls an operation of the helper, and records it if there is a recording; a new start repeats it. AccessError and
   /// ArgumentError as for the operation.
   template<class... Arguments>
   Vormel::Value call( std::string_view operation, const Arguments&... arguments )
   {
      const std::array<Vormel::Value, sizeof...( Arguments )> values{
         Vormel::ValueTraits<Arguments>::value( arguments )... };
      return callWith( operation, values );
   }
   Vormel::Value callWith( std::string_view operation, std::span<const Vormel::Value> arguments );

   /// The agent ends where it is, and a new one starts with the same inputs: it makes a helper, repeats the last call of
   /// each operation (of each for a VLAN, port, interface, ...) and the start of the reactors, in the order of these
   /// calls, and removes what it has not claimed. Returns the names of that. Inputs that have changed since
   /// the reactors were made come as changes again.
   ///
   /// Requires: there is no recording, which is one of a single agent.
   std::vector<std::string> restart( Restart kind );
   /// Null until the reactors are started.
   const Ref<RoutingStatusSm>& reactor() const { return reactor_; }

   /// The clock of the slice's timers; it advances only when told to.
   Vormel::ManualClock& clock() { return *clock_; }

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
   void introduceHelper();
   void dropReactors();

   /// What a new start repeats: a call, or the start of the reactors.
   struct Request
   {
      std::string subject;     // of which the last one counts
      std::string operation{}; // empty for the reactors
      std::vector<Vormel::Value> arguments{};
      std::set<std::string_view> without{};
   };
   void requested( Request request );
   bool isPossible( const Request& request ) const;

   struct Input
   {
      Ref<Entity> object;
      const Vormel::Attribute* attribute;
      std::optional<Vormel::Value> key;
      Vormel::Value value;
   };
   struct Inputs
   {
      std::vector<Input> early; // held since the start of the reactors
      std::vector<Input> late;
   };
   /// Gives the objects their initial values back. Returns the inputs that they had.
   Inputs takeInputs();
   void noteInputs();
   static void deliver( std::vector<Input> inputs );

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
   std::vector<Request> requests_;
   std::map<std::pair<std::string_view, std::string>, std::string>
      inputsAtStart_; // of the reactors
};

} // namespace Strata::Tool
