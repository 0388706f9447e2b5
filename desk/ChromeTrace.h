// A recording as trace events, for the viewers of this format: when each input came, what it led to, and how long it took.
#pragma once

#include "desk/RecordingFile.h"

#include <string>

namespace Strata::Desk {

/// std::runtime_error if the file has contents that are not those of a trace.
void checkChromeTrace( const std::string& file );

/// Writes an object with the array "traceEvents": a slice for each input with the calls that it caused nested in it, an
/// arrow from a change of an input to the first call about it, an instant for each change that the slice publishes, and
/// counters of the entries that are claimed and of the redundant writes. std::runtime_error if checkChromeTrace() raises it,
/// or the file cannot be written.
void writeChromeTrace( const RecordingFile& recording, const std::string& file );

} // namespace Strata::Desk
