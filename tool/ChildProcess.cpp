#include "tool/ChildProcess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <poll.h>
#include <sstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace Strata::Tool {

namespace {

[[noreturn]] void throwErrno( const char* what )
{
   throw std::system_error( errno, std::generic_category(), what );
}

struct Pipe
{
   Pipe()
   {
      if( ::pipe( ends.data() ) != 0 )
         throwErrno( "pipe" );
   }
   ~Pipe()
   {
      closeEnd( 0 );
      closeEnd( 1 );
   }
   Pipe( const Pipe& ) = delete;
   Pipe& operator=( const Pipe& ) = delete;

   void closeEnd( std::size_t end )
   {
      if( ends[ end ] >= 0 )
         ::close( ends[ end ] );
      ends[ end ] = -1;
   }

   std::array<int, 2> ends{ -1, -1 };
};

/// Sends one line: the form, then the text. Unbuffered, because the sender may die at any time.
class PipeChannel : public ChildChannel
{
 public:
   explicit PipeChannel( int descriptor ) : descriptor_( descriptor ) {}

   void send( char form, std::string_view text ) override
   {
      const std::string line = form + std::string( text ) + '\n';
      for( std::size_t at = 0; at < line.size(); ) {
         const ssize_t sent = ::write( descriptor_, line.data() + at, line.size() - at );
         if( sent < 0 && errno != EINTR )
            return;
         at += sent < 0 ? 0 : static_cast<std::size_t>( sent );
      }
   }

 private:
   int descriptor_;
};

[[noreturn]] void beChild(
   const std::function<void( ChildChannel& )>& work, Pipe& errors, Pipe& records )
{
   errors.closeEnd( 0 );
   records.closeEnd( 0 );
   ::dup2( errors.ends[ 1 ], STDOUT_FILENO );
   ::dup2( errors.ends[ 1 ], STDERR_FILENO );
   std::signal( SIGABRT, SIG_DFL );
   const rlimit noCore{ 0, 0 }; // the death is expected, so a core file is not needed
   ::setrlimit( RLIMIT_CORE, &noCore );
   PipeChannel channel( records.ends[ 1 ] );
   int status = 0;
   try {
      work( channel );
   } catch( const std::exception& exception ) {
      std::cerr << exception.what() << std::flush;
      status = 1;
   }
   std::cout.flush();
   std::fflush( nullptr );
   ::_exit( status ); // without destructors, which only the parent may run
}

/// Reads both pipes until the child has closed them.
void readBoth( Pipe& errors, std::string& errorText, Pipe& records, std::string& recordText )
{
   std::array<pollfd, 2> polls{
      { { errors.ends[ 0 ], POLLIN, 0 }, { records.ends[ 0 ], POLLIN, 0 } } };
   std::array<std::string*, 2> texts{ &errorText, &recordText };
   std::array<char, 65536> buffer;
   for( int open = 2; open > 0; ) {
      if( ::poll( polls.data(), polls.size(), -1 ) < 0 && errno != EINTR )
         throwErrno( "poll" );
      for( std::size_t i = 0; i < polls.size(); ++i ) {
         if( polls[ i ].fd < 0 || ( polls[ i ].revents & ( POLLIN | POLLHUP | POLLERR ) ) == 0 )
            continue;
         const ssize_t got = ::read( polls[ i ].fd, buffer.data(), buffer.size() );
         if( got > 0 ) {
            texts[ i ]->append( buffer.data(), static_cast<std::size_t>( got ) );
         } else if( got == 0 || errno != EINTR ) {
            polls[ i ].fd = -1;
            --open;
         }
      }
   }
}

std::string howItEnded( int status )
{
   if( WIFEXITED( status ) )
      return "ended with status " + std::to_string( WEXITSTATUS( status ) );
   const int signal = WTERMSIG( status );
   return signal == SIGABRT ? "aborted" : "was killed by signal " + std::to_string( signal );
}

/// The line of the last words of a process that says why it died: the call that failed, or else the last one.
std::string whyItDied( const std::string& words )
{
   std::istringstream lines( words );
   std::string why;
   for( std::string line; std::getline( lines, line ) && why.find( "API ERROR:" ) == why.npos; )
      why = line;
   return why;
}

} // namespace

std::string ChildEnd::obstacle() const
{
   if( errorText.empty() )
      return "would die: it " + how;
   return wasRefused() ? "would be refused: " + errorText.substr( 0, errorText.find( '\n' ) )
                       : "would die: " + whyItDied( errorText );
}

ChildEnd runInChild( const std::function<void( ChildChannel& )>& work )
{
   Pipe errors;
   Pipe records;
   // Flushed, because both processes would write the buffered output.
   std::cout.flush();
   std::fflush( nullptr );
   const pid_t child = ::fork();
   if( child < 0 )
      throwErrno( "fork" );
   if( child == 0 )
      beChild( work, errors, records );
   errors.closeEnd( 1 );
   records.closeEnd( 1 );
   ChildEnd end;
   std::string recordText;
   readBoth( errors, end.errorText, records, recordText );
   int status = 0;
   while( ::waitpid( child, &status, 0 ) < 0 )
      if( errno != EINTR )
         throwErrno( "waitpid" );
   end.aborted = WIFSIGNALED( status ) && WTERMSIG( status ) == SIGABRT;
   end.how = howItEnded( status );
   for( std::size_t at = 0; at < recordText.size(); ) {
      const std::size_t newline = std::min( recordText.find( '\n', at ), recordText.size() );
      if( newline > at )
         end.lines.emplace_back( recordText[ at ], recordText.substr( at + 1, newline - at - 1 ) );
      at = newline + 1;
   }
   return end;
}

} // namespace Strata::Tool
