// The words that can be typed next: commands, and the words of their syntax, from the present state. The parsers
// themselves say what they would take.
#pragma once

#include "tool/words/Words.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Tool {

struct Command;
class Session;

/// The last word of a line, with its opening quote; empty behind a blank.
std::string_view lastWord( std::string_view line );

/// Whole words that can replace the last one of the line, in order. Upper and lower case differ only if a word fits as it
/// is typed.
std::vector<std::string> completions( const Session& session, std::string_view line );

/// The words of a kind, such as PORT, that start with `word`, as above, with their meanings where they have one.
std::map<std::string, std::string> namesFor(
   const Session& session, std::string_view kind, std::string_view word );

/// What can follow the words of a line.
struct Expected
{
   Offers offers;
   const Command* command = nullptr; // null before its name is complete
};
Expected expectedBehind( const Session& session, Line line );

/// Whether an offer is a word to be typed, not a kind of words.
bool isKeyword( std::string_view offer );

} // namespace Strata::Tool
