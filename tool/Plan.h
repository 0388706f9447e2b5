// What a command would do, found out by running it in a copy of this process. This process stays as it is.
#pragma once

#include "desk/SwitchState.h"
#include "tool/view/Console.h"
#include "tool/words/Command.h"

#include <functional>
#include <string>
#include <utility>
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
   struct PacketChange
   {
      std::string name; // of the probe, or of the entry that the packet wins before or after
      std::vector<std::string> commands; // that show it; none for a probe
      std::string before;
      std::string after;
      // Of the entry.
      std::string range{};
      U32 unit = 0;
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
   std::vector<PacketChange> probes;  // whose verdict changes
   std::vector<PacketChange> packets; // the same, of packets for the entries, if they are wanted
};

/// `act` is that of the line. With packets for the entries, of before and after. std::system_error if there is no copy;
/// Interrupted if Ctrl-C has stopped it. Requires, with packets: Cover::Solver::available().
Plan planOf( Session& session, const Line& line, const Act& act, bool withPackets = false );

/// A command that is planned, as the rest of a line.
struct Planned
{
   Line line;
   Act act; // refers to the words that it was taken from
};
/// InputError if the command changes nothing.
Planned takePlanned( const Session& session, Words& words );

/// Runs the act in a copy of this process, without output, then `look`, and returns what `look` sends. `why` is why the
/// copy did not get so far; empty if it did.
struct Look
{
   std::vector<std::pair<char, std::string>> lines;
   std::string why;
};
Look lookAfter( Session& session, const Planned& planned,
   const std::function<void( ChildChannel& channel )>& look );

} // namespace Strata::Tool
