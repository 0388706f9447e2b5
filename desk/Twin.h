// The twin of a recorded switch: simulated chips that hold what the recorded ones were told.
#pragma once

#include "desk/RecordingFile.h"
#include "routing/RoutingStatusHelper.h"
#include "sim/switch/SimSwitch.h"

#include <string>
#include <vector>

namespace Strata::Desk {

/// Makes the recorded calls that succeeded on the switch, which hardwareOf() has described, and gives the inputs their
/// recorded values; what the recorded agent read of its chips, they hold as well. The helper, which does not act, gets the
/// agent's own attributes. The cause of each state is the recorded event. Returns what a reader should know: calls that the
/// chips refuse, and one in which the recording ends.
///
/// RecordingError for a record that cannot be followed. Requires: the activity lock is held; nothing listens to the
/// switch's transcript.
std::vector<std::string> makeTwin( const RecordingFile& recording, Sim::SimSwitch& hardware,
   const Vormel::Ref<RoutingStatusHelper>& helper );

} // namespace Strata::Desk
