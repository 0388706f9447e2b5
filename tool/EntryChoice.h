// Which Field Processor entry a command is about.
#pragma once

#include "platform/runtime/Types.h"
#include "sim/Chip.h"
#include "tool/Words.h"

#include <optional>
#include <string>

namespace Strata::Tool {

class Session;

/// An entry by its claimed name, or by its place in a group's range.
struct EntryChoice
{
   std::string text; // as given
   std::string group;
   std::optional<U32> offset;
   std::string name;
};

/// Takes `[GROUP] OFFSET`, `[GROUP] NAME` or a claimed name in quotes. InputError when there can be no such
/// entry.
EntryChoice takeEntry( const Session& session, Words& words );

/// Null when the chip has no such entry now.
const Sim::FieldEntry* findEntry( const Sim::Chip& chip, const EntryChoice& choice );
Sim::FieldEntry* findEntry( Sim::Chip& chip, const EntryChoice& choice );

} // namespace Strata::Tool
