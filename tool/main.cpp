#include "tool/cli/Cli.h"
#include "tool/view/Screen.h"

#include <cstdlib>
#include <iostream>
#include <sys/stat.h>
#include <unistd.h>

/// Whether both are the same terminal or file.
static bool isSame( int descriptor, int other )
{
   struct stat a = {};
   struct stat b = {};
   return ::fstat( descriptor, &a ) == 0 && ::fstat( other, &b ) == 0 && a.st_dev == b.st_dev &&
          a.st_ino == b.st_ino;
}

int main( int argc, char** argv )
{
   const bool screen = ::isatty( STDOUT_FILENO ) != 0;
   const bool colours = screen && !std::getenv( "NO_COLOR" ) && !Strata::Tool::isDumbTerminal();
   const bool typed = screen && ::isatty( STDIN_FILENO ) != 0;
   Strata::Tool::Terminal terminal{ std::cin, std::cout, std::cerr, colours, typed, screen,
      isSame( STDOUT_FILENO, STDERR_FILENO ) };
   return Strata::Tool::runCommandLine( argc, argv, terminal );
}
