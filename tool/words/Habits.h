// Words that engineers type from habit, because other switches have them, and what does the same here.
#pragma once

#include <string>
#include <string_view>

namespace Strata::Tool {

/// "; 'stp PORT STATE' ..." for words that no command has: those of a line, or a command and what is wrong behind it.
/// Empty for other words.
std::string habitText( std::string_view words );

} // namespace Strata::Tool
