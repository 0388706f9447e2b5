// A packet's way through the chips, as a report shows it.
#pragma once

#include "report/Chronicle.h"
#include "sim/packet/PacketEngine.h"

namespace Strata::Tool {

/// With the winners and near misses of each range, who wrote them, and what would have become of the packet without each
/// winner. The switch is as before when it returns.
Report::Packet packetStory( Sim::PacketEngine& engine, Sim::SimSwitch& hardware,
   const Sim::Arrival& arrival, const Sim::Verdict& verdict, const Sim::Explanation& explanation );

} // namespace Strata::Tool
