// Replays a recording: gives the slice of this library what the recorded agent gave its own, answers as its switch did,
// and compares what the slice does with what is recorded.
#pragma once

#include "desk/RecordingFile.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace Strata::Desk {

/// Where the slice did something else than what is recorded.
struct Divergence
{
   const RecordedLine* recorded;            // null if the slice did something further
   std::optional<Json> today;               // nothing if the slice did less
   std::size_t missing = 0;                 // how many further records the slice passed over
   const RecordedLine* event;               // the input that it happened in; null if there was none
   std::vector<const RecordedLine*> before; // the last records that were the same, at most five

   /// The members of arguments, results or values that differ, by name.
   std::vector<std::string> differing() const;
};

/// How a replay ended.
struct ReplayEnd
{
   std::size_t compared = 0; // records that were the same
   std::string why;          // empty at the end of the recording, or what stopped the replay before
   const RecordedLine* at = nullptr;
   bool refused = false; // `why` is an error of the recording
};

/// What a replay tells while it runs. The process may end in each of these functions.
struct ReplayListener
{
   /// Called once, or at each divergence if the replay goes on.
   std::function<void( const Divergence& )> diverged;
   /// Called when the replay can go no further, also where the recording ends within a call.
   std::function<void( const ReplayEnd& )> ended;
   /// Called with the line of an assertion or of a fatal code, before the slice ends the process.
   std::function<void( std::string_view line, const ReplayEnd& )> died;
};

/// Runs a replay on a simulated switch of its own. It calls `ended` before it returns; when it calls one of the
/// functions in the middle of a call of the slice, the slice goes on behind it, unobserved unless `goesOn`. RecordingError
/// if the recording cannot be replayed. Requires: the activity lock is held, and the process has no shim.
void replay( const RecordingFile& recording, const ReplayListener& listener, bool goesOn );

} // namespace Strata::Desk
