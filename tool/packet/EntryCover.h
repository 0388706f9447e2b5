// Packets for the entries of a session's switch.
#pragma once

#include "cover/Cover.h"
#include "tool/words/EntryChoice.h"
#include "tool/words/Words.h"

#include <string>
#include <string_view>
#include <vector>

namespace Strata::Tool {

class Session;

/// For the entries in hardware that are chosen. Requires: Cover::Solver::available().
std::vector<Cover::Coverage> entryCover(
   Session& session, const std::vector<U32>& units, const EntryChoice& chosen = {} );
std::vector<Cover::Coverage> entryCover(
   Session& session, const std::vector<U32>& units, std::string_view range );

/// A packet for an entry, as commands.
struct EntryPacket
{
   std::string name; // of the entry
   std::string range;
   U32 unit = 0;
   std::vector<std::string> rows;
   std::string packet; // as behind `explain`

   /// The rows, then `explain`.
   std::vector<std::string> commands() const;
   /// In one line, as a copy of the process sends it.
   std::string line() const;
   static EntryPacket of( const std::string& line );
};

/// "main", or "main of unit 1" of a switch with several.
std::string rangeText( const Session& session, std::string_view range, U32 unit );

/// Found ones of all units, whose words name ports by their numbers. Those that were found before and still win their
/// entries are remembered. Requires: Cover::Solver::available().
std::vector<EntryPacket> entryPackets( Session& session );

/// InputError at the first word if this build has no solver.
void needSolver( const Words& words );

} // namespace Strata::Tool
