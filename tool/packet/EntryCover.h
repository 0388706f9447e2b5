// Packets for the entries of a session's switch.
#pragma once

#include "cover/Cover.h"

#include <string>
#include <string_view>
#include <vector>

namespace Strata::Tool {

class Session;

/// For the entries in hardware of one range, or of all if its name is empty. Requires: Cover::Solver::available().
std::vector<Cover::Coverage> entryCover(
   Session& session, const std::vector<U32>& units, std::string_view range = {} );

/// Found ones of all units, whose words name ports by their numbers. A packet that still wins its entry is taken from
/// the memory, to which the others are added.
std::vector<Cover::Coverage> entryPackets( Session& session, Cover::Memory& memory );

} // namespace Strata::Tool
