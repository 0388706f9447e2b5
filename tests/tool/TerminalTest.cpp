// The shell on a pseudo-terminal: behaviour that depends on keys, signals and the window.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <poll.h>
#include <pty.h>
#include <sstream>
#include <string>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace Strata::Tool {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* up = "\033[A";
constexpr const char* interrupt = "\003";
constexpr const char* endOfInput = "\004";

class TerminalTest : public testing::Test
{
 protected:
   ~TerminalTest() override
   {
      if( shell_ > 0 ) {
         ::kill( shell_, SIGKILL );
         ::waitpid( shell_, nullptr, 0 );
      }
      ::close( terminal_ );
   }

   /// `caller` is a script of sh that runs "$0" shell; without one the shell is its own session.
   void start( const std::string& pager = "cat", const std::string& type = "xterm",
      const char* caller = nullptr )
   {
      winsize size{ 24, 80, 0, 0 };
      shell_ = ::forkpty( &terminal_, nullptr, nullptr, &size );
      ASSERT_GE( shell_, 0 );
      if( shell_ == 0 ) {
         ::setenv( "XDG_STATE_HOME", testing::TempDir().c_str(), 1 );
         ::setenv( "TERM", type.c_str(), 1 );
         ::setenv( "PAGER", pager.c_str(), 1 );
         if( caller )
            ::execl( "/bin/sh", "sh", "-c", caller, STRATA_TOOL_FILE, nullptr );
         ::execl( STRATA_TOOL_FILE, "strata-l3", "shell", nullptr );
         ::_exit( 127 );
      }
      EXPECT_THAT( outputUntilPrompt(), HasSubstr( "'help'" ) );
   }

   void type( const std::string& keys )
   {
      EXPECT_EQ(
         ::write( terminal_, keys.data(), keys.size() ), static_cast<ssize_t>( keys.size() ) );
   }

   /// The next output, up to and including this text.
   std::string outputUntil( const std::string& text )
   {
      using Clock = std::chrono::steady_clock;
      for( const auto end = Clock::now() + std::chrono::seconds( 30 );
           shown_.find( text ) == shown_.npos && Clock::now() < end; ) {
         pollfd waiting{ terminal_, POLLIN, 0 };
         if( ::poll( &waiting, 1, 1000 ) <= 0 )
            continue;
         char buffer[ 4096 ];
         const ssize_t got = ::read( terminal_, buffer, sizeof( buffer ) );
         if( got <= 0 )
            break;
         shown_.append( buffer, static_cast<std::size_t>( got ) );
      }
      EXPECT_THAT( shown_, HasSubstr( text ) );
      const std::size_t end = std::min( shown_.find( text ), shown_.size() );
      const std::string output = shown_.substr( 0, end + text.size() );
      shown_.erase( 0, output.size() );
      return output;
   }

   /// Whether a condition becomes true in time.
   template<class Condition>
   static bool comes( Condition condition )
   {
      for( int tries = 0; tries < 3000; ++tries ) {
         if( condition() )
            return true;
         ::usleep( 10000 );
      }
      return false;
   }

   /// The output up to the prompt. The editor shows the prompt before it reads single keys: a key that is pressed
   /// earlier goes to the line editing of the terminal.
   std::string outputUntilPrompt()
   {
      std::string output = outputUntil( prompt );
      EXPECT_TRUE( comes( [ & ] {
         termios mode{};
         ::tcgetattr( terminal_, &mode );
         return ( mode.c_lflag & ICANON ) == 0;
      } ) );
      return output;
   }

   /// Types a line and returns its output.
   std::string run( const std::string& line )
   {
      type( line + "\n" );
      outputUntil( "\n" ); // the echo
      return outputUntilPrompt();
   }

   int status()
   {
      type( endOfInput );
      int status = 0;
      if( !comes( [ & ] { return ::waitpid( shell_, &status, WNOHANG ) != 0; } ) ) {
         ADD_FAILURE() << "the session does not end";
         return -1;
      }
      shell_ = 0;
      return WIFEXITED( status ) ? WEXITSTATUS( status ) : -1;
   }

   void resize( unsigned short columns )
   {
      const winsize size{ 24, columns, 0, 0 };
      ::ioctl( terminal_, TIOCSWINSZ, &size );
   }

   static std::size_t longestLine( const std::string& text )
   {
      std::size_t longest = 0;
      std::istringstream lines( text );
      for( std::string line; std::getline( lines, line, '\r' ); )
         longest =
            std::max( longest, line.size() - std::min<std::size_t>( line.find( '\n' ) + 1, 1 ) );
      return longest;
   }

   static constexpr const char* prompt = "strata-l3> ";

 private:
   int terminal_ = -1;
   pid_t shell_ = 0;
   std::string shown_; // output that outputUntil() has not returned yet
};

