// What it would take that a packet wins an entry: the smallest change of the packet, or of the tables, that was found.
#pragma once

#include "cover/Cover.h"
#include "tool/words/EntryChoice.h"

#include <string>
#include <vector>

namespace Strata::Tool {

class Session;

struct Wanted
{
   Cover::Coverage about;
   bool already = false; // it wins the entry as it is
   std::vector<std::string>
      changes; // of the packet: "TTL 1 instead of 64"; those of the tables are about.rows
};

/// `packet` is the arrival in words, as behind `explain`. ValueError if the entry is not in hardware on the unit that the
/// packet comes to. Requires: Cover::Solver::available().
Wanted wantsEntry( Session& session, const Sim::Arrival& arrival, const std::string& packet,
   const EntryChoice& entry );

} // namespace Strata::Tool
