// A recording as trace events, for the viewers of this format: when each input came, what it led to, and how long it took.
#pragma once

#include "desk/RecordingFile.h"
#include "platform/sdk/TcamEntryManager.h"

#include <map>
#include <optional>
#include <string>
#include <utility>

namespace Strata::Sim {
class SimSwitch;
}

namespace Strata::Desk {

/// How many entries fit into each range of each unit. The main range has no key.
using RoomSizes = std::map<std::pair<std::optional<TcamGroup>, U32>, U32>;
RoomSizes roomSizes( const Sim::SimSwitch& hardware );
/// Of the simulated chips that were recorded; empty if those were others, of which a recording does not say it.
RoomSizes roomSizes( const RecordingFile& recording );

/// std::runtime_error if the file has contents that are not those of a trace.
void checkChromeTrace( const std::string& file );

/// Writes an object with the array "traceEvents": a slice for each input with the calls that it caused nested in it, an
/// arrow from a change of an input to the first call about it, an instant for each change that the slice publishes, and
/// counters of the entries that are claimed, of the room that is left for entries and of the redundant writes.
/// std::runtime_error if checkChromeTrace() raises it, or the file cannot be written.
void writeChromeTrace(
   const RecordingFile& recording, const RoomSizes& rooms, const std::string& file );

} // namespace Strata::Desk
