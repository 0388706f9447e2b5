// The state that the switch must have after any sequence of steps. The rules compute it from all input objects after
// each step; only state that does not follow from the inputs is stored here.
#pragma once

#include "tests/routing/Steps.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Strata {

/// All state that the slice can change: a text for each attribute, entry, control and so on, by its name.
using SwitchState = std::map<std::string, std::string>;

SwitchState observedState( Tool::Agent& agent );

/// "entry 1001 of unit 1: expected ..., found ...", one line for each difference; empty if the states are equal.
std::string differences( const SwitchState& expected, const SwitchState& found );

class ReferenceModel
{
 public:
   /// Requires: the agent has run init and l3Init and has no reactors yet. State without a rule keeps its present
   /// value.
   explicit ReferenceModel( Tool::Agent& agent );

   /// Follows a step that was applied; `told` is the result of apply().
   void happened( const Step& step, bool told );
   SwitchState expectedState() const;

 private:
   void started();
   void stopped();
   void inputChanged( const Step& step );

   void settled( IntfId intf );
   void portMappingChanged( IntfId intf );
   void pushed();
   bool routed( IntfId intf ) const;
   void portProgrammed( const StrataPort& port );
   void nexthopHeard( const std::string& name );
   void dropClassChanged( U16 trafficClass, bool there );
   void timerSet();

   struct Redirect
   {
      std::string mac;
      StrataPort port;                    // the port that ARP is redirected to
      std::map<U32, std::string> inPorts; // by unit
   };
   std::optional<Redirect> wantedRedirect() const;

   void expectFloods( SwitchState& state ) const;
   void expectDropPairs( SwitchState& state ) const;
   void expectRedirect( SwitchState& state ) const;
   void expectControls( SwitchState& state ) const;
   U32 mainId( U32 offset ) const;

   Tool::Agent& agent_;
   Sim::SimSwitch& inputs_;
   const SwitchState before_;
   const U32 firstUnit_;
   const bool routing_; // global routing was turned on before

   bool running_ = false;

   // Interfaces that floods leave out. An interface is evaluated when a change of it is published, and only while it
   // has a port. Losing or getting its port does not evaluate it, nor does the removal of its status.
   std::set<IntfId> leftOut_;
   // The ports that floods go to. A port remains in it when its interface moves to another port; so does the port that
   // is used for interfaces without a logical port number.
   PortBitmap floodPorts_;
   // The ports in the first unit's entries. A start of the reactors does not write them by itself.
   PortBitmap pushedPorts_;
   U32 pushes_ = 0;

   // Updated by changes, not by a start. Writing the flood ports applies the policy-routing state again, on the first
   // unit.
   std::map<U32, bool> pbrOn_;
   bool skipEntry_;

   // Updated by the code that starts the reactors.
   bool l2TrafficRouting_ = false;

   // The values that the reactors have handled last.
   bool l2DualHash_ = false, l3DualHash_ = false;
   std::optional<Redirect> redirect_;

   // An entity's values are those that it had when it was put into the directory. The two results remain after a stop,
   // and a start with an empty directory does not change them.
   struct Nexthop
   {
      bool programmed, usesL3Egress;
   };
   std::map<std::string, Nexthop> nexthops_;
   std::size_t nexthopsProgrammed_ = 0;
   bool ofFx_ = false;

   // Programmed ports keep their controls; the unit's egress mode is the one that was written with the last of them.
   std::set<StrataPort> programmedPorts_;
   std::map<U32, bool> egressMode_;

   // Hits of the classes that have entries, and the counters at the last poll or reset.
   std::map<U16, U64> hits_;
   std::map<U16, U64> counters_;
   double nextPoll_ = Vormel::Timer::never;
};

} // namespace Strata
