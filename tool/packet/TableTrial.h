// Evaluates a packet as if commands had changed the tables before it; the switch stays as it is.
#pragma once

#include "cover/Cover.h"
#include "desk/Probes.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Strata::Tool {

class Session;

/// The commands are those of the forwarding tables; the packet is that of `explain`. A command or packet that is refused
/// gives no verdict.
Cover::Trial tryPacket( Session& session, const std::vector<std::string>& commands,
   const std::string& packet, Sim::Explanation* explanation = nullptr );

/// Tries packets by tryPacket(), each at a safe point. Requires: the session outlives it.
Cover::Evaluate packetTrials( Session& session );

/// What becomes of the packet, as of a probe; none if a command or the packet is refused.
std::optional<Desk::ProbeVerdict> probeAfter(
   Session& session, const std::vector<std::string>& commands, const std::string& packet );

/// A packet with the tables that it is forwarded by.
struct Scene
{
   Sim::ForwardingTables tables;
   Sim::Arrival arrival;
   std::set<U16> madeVlans{}; // by the commands
};

/// InputError if a command or the packet is refused.
Scene sceneOf(
   Session& session, const std::vector<std::string>& commands, const std::string& packet );

/// Of the chips as they are, with the scene's tables and VLANs.
Sim::Verdict verdictIn( Session& session, Scene& scene );

} // namespace Strata::Tool