TEST_F( TerminalTest, CtrlCEndsTheCommandAndNotTheSession )
{
   start();
   run( "switch hsdk ports 4" );
   run( "bring-up" );
   run( "set miscConfig.unknownMacDropTrafficClass[3] true" );
   run( "set miscConfig.syslogTimeout 0.001" );
   type( "advance 500000m\n" );
   outputUntil( "\n" );
   ::usleep( 200000 );
   type( interrupt );
   EXPECT_THAT( outputUntilPrompt(), HasSubstr( "interrupted at " ) );
   EXPECT_THAT( run( "show units" ), HasSubstr( "hsdk" ) );
   type( "show unts" );
   type( interrupt ); // discards the line
   outputUntilPrompt();
   EXPECT_EQ( status(), 0 );
}

// The caller takes the terminal as soon as one of the shell's processes has stopped, and expects it to edit lines.
TEST_F( TerminalTest, CtrlZStopsTheSessionOnceAndTheLineIsKept )
{
   start( "cat", "xterm",
      "set -m; \"$0\" shell; for i in 1 2 3 4 5 6 7 8; do echo stopped; "
      "stty -a | grep -q -e -icanon && echo stopped raw; fg; done" );
   run( "switch hsdk ports 4" );
   for( int line = 0; line < 2; ++line ) {
      type( "show un" );
      outputUntil( "un" );
      for( int stop = 0; stop < 2; ++stop ) {
         type( "\032" );
         outputUntil( "stopped\r\n" );
         EXPECT_THAT( outputUntilPrompt(), Not( HasSubstr( "stopped" ) ) );
      }
      type( "its\n" );
      EXPECT_THAT( outputUntilPrompt(), HasSubstr( "hsdk" ) );
   }
}

TEST_F( TerminalTest, ADeathLeavesAFreshSessionWithTheHistory )
{
   start();
   run( "switch hsdk ports 4" );
   run( "fault bcm_switch_control_set code BCM_E_FAIL" );
   EXPECT_THAT( run( "call init true true" ), HasSubstr( "fresh session" ) );
   EXPECT_THAT( run( "show units" ), HasSubstr( "there is no switch yet" ) );
   type( std::string( up ) + up );
   EXPECT_THAT( outputUntil( "true true" ), HasSubstr( "call init" ) );
   type( interrupt );
   outputUntilPrompt();
   EXPECT_EQ( status(), 3 );
}

TEST_F( TerminalTest, KeysCompleteAndAskAndPastedTabsAreBlanks )
{
   start();
   run( "switch hsdk ports 4" );
   type( "sho" );
   outputUntil( "sho" );
   type( "\t" );
   outputUntil( "w " );
   type( "u" );
   outputUntil( "u" );
   type( "?" );
   EXPECT_THAT( outputUntil( "show u" ), HasSubstr( "units, their ports" ) );
   type( "nits\n" );
   EXPECT_THAT( outputUntilPrompt(), HasSubstr( "hsdk" ) );
   EXPECT_THAT( run( "show\tunits" ), HasSubstr( "hsdk" ) );
   EXPECT_EQ( status(), 0 );
}

TEST_F( TerminalTest, OutputFollowsTheWindowAndLongOutputIsPaged )
{
   start( "sed s/^/paged:/" );
   run( "switch hsdk ports 4" );
   EXPECT_THAT( run( "help" ), HasSubstr( "paged:" ) );
   EXPECT_THAT( run( "show units" ), Not( HasSubstr( "paged:" ) ) );
   run( "terminal length 0" );
   const std::string usual = run( "help" );
   EXPECT_THAT( usual, Not( HasSubstr( "paged:" ) ) );
   EXPECT_LE( longestLine( usual ), 80u );
   EXPECT_LE( longestLine( run( "vlan 10 speed 5" ) ), 80u ); // the choices are longer
   type( "switch ?" );
   const std::size_t codes = std::string( "\033[1m\033[0m" ).size(); // of bold text
   EXPECT_LE( longestLine( outputUntilPrompt() ), 80u + codes );     // the syntax is longer
   type( interrupt );
   outputUntilPrompt();
   resize( 120 );
   const std::size_t wider = longestLine( run( "help" ) );
   EXPECT_GT( wider, 80u );
   EXPECT_LE( wider, 120u );
   EXPECT_EQ( status(), 2 );
}

TEST_F( TerminalTest, ADumbTerminalHasNoColours )
{
   start( "sed s/^/paged:/", "dumb" );
   run( "switch hsdk ports 4" );
   const std::string shown = run( "help" );
   EXPECT_THAT( shown, Not( HasSubstr( "\033" ) ) );
   EXPECT_THAT( shown, Not( HasSubstr( "paged:" ) ) );
   EXPECT_EQ( status(), 0 );
}

} // namespace
} // namespace Strata::Tool
