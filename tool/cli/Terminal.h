// Where a subcommand writes to, and how.
#pragma once

#include <iosfwd>

namespace Strata::Tool {

struct Terminal
{
   std::ostream& out;
   std::ostream& err;
   bool showsColours;
};

} // namespace Strata::Tool
