// Help with an unfinished or abbreviated line.
#pragma once

#include "tool/words/Words.h"

#include <string>
#include <string_view>
#include <vector>

namespace Strata::Tool {

class Session;

struct NextWord
{
   std::string word; // a keyword, a kind of words in capitals, or "<Enter>" where the line can end
   std::string meaning;
};

struct NextWords
{
   std::string syntax; // of the command, or what to type instead
   std::vector<NextWord> words;
};

/// The words that can follow, or complete the last word, each with its meaning.
NextWords nextWords( const Session& session, std::string_view line );

/// The line with whole words in place of abbreviated commands, keywords and interfaces, as in "sh int" or
/// "vlan 10 mem et1-4". A word that fits as it is, is not an abbreviation. InputError if one could mean several words; a
/// line with another error stays as it is from there.
Line expanded( const Session& session, const Line& line );

/// The meaning of a keyword in the lines of a command; empty if the table has none.
std::string_view meaningOf( std::string_view command, std::string_view word );

} // namespace Strata::Tool
