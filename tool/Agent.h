// A small switch agent: what the real one does around the slice, on a simulated switch. It makes the helper
// with its inputs, knows every object by a short name, and moves the clock.
//
// The activity lock is held while an agent is made, used and destroyed. One at a time per process.
#pragma once

#include "platform/runtime/Clock.h"
#include "routing/RoutingStatusHelper.h"
#include "sim/SimSwitch.h"

#include <memory>
#include <optional>
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
   const Ref<RoutingStatusHelper>& helper() const { return helper_; }
   /// The clock that the slice's timers run on; it stands until it is moved.
   Vormel::ManualClock& clock() { return *clock_; }

   /// "helper", an entry manager ("main", ...), an input object, or an interface's status by the interface's
   /// name; null when there is none.
   Ref<Entity> object( std::string_view name ) const;
   /// All names but those of interfaces.
   std::vector<std::string> objectNames() const;

   /// How the value reads here: objects by their short names, everything else by its text form.
   std::string valueText( const Vormel::Value& value ) const;

   /// A helper with the same inputs, as the constructor leaves it.
   Ref<RoutingStatusHelper> newHelper() const;

 private:
   AgentConfig config_;
   std::shared_ptr<Vormel::ManualClock> clock_;
   Sim::SimSwitch hardware_;
   Ref<RoutingStatusHelper> helper_;
};

} // namespace Strata::Tool
