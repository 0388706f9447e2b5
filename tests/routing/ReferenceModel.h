// What the switch must look like after any sequence of steps: the rules in one place, told from the input objects,
// with all of them walked each time. Only state that does not follow from the inputs is stored here.
#pragma once

#include "tests/routing/Steps.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Strata {

/// Everything that the slice can change, one line of text for each thing, by its name.
using SwitchState = std::map<std::string, std::string>;

SwitchState observedState( Tool::Agent& agent );

/// "entry 1001 of unit 1: expected ..., found ...", one line for each difference; empty when there is none.
std::string differences( const SwitchState& expected, const SwitchState& found );

class ReferenceModel
{
 public:
   /// The agent has run init and l3Init and has no reactors yet. What the rules do not name stays as it is now.
   explicit ReferenceModel( Tool::Agent& agent );

   /// The step was applied; `told` is apply()'s answer.
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

   // Interfaces that floods leave out. An interface is evaluated when a change of it is published, and only while it has a
   // port: one that loses its port keeps its place, whatever becomes of it meanwhile, and one that gets its port
   // is not judged by that. Nor is anything judged when a status vanishes.
   std::set<IntfId> leftOut_;
   // The ports that floods go to. A port that an interface has moved away from stays, and so does the one that
   // is used for interfaces without a logical port number.
   PortBitmap floodPorts_;
   // What the first unit's entries hold of them: a start does not push by itself.
   PortBitmap pushedPorts_;
   U32 pushes_ = 0;

   // Followed by change alone, not at a start. A push applies the policy-routing state again, on the first unit.
   std::map<U32, bool> pbrOn_;
   bool skipEntry_;

   // Updated by the code that starts the reactors.
   bool l2TrafficRouting_ = false;

   // As the reactors saw them last.
   bool l2DualHash_ = false, l3DualHash_ = false;
   std::optional<Redirect> redirect_;

   // An entity counts as it was when it was put into the directory. The two results outlive a stop, and a start
   // on an empty directory does not look at them.
   struct Nexthop
   {
      bool programmed, usesL3Egress;
   };
   std::map<std::string, Nexthop> nexthops_;
   std::size_t nexthopsProgrammed_ = 0;
   bool ofFx_ = false;

   // Ports that were given their controls keep them; the unit's egress mode is what the last of them wrote.
   std::set<StrataPort> programmedPorts_;
   std::map<U32, bool> egressMode_;

   // Hits of the classes that have entries; a counter is as the last poll or reset left it.
   std::map<U16, U64> hits_;
   std::map<U16, U64> counters_;
   double nextPoll_ = Vormel::Timer::never;
};

} // namespace Strata
