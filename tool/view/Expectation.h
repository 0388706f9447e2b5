// Common parts of expectations about the state of chips and objects.
#pragma once

#include "platform/runtime/Types.h"
#include "sim/chip/Chip.h"
#include "tool/words/Command.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Tool {

/// A number of a scenario: decimal, or hexadecimal with 0x.
std::optional<U64> numberIn( std::string_view text );

/// The names of hardware calls in records: SDK operations, and operations of entry managers.
std::vector<std::string_view> callNames();

/// Whether the texts are equal, or both are the same number.
bool sameValue( const std::string& a, const std::string& b );

/// Checks the chip of each unit; the expectation fails if one differs.
Act expectOnUnits( std::vector<U32> units, std::string expected, std::string value,
   std::function<std::string( const Sim::Chip& )> look );

} // namespace Strata::Tool
