// Where a subcommand reads from and writes to, and how.
#pragma once

#include <iosfwd>

namespace Strata::Tool {

struct Terminal
{
   std::istream& in;
   std::ostream& out;
   std::ostream& err;
   bool showsColours = false;
   bool typed = false; // somebody sits there, and what is read comes by hand
};

} // namespace Strata::Tool
