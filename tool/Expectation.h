// What expectations about the state of chips and objects have in common.
#pragma once

#include "platform/runtime/Types.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Tool {

class Session;

/// A number as scenarios have it: decimal, or hexadecimal with 0x.
std::optional<U64> numberIn( std::string_view text );

/// Texts are equal, or both are the same number.
bool sameValue( const std::string& a, const std::string& b );

/// Looks at each unit; one that differs makes the expectation fail.
void expectOnUnits( Session& session, const std::vector<U32>& units, const std::string& expected,
   const std::string& value, const std::function<std::string( U32 unit )>& look );

} // namespace Strata::Tool
