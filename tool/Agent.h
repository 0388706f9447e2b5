// A small switch agent: what the real one does around the slice, on a simulated switch. It makes the helper
// with its inputs, knows every object by a short name, and moves the clock.
//
// The activity lock is held while an agent is made, used and destroyed. One at a time per process.
#pragma once

#include "platform/runtime/Clock.h"
#include "routing/L3PeerMacArpRedirectSm.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/RoutingStatusSm.h"
#include "sim/SimSwitch.h"

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
   std::optional<bool> fabricMode;     // else as the chip's profile has it
   Sim::Transcript::Listener listener; // hears the transcript from the start
};

class Agent
{
 public:
   /// Makes the switch and the helper; touches no hardware. ValueError when the configuration makes no sense.
   explicit Agent( const AgentConfig& config );
   Agent( const Agent& ) = delete;
   Agent& operator=( const Agent& ) = delete;
   ~Agent();

   Sim::SimSwitch& hardware() { return hardware_; }
   const Sim::SimSwitch& hardware() const { return hardware_; }
   const Ref<RoutingStatusHelper>& helper() const { return helper_; }
   /// As an agent starts: init, l3Init, then the reactors.
   void bringUp();
   /// The reactors alone; those from before are dropped first. From here on the hardware follows changes of
   /// the input objects. Inputs named here, of those that optionalInputs() lists, are not handed to them.
   void startReactors( const std::set<std::string_view>& without = {} );
   /// The inputs, by object name, that the main reactor can do without.
   static std::span<const std::string_view> optionalInputs();
   /// Drops the reactors; the hardware stays as it is.
   void stop();
   /// Null until they are started.
   const Ref<RoutingStatusSm>& reactor() const { return reactor_; }

   /// The clock that the slice's timers run on; it stands until it is moved.
   Vormel::ManualClock& clock() { return *clock_; }

   /// "helper", an entry manager ("main", ...), an input object, or an interface's status by the interface's
   /// name; null when there is none.
   Ref<Entity> object( std::string_view name ) const;
   /// All names but those of interfaces.
   std::vector<std::string> objectNames() const;

   /// How the value reads here: objects by their short names, everything else by its text form.
   std::string valueText( const Vormel::Value& value ) const;

   /// The object's values, as valueText() has them, when it was made: the helper by its constructor, the input
   /// objects with the switch. Empty for what came later.
   using Values = std::map<std::string, std::string>;
   Values initialValues( const Entity& object ) const;

   /// A helper with the same inputs, as the constructor leaves it.
   Ref<RoutingStatusHelper> newHelper() const;

 private:
   Values valuesOf( const Entity& object ) const;

   AgentConfig config_;
   std::shared_ptr<Vormel::ManualClock> clock_;
   Sim::SimSwitch hardware_;
   Ref<RoutingStatusHelper> helper_;
   Ref<RoutingStatusSm> reactor_;
   Ref<L3PeerMacArpRedirectSm> arpRedirect_;
   std::map<const Entity*, Values> initialValues_;
};

} // namespace Strata::Tool
