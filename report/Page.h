// The parts of a report's page. Each writes one section with a heading of level 2.
#pragma once

#include "desk/Texts.h"
#include "platform/runtime/Types.h"
#include "report/Chronicle.h"
#include "report/Html.h"
#include "report/Links.h"
#include "sim/switch/Cause.h"

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Strata::Report {

/// What all parts of a page are given.
struct Page
{
   Html& html;
   const Chronicle& chronicle;
   const Links& links;
};

/// The style of the page, for the element `style`.
extern const std::string_view style;

// Numbers of the whole run, as its JSON has them.
struct Figures
{
   std::size_t events = 0;
   std::size_t calls = 0; // of the SDK and of entry managers
   std::size_t writes = 0;
   std::size_t redundant = 0;
   std::size_t notifications = 0;
   std::size_t held = 0;
   std::size_t failed = 0;
};
Figures figuresOf( const Chronicle& chronicle );

void writeOverview( const Page& page );
void writeFindings( const Page& page );
void writeTimeline( const Page& page );
void writePackets( const Page& page );
void writeSnapshots( const Page& page );

// For several parts.

/// A table that scrolls in itself if it is too wide.
class WideTable
{
 public:
   WideTable( Html& html, std::string_view caption, const std::vector<std::string>& columns );

 private:
   Html::Element frame_;
   Html::Element table_;
};

/// "#e5 bring-up", as a link, and the record: what a cause names. Only its text if the run has no such record.
void writeCause( const Page& page, std::size_t chips, const Sim::Cause& cause );
/// Which writes gave something its value: of several ports or units together.
struct Origins
{
   std::map<std::size_t, std::vector<U64>> records{}; // that changed it last, by their events
   std::set<std::size_t> changers{};                  // all events that have changed it
   std::map<std::size_t, std::size_t> redundant{};    // writes since that changed nothing, by event
};
/// Adds those of one place. The cause is its last write as the chip knows it, if that is known; nothing is added if it
/// was not a call.
void addOrigin(
   Origins& origins, const std::vector<Links::Write>& writes, const Sim::Cause& cause );
/// "#e5 bring-up #r17 #r18"; without a write the cause.
void writeOrigins(
   const Page& page, std::size_t chips, const Origins& origins, const Sim::Cause& cause );
/// "; changed nothing since: #e9 (2 writes)"
void writeRedundantSince( const Page& page, const Origins& origins );
/// To the row of an entry in the first table behind the packet; says if an event has changed it in between.
void writeEntryLink( const Page& page, const Packet& packet, const EntryPlace& place );
/// "installed by #e5 bring-up #r17"
void writeAct( const Page& page, const Packet& packet, const Step& step, const Step::Act& act );
/// "#e5 #e9"
void writeEvents( const Page& page, const std::vector<std::size_t>& events );
/// What became of a packet. One that the CPU alone gets is not lost.
std::string fateText( const std::string& outcome );
bool isLost( const Packet& packet );
/// "frame 3", "frames 1-3,7": the frames of a capture; of many ranges the first ones and the last frame.
std::string framesText( const std::vector<std::pair<U32, U32>>& frames );
/// A table without its frame: a row.
void writeShownRow( const Page& page, const Shown& shown, const Shown::Row& row );
/// Text of which each line break is kept.
void writeLines( Html& html, std::string_view text );

using Desk::counted;

} // namespace Strata::Report
