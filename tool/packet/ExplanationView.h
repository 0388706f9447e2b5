// The explanation of a packet's verdict, as tables and as JSON.
#pragma once

#include "sim/packet/PacketEngine.h"
#include "tool/view/Table.h"

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace Strata::Tool {

/// As tables. `all`: every entry that was looked up; otherwise the winners and the entries that missed by one
/// qualifier.
Table explanationTable( Sim::PacketEngine& engine, const Sim::Verdict& verdict,
   const Sim::Explanation& explanation, bool all );

/// The text of what becomes of a packet with the frames that leave, for verdicts that differ in these alone.
std::string withFrames( const Sim::Verdict& verdict, std::string text );

/// The comment on a captured frame of a pass, one line each: where the packet came in and what became of this frame
/// (`fate`), the state that kept the chip from routing it, and the entries that won up to then, with their causes.
std::string frameComment( const Sim::PacketEngine& engine, const Sim::Arrival& arrival,
   const Sim::Verdict& verdict, const Sim::Explanation& explanation, std::size_t pass,
   const std::string& fate );

/// A result of an explanation, to compare with that of another one.
struct ExplainedPart
{
   U32 pass;         // from 1
   std::string part; // a stage, a range, "leaves" or "CPU"
   std::string text;
};
/// The results of the stages, the winner of each range, and what becomes of the packet; a part of a pass is there once.
std::vector<ExplainedPart> explainedParts(
   Sim::PacketEngine& engine, const Sim::Verdict& verdict, const Sim::Explanation& explanation );

/// As JSON, always complete.
nlohmann::ordered_json explanationJson(
   Sim::PacketEngine& engine, const Sim::Verdict& verdict, const Sim::Explanation& explanation );

// Parts of it.

/// The entries that nearly won, the nearest first: those that are only disabled, then by the number of matching qualifiers
/// and of the bits that these compare.
std::vector<const Sim::EntryNote*> nearMisses( const Sim::RangeNote& range );
/// "it is disabled", "it needs Ttl 1, and the packet has 64", of an entry that does not match.
std::string missReason( const Sim::RangeNote& range, const Sim::EntryNote& entry );
/// Who writes the state that keeps the chip from routing, and what to do about it.
std::string adviceOn(
   Sim::PacketEngine& engine, const Sim::ChipPlace& culprit, const Sim::PortRef& arrival );

} // namespace Strata::Tool
