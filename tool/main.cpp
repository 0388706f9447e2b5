#include "tool/cli/Cli.h"

#include <cstdlib>
#include <iostream>
#include <unistd.h>

int main( int argc, char** argv )
{
   const bool colours = ::isatty( STDOUT_FILENO ) != 0 && !std::getenv( "NO_COLOR" );
   Strata::Tool::Terminal terminal{ std::cout, std::cerr, colours };
   return Strata::Tool::runCommandLine( argc, argv, terminal );
}
