// Words that engineers type from habit, because other switches have them, and what does the same here.
#pragma once

#include <string>
#include <string_view>

namespace Strata::Tool {

/// "; 'stp PORT STATE' ..." for words that no command takes: those of a line, or those behind `command`, which ends with a
/// blank. They may be abbreviated. Empty for other words.
std::string habitText( std::string_view command, std::string_view words );

} // namespace Strata::Tool
