// The Field Processor entries of a switch for display: with names, by range, with the units that share them.
#pragma once

#include "platform/runtime/Types.h"
#include "sim/chip/FieldGroup.h"
#include "tool/view/Table.h"

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Sim {
class SimSwitch;
}

namespace Strata::Tool {

/// "installed", "disabled", "changed" (what is installed is not what is claimed) or "claimed".
std::string_view entryState( const Sim::FieldEntry& entry );

/// One row for each entry, with its qualifiers and actions as installed. The filter is part of a
/// claimed name, a range, an id, or the name of an offset; empty for all.
Table entryTable( Sim::SimSwitch& hardware, std::string_view filter );
/// The same for programs, one object for each unit and entry.
nlohmann::ordered_json entryJson( Sim::SimSwitch& hardware, std::string_view filter );

/// The entries in hardware that have won packets since the last mark, then those that have not, with the units that have
/// the same number.
Table hitsTable( Sim::SimSwitch& hardware );

/// Offsets in the main range by name: "nexthopToCpu" is 33.
std::optional<U32> entryOffset( std::string_view name );
std::vector<std::string_view> entryOffsetNames();

} // namespace Strata::Tool
