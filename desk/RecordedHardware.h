// The hardware that a recording tells of, as a simulated switch.
#pragma once

#include "desk/RecordingFile.h"
#include "platform/state/StrataCommonSmData.h"
#include "sim/switch/SimSwitch.h"

#include <optional>
#include <string_view>

namespace Strata::Desk {

/// A switch with the recorded units, capabilities, ports and ranges of entries. RecordingError if the recording has no
/// unit, or one that cannot be simulated.
Sim::SimSwitchConfig hardwareOf( const RecordingFile& recording );

/// Sets the unit of a record `unit`, and the capabilities of its chip. RecordingError for one that cannot be.
void setUnit(
   const RecordingFile& recording, const RecordedLine& record, StrataCommonSmData& scsd );

/// The assignment under its name in recordings; nothing for "main".
std::optional<TcamGroup> groupNamed( std::string_view name );

/// The range of the switch that has the recorded name; null if nothing has it.
Ref<Sim::SimTcamEntryManager> managerNamed( const Sim::SimSwitch& hardware, std::string_view name );

/// A name or another text as it was before it was written: a byte for each character.
std::string decodedText( const Json& json );

} // namespace Strata::Desk
