// The standing set of packets of a run, and what becomes of each on a switch as it is now. It refers to nothing of a
// switch, so it outlives one: a probe comes in by the same port of the next.
#pragma once

#include "sim/packet/PacketEngine.h"
#include "sim/packet/Verdict.h"

#include <map>
#include <optional>
#include <string>

namespace Strata::Desk {

struct Probe
{
   std::string in; // the entrance in words: "Ethernet1"
   Sim::Arrival arrival;
};

/// By name.
using Probes = std::map<std::string, Probe>;

/// What becomes of a packet, as a value. Two are equal if the same frames leave on the same ports, the CPU gets the same
/// copies for the same reasons, and what leaves on no port does so for the same reason. Which entries won on the way, and
/// what would be learned, does not count.
class ProbeVerdict
{
 public:
   /// Of the switch as it is, which does not change: no hit is counted, no station learned, no record written. A packet
   /// that cannot come in, because the switch has no such port, has a verdict, too.
   ///
   /// Requires: the activity lock is held.
   ProbeVerdict( const Sim::PacketEngine& engine, const Sim::Arrival& arrival );

   bool operator==( const ProbeVerdict& other ) const;

   /// In one line: "Ethernet3; CPU queue 0: ...". Of the switch that the verdict is of, as long as its ports have the
   /// same names.
   std::string text( const Sim::PacketEngine& engine ) const;
   /// Null if the packet cannot come in.
   const Sim::Verdict* verdict() const { return verdict_ ? &*verdict_ : nullptr; }
   /// Why it cannot come in.
   const std::string& obstacle() const { return obstacle_; }

 private:
   std::optional<Sim::Verdict> verdict_;
   std::string obstacle_;
};

} // namespace Strata::Desk
