// The words that can be typed next: commands, and the words of their syntax, from the present state.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Strata::Tool {

class Session;

/// The last word of a line; empty behind a blank.
std::string_view lastWord( std::string_view line );

/// Whole words that can replace the last one of the line (an empty one if it ends with a blank), in order.
std::vector<std::string> completions( const Session& session, std::string_view line );

} // namespace Strata::Tool
