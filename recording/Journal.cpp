#include "recording/Journal.h"

#include "platform/runtime/Trace.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace Strata {

// Its own handle: whether records are lost does not depend on what else is traced.
Vormel::TraceHandle recordingTrace( "StrataRecording" );

namespace Recording {

namespace {

int opened( const std::string& name )
{
   const int file =
      ::open( name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644 );
   if( file < 0 )
      throw std::system_error(
         errno, std::generic_category(), "cannot write the recording '" + name + "'" );
   return file;
}

/// A device or a pipe has no size, and is not to be renamed.
bool isRegular( int file )
{
   struct stat about = {};
   return ::fstat( file, &about ) == 0 && S_ISREG( about.st_mode );
}

} // namespace

Journal::Journal( const std::string& file, U64 limit )
   : name_( file ),
     file_( opened( file ) ),
     limit_( isRegular( file_ ) ? limit : 0 ),
     chips_( limit_ != 0 ? std::make_unique<ChipCalls>() : nullptr )
{}

Journal::~Journal()
{
   if( file_ >= 0 )
      ::close( file_ );
}

void Journal::begin( JsonObject& object, std::string_view record ) const
{
   const auto time = std::chrono::steady_clock::now() - start_;
   object.add( "record", record );
   object.add( "n", number_ );
   object.add( "t", std::chrono::duration_cast<std::chrono::nanoseconds>( time ).count() );
}

void Journal::writeLine()
{
   line_ += '\n';
   size_ += line_.size();
   // A limit that what a file starts with reaches at once would replace it at every input.
   isFull_ = limit_ != 0 && size_ >= limit_ && size_ >= 2 * headSize_;
   for( std::string_view rest = line_; !rest.empty(); ) {
      const ssize_t written = ::write( file_, rest.data(), rest.size() );
      if( written >= 0 )
         rest.remove_prefix( static_cast<std::size_t>( written ) );
      else if( errno != EINTR )
         throw std::system_error( errno, std::generic_category(), "write" );
   }
}

void Journal::replace() noexcept
{
   std::string failure;
   {
      const std::lock_guard guard( mutex_ );
      if( !open_ || opens_ != 0 )
         return;
      isReplaced_ = true;
      try {
         openNext();
         head_();
      } catch( const std::exception& error ) {
         open_ = false;
         failure_ = error.what();
      }
      isReplaced_ = false;
      headSize_ = size_;
      isFull_ = false;
      failure.swap( failure_ );
   }
   if( !failure.empty() )
      traceEnd( failure );
}

void Journal::openNext()
{
   const std::string old = name_ + ".old";
   if( std::rename( name_.c_str(), old.c_str() ) != 0 )
      throw std::system_error(
         errno, std::generic_category(), "cannot rename the recording to '" + old + "'" );
   const int next = opened( name_ );
   ::close( file_ );
   file_ = next;
   size_ = 0;
   ++predecessors_;
}

void Journal::traceEnd( const std::string& failure ) noexcept
{
   VORMEL_TRACE( recordingTrace, 1, "the recording has ended: " << failure );
}

} // namespace Recording
} // namespace Strata
