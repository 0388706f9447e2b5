// What a command would do, found out by running it in a copy of this process. This process stays as it is.
#pragma once

#include "desk/SwitchState.h"
#include "tool/words/Command.h"

#include <string>
#include <vector>

namespace Strata::Tool {

struct Plan
{
   struct Room
   {
      U32 unit;
      std::string range;
      U32 room;
      U32 left;  // now
      U32 needs; // at the most while the command runs, more than it has now
      U32 leftAfter;
   };
   struct ProbeChange
   {
      std::string probe;
      std::string before;
      std::string after;
   };

   std::vector<std::string>
      calls; // of the hardware, in order; up to its end if it does not get through
   U64 writes = 0;
   U64 redundant = 0; // of the writes
   std::string end;   // "it would die: ..." or "it would be refused: ..."; empty if it gets through
   std::string refusedClaim; // the first one; empty if there was none

   // If it gets through. `rooms` is also there if it would with more room, and then says so.
   std::vector<Desk::Difference> changes; // of the chips, without causes
   std::vector<Room> rooms;
   std::vector<ProbeChange> probes; // whose verdict changes
};

/// `act` is that of the line. std::system_error if there is no copy; Interrupted if Ctrl-C has stopped it.
Plan planOf( Session& session, const Line& line, const Act& act );

} // namespace Strata::Tool
