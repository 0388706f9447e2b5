#include "platform/runtime/Syslog.h"

#include "platform/runtime/Errors.h"
#include "platform/runtime/Registries.h"

#include <cstdio>
#include <exception>
#include <utility>

#include <syslog.h>

namespace Vormel {

constinit const char NoActionRequired[] = "No action required";

static double now()
{
   static const RealClock realClock;
   const Clock* clock = Detail::syslogRegistry().clock;
   return clock ? clock->now() : realClock.now();
}

SyslogHandle::SyslogHandle( const char* key, Severity severity, const char* format,
   const char* explanation, const char* recommendedAction, SyslogRate rate )
   : key_{ key },
     format_{ format },
     explanation_{ explanation },
     recommendedAction_{ recommendedAction },
     rate_{ rate },
     severity_{ severity }
{
   Detail::syslogRegistry().handles.push_back( this );
}

SyslogHandle::~SyslogHandle()
{
   std::erase( Detail::syslogRegistry().handles, this );
}

bool SyslogHandle::admit( double now )
{
   // After the clock was set back or replaced, the time since the last message is unknown.
   const double passed = now - lastPassed_;
   if( passed >= 0 && passed < rate_.minInterval ) {
      ++suppressed_;
      return false;
   }
   lastPassed_ = now;
   return true;
}

std::vector<const SyslogHandle*> syslogHandles()
{
   return Detail::syslogRegistry().handles;
}

SyslogSink syslogSinkIs( SyslogSink sink )
{
   return std::exchange( Detail::syslogRegistry().sink, std::move( sink ) );
}

void syslogClockIs( const Clock* clock )
{
   Detail::syslogRegistry().clock = clock;
}

std::string syslogLine( const SyslogRecord& record )
{
   return std::string( "%" ) + record.handle.key() + "-" +
          std::to_string( static_cast<int>( record.handle.severity() ) ) + ": " +
          std::string( record.text );
}

void syslogToSystem( const SyslogRecord& record )
{
   ::syslog( static_cast<int>( record.handle.severity() ), "%s", syslogLine( record ).c_str() );
}

static void writeLine( const std::string& line )
{
   std::fwrite( ( line + "\n" ).c_str(), 1, line.size() + 1, stderr );
}

static std::string messageText(
   const SyslogHandle& handle, std::span<const FormatArgument> arguments )
{
   try {
      return formatArguments( handle.format(), arguments );
   } catch( const Error& error ) {
      return error.what();
   }
}

void logArguments( SyslogHandle& handle, std::span<const FormatArgument> arguments ) noexcept
{
   try {
      if( !handle.admit( now() ) )
         return;
      const std::string text = messageText( handle, arguments );
      const SyslogRecord record{ handle, text };
      // A copy, since a sink may replace itself while it runs.
      if( const SyslogSink sink = Detail::syslogRegistry().sink )
         sink( record );
      else
         writeLine( syslogLine( record ) );
   } catch( const std::exception& error ) {
      std::fprintf( stderr, "message %s was lost: %s\n", handle.key(), error.what() );
   } catch( ... ) {
      std::fprintf( stderr, "message %s was lost\n", handle.key() );
   }
}

} // namespace Vormel
