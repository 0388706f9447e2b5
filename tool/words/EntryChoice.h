// The Field Processor entry that a command names.
#pragma once

#include "platform/runtime/Types.h"
#include "sim/chip/Chip.h"
#include "tool/words/Words.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Sim {
class SimSwitch;
}

namespace Strata::Tool {

class Session;

/// An entry by its claimed name, or by its offset in a range.
struct EntryChoice
{
   std::string text; // as given
   std::string group;
   std::optional<U32> offset;
   std::string name;

   bool isOne() const
   {
      return offset || !name.empty();
   } // otherwise all entries of the range, or of all
   bool includes( const Sim::FieldGroup& range, U32 id, const Sim::FieldEntry& entry ) const;
};

/// Takes `[GROUP] OFFSET`, `[GROUP] NAME` or a claimed name in quotes. InputError if there cannot be such an
/// entry.
EntryChoice takeEntry( const Session& session, Words& words );

/// The same, or takes `[GROUP]` alone: nothing in front of one of the words that follow.
EntryChoice takeRangeOrEntry(
   const Session& session, Words& words, std::span<const std::string_view> followers );

/// "'16' (main 1017) is not in hardware on unit 0; did you mean ...?", where `where` is "on unit 0".
std::string notInHardware( const Sim::SimSwitch& hardware, const std::vector<U32>& units,
   const EntryChoice& choice, std::string_view where );

/// Null if the chip has no such entry.
const Sim::FieldEntry* findEntry( const Sim::Chip& chip, const EntryChoice& choice );
Sim::FieldEntry* findEntry( Sim::Chip& chip, const EntryChoice& choice );

} // namespace Strata::Tool
