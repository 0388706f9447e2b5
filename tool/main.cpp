#include "tool/cli/Cli.h"

#include <cstdlib>
#include <iostream>
#include <unistd.h>

int main( int argc, char** argv )
{
   const bool colours = ::isatty( STDOUT_FILENO ) != 0 && !std::getenv( "NO_COLOR" );
   const bool typed = ::isatty( STDIN_FILENO ) != 0 && ::isatty( STDOUT_FILENO ) != 0;
   Strata::Tool::Terminal terminal{ std::cin, std::cout, std::cerr, colours, typed };
   return Strata::Tool::runCommandLine( argc, argv, terminal );
}
