// The streams of a subcommand.
#pragma once

#include <iosfwd>

namespace Strata::Tool {

struct Terminal
{
   std::istream& in;
   std::ostream& out;
   std::ostream& err;
   bool showsColours = false;
   bool typed = false; // the input is a terminal
};

} // namespace Strata::Tool
