// Runs the command with arguments and standard input, as on a command line, or with a scenario as its file.
#pragma once

#include "tool/cli/Cli.h"
#include "tool/words/Command.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <string_view>
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

/// A file of the test with this text.
inline std::string scenarioFile( const std::string& text )
{
   const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
   const std::string file = testing::TempDir() + test.name() + ".scenario";
   std::ofstream( file ) << text;
   return file;
}

inline Outcome runText( const std::string& text, std::vector<const char*> options = {} )
{
   const std::string file = scenarioFile( text );
   options.insert( options.begin(), { "run", file.c_str() } );
   return runLine( options );
}

inline std::string contentsOf( const std::string& file )
{
   std::ostringstream text;
   text << std::ifstream( file ).rdbuf();
   return text.str();
}

} // namespace Strata::Tool
