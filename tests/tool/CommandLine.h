// Runs the command with arguments and standard input, as on a command line.
#pragma once

#include "tool/cli/Cli.h"

#include <sstream>
#include <string>
#include <vector>

namespace Strata::Tool {

struct Outcome
{
   int status;
   std::string out;
   std::string err;
};

inline int runLine( std::vector<const char*> arguments, Terminal terminal )
{
   arguments.insert( arguments.begin(), "strata-l3" );
   return runCommandLine( static_cast<int>( arguments.size() ), arguments.data(), terminal );
}

inline Outcome runLine( const std::vector<const char*>& arguments, const std::string& input = {} )
{
   std::istringstream in( input );
   std::ostringstream out;
   std::ostringstream err;
   const int status = runLine( arguments, Terminal{ in, out, err } );
   return { status, out.str(), err.str() };
}

} // namespace Strata::Tool
