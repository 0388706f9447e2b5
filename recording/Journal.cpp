#include "recording/Journal.h"

#include "platform/runtime/Trace.h"

#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace Strata {

// Its own handle: whether records are lost does not depend on what else is traced.
Vormel::TraceHandle recordingTrace( "StrataRecording" );

namespace Recording {

void appendQuoted( std::string& text, std::string_view value )
{
   static constexpr char digits[] = "0123456789abcdef";
   text += '"';
   for( const char c : value ) {
      const auto byte = static_cast<unsigned char>( c );
      if( c == '"' || c == '\\' )
         text += { '\\', c };
      else if( byte < 0x20 || byte > 0x7E )
         // Names may hold any bytes; each is one character, so that reading gives the same bytes.
         text += { '\\', 'u', '0', '0', digits[ byte >> 4 ], digits[ byte & 0xF ] };
      else
         text += c;
   }
   text += '"';
}

Journal::Journal( const std::string& file )
   : file_( ::open( file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644 ) )
{
   if( file_ < 0 )
      throw std::system_error(
         errno, std::generic_category(), "cannot write the recording '" + file + "'" );
}

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
   for( std::string_view rest = line_; !rest.empty(); ) {
      const ssize_t written = ::write( file_, rest.data(), rest.size() );
      if( written >= 0 )
         rest.remove_prefix( static_cast<std::size_t>( written ) );
      else if( errno != EINTR )
         throw std::system_error( errno, std::generic_category(), "write" );
   }
}

void Journal::traceEnd( const std::string& failure ) noexcept
{
   VORMEL_TRACE( recordingTrace, 1, "the recording has ended: " << failure );
}

} // namespace Recording
} // namespace Strata
