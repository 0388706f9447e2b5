// What records tell, apart from when they were written: the comparison of a replay.
#pragma once

#include "desk/RecordingFile.h"

namespace Strata::Desk {

/// Whether the slice and the agent have to do the same at a replay. The others tell of states, or of answers.
bool isCompared( RecordedKind kind );
/// Whether both tell the same. A member that only the recording has is of a newer writer.
bool isSame( const Json& recorded, const Json& today );
/// Whether both are calls of one operation on one thing, so that the one is the other's change.
bool isSimilar( const Json& recorded, const Json& today );

} // namespace Strata::Desk
