// A line of text for the terminal.
#pragma once

#include "platform/runtime/Types.h"

#include <string>

namespace Strata::Tool {

/// The kind of a line of text, by which it is coloured.
enum class Tone : U8
{
   plain,
   heading, // a command
   title,   // of a table or section
   note,
   good,
   bad,
   faint,
};

/// The place of a line in a table.
enum class Part : U8
{
   head,
   section,
   row,
   continuation, // of the row above
};

struct Toned
{
   Tone tone;
   std::string text;
   Part part = Part::row;
};

} // namespace Strata::Tool
