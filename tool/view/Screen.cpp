#include "tool/view/Screen.h"

#include "tool/Interrupt.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Strata::Tool {

namespace {

constexpr std::size_t fewestColumns = 60;
constexpr std::size_t mostColumns = 200;
constexpr std::size_t usualColumns = 80;

} // namespace

ScreenSize screenSize()
{
   struct winsize size = {};
   if( ::ioctl( STDOUT_FILENO, TIOCGWINSZ, &size ) != 0 || size.ws_col == 0 )
      return { usualColumns, 0 };
   return { std::clamp<std::size_t>( size.ws_col, fewestColumns, mostColumns ), size.ws_row };
}

bool isDumbTerminal()
{
   const char* const type = std::getenv( "TERM" );
   return !type || std::string_view( type ).empty() || std::string_view( type ) == "dumb";
}

bool showInPager( const std::string& text )
{
   constexpr int noSuchCommand = 127; // of a POSIX shell
   const char* const chosen = std::getenv( "PAGER" );
   const char* const command = chosen && *chosen ? chosen : "less -FRX";
   const SignalAction brokenPipe( SIGPIPE, SIG_IGN ); // the user may leave before the end
   std::FILE* const pager = ::popen( command, "w" );
   if( !pager )
      return false;
   const SignalAction interrupt( SIGINT, SIG_IGN );
   std::fwrite( text.data(), 1, text.size(), pager );
   const int status = ::pclose( pager );
   return !WIFEXITED( status ) || WEXITSTATUS( status ) != noSuchCommand;
}

} // namespace Strata::Tool
