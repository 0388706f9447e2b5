// Changes of the slice's inputs as plain data, each one write to one input object, so that a sequence of them can be
// drawn at random, printed, shortened and run again.
#pragma once

#include "agent/Agent.h"
#include "platform/runtime/Enum.h"

#include <deque>
#include <random>
#include <string>
#include <utility>

namespace Strata {

struct Step
{
   enum class Kind : U8
   {
      set,         // what: "scsd.vxlanEnabled"; key, for a member; value
      del,         // what, key
      status,      // what: an interface; value: its forwarding model; made if it does not exist
      freshStatus, // the same in a new object
      noStatus,    // what
      nexthop,     // what: a name; value: "programmed", "l3-egress", both or neither; a new object
      noNexthop,   // what
      nexthopInPlace, // the same in the existing object, which publishes no change
      hits, // what: a traffic class; key: a unit; value: the number of hits, added to the first entry if it is even
      advance,  // value: seconds
      unitPort, // what: a unit; key: a port; value: "up" or "down"
      start,    // the reactors; nothing while they run
      stop,     // drops them, after all traffic classes were withdrawn
   };
   Kind kind;
   std::string what{};
   std::string key{};
   std::string value{};
};

VORMEL_ENUM_NAMES( Step::Kind, { Step::Kind::set, "set" }, { Step::Kind::del, "del" },
   { Step::Kind::status, "status" }, { Step::Kind::freshStatus, "fresh status" },
   { Step::Kind::noStatus, "no status" }, { Step::Kind::nexthop, "nexthop" },
   { Step::Kind::noNexthop, "no nexthop" }, { Step::Kind::nexthopInPlace, "nexthop in place" },
   { Step::Kind::hits, "hits" }, { Step::Kind::advance, "advance" },
   { Step::Kind::unitPort, "unit port" }, { Step::Kind::start, "reactors start" },
   { Step::Kind::stop, "reactors stop" } )

/// "set scsd.lagOfMember[Ethernet3] Port-Channel1"
std::string toText( const Step& step );

/// A unit, port or traffic class of a step.
inline U32 numberIn( const std::string& text )
{
   return static_cast<U32>( std::stoul( text ) );
}

/// Makes the change. False if the input had this value before, so that no change was published.
bool apply( const Step& step, Tool::Agent& agent );

/// Draws steps that an agent could take, most of them in sequences that an agent would run.
class StepGenerator
{
 public:
   explicit StepGenerator( U64 seed ) : random_( seed ) {}

   Step next( const Sim::SimSwitch& now );

 private:
   using Switch = const Sim::SimSwitch&;

   U32 below( U32 limit ) { return static_cast<U32>( random_() % limit ); }
   std::string someEthernet();
   std::string someLag();
   std::string someUnit( Switch now );
   std::string somePort();
   std::string someClass();
   std::string onOrOff();
   /// Takes a braced Step, whose values are drawn in order; arguments of a function would be evaluated in any order.
   void plan( Step step ) { planned_.push_back( std::move( step ) ); }

   void interfaceComes( Switch now );
   void interfaceGoes( Switch now );
   void portComes( Switch now );
   void portGoes( Switch now );
   void modelChanges( Switch now );
   void lagChanges( Switch now );
   void lagGoes( Switch now );
   void partOfALagChanges( Switch now );
   void featureChanges( Switch now );
   void dropChanges( Switch now );
   void nexthopChanges( Switch now );
   void peerChanges( Switch now );
   void reactorsStop( Switch ) { plan( { Step::Kind::stop } ); }

   std::mt19937_64 random_; // drawn from by hand: distributions differ between libraries
   std::deque<Step> planned_;
   bool running_ = false;
};

} // namespace Strata
