// Numbers in texts.
#pragma once

#include "platform/runtime/Types.h"

#include <string>
#include <string_view>
#include <vector>

namespace Strata::Desk {

/// "0-3,8": ascending numbers, of units, ports and the like.
std::string numberRanges( const std::vector<U32>& numbers );

/// "1 call", "2 calls"
std::string counted( U64 count, std::string_view what );

} // namespace Strata::Desk
