// What is declared of the command line's options: their choices, and how a command line that does not fit is refused.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace Strata::Tool {

using Strings = std::vector<std::string>;

/// The members of an option's set, from the description of its check: "{auto,always,never}".
Strings choicesOf( CLI::Option& option );

/// "--json", "--quiet", ...
Strings namesOfOptions( CLI::App& app );

/// Refuses flags that are given twice or with a value, for the application and its subcommands.
void checkFlags( CLI::App& app );

/// "strata-l3 run: there is no option '--quite'; did you mean '--quiet'?"
std::string refusalText( const CLI::ParseError& error, CLI::App& app );

} // namespace Strata::Tool
