// The Field Processor entry that a command names.
#pragma once

#include "platform/runtime/Types.h"
#include "sim/chip/Chip.h"
#include "tool/words/Words.h"

#include <optional>
#include <string>

namespace Strata::Tool {

class Session;

/// An entry by its claimed name, or by its offset in a range.
struct EntryChoice
{
   std::string text; // as given
   std::string group;
   std::optional<U32> offset;
   std::string name;
};

/// Takes `[GROUP] OFFSET`, `[GROUP] NAME` or a claimed name in quotes. InputError if there cannot be such an
/// entry.
EntryChoice takeEntry( const Session& session, Words& words );

/// Null if the chip has no such entry.
const Sim::FieldEntry* findEntry( const Sim::Chip& chip, const EntryChoice& choice );
Sim::FieldEntry* findEntry( Sim::Chip& chip, const EntryChoice& choice );

} // namespace Strata::Tool
