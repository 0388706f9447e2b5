// What can be typed next: the commands, and what their syntax asks for, from what there is at the moment.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Strata::Tool {

class Session;

/// Whole words that can stand in place of the last one of the line (an empty one when it ends with a blank), in
/// order.
std::vector<std::string> completions( const Session& session, std::string_view line );

} // namespace Strata::Tool
