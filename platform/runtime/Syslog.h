// System log messages. A message is declared once, as a SyslogHandle with static storage duration,
// and raised with logMessage(). Not thread-safe: handles are made while the library is loaded,
// messages are raised under the activity lock.
#pragma once

#include "platform/runtime/Clock.h"
#include "platform/runtime/Enum.h"
#include "platform/runtime/Export.h"
#include "platform/runtime/Format.h"
#include "platform/runtime/Types.h"

#include <functional>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Vormel {

/// With the numbers of syslog(3).
VORMEL_ENUM( Severity, U8, emergency, alert, critical, error, warning, notice, info, debug )

/// The recommended action of messages that only inform; one object, so that it can be compared by address.
extern VORMEL_EXPORT const char NoActionRequired[];

/// How often a message may be repeated.
struct SyslogRate
{
   double minInterval = 0.0; // seconds in which a message is not repeated; 0 for no limit
   // For the log collector; not used here.
   double factor = 1.0;
   U32 count1 = 0;
   U32 count2 = 0;
};

class VORMEL_EXPORT SyslogHandle
{
 public:
   /// Registers itself. The texts must outlive the handle; `format` is a format of Format.h.
   SyslogHandle( const char* key, Severity severity, const char* format, const char* explanation,
      const char* recommendedAction, SyslogRate rate = {} );
   ~SyslogHandle();
   SyslogHandle( const SyslogHandle& ) = delete;
   SyslogHandle& operator=( const SyslogHandle& ) = delete;

   const char* key() const { return key_; }
   Severity severity() const { return severity_; }
   const char* format() const { return format_; }
   const char* explanation() const { return explanation_; }
   const char* recommendedAction() const { return recommendedAction_; }
   const SyslogRate& rate() const { return rate_; }

   /// Number of messages that the rate has suppressed so far.
   U32 suppressed() const { return suppressed_; }

   /// Whether a message may pass at time `now`, in seconds; counts it as passed or as suppressed.
   bool admit( double now );

 private:
   const char* key_;
   const char* format_;
   const char* explanation_;
   const char* recommendedAction_;
   SyslogRate rate_;
   double lastPassed_ = -std::numeric_limits<double>::infinity();
   U32 suppressed_ = 0;
   Severity severity_;
};

struct SyslogRecord
{
   const SyslogHandle& handle;
   std::string_view text;
};

using SyslogSink = std::function<void( const SyslogRecord& )>;

/// All messages in order of declaration.
VORMEL_EXPORT std::vector<const SyslogHandle*> syslogHandles();

/// Sets the sink and returns the previous one. An empty sink is the default one, which writes
/// syslogLine() to standard error.
VORMEL_EXPORT SyslogSink syslogSinkIs( SyslogSink sink );

/// A sink that hands messages to syslog(3): `syslogSinkIs( syslogToSystem )`.
VORMEL_EXPORT void syslogToSystem( const SyslogRecord& record );

/// "%KEY-SEVERITY: text", the severity as a number.
VORMEL_EXPORT std::string syslogLine( const SyslogRecord& record );

/// Sets the clock that rates are measured on; null is the real one. Requires: the clock outlives its use.
VORMEL_EXPORT void syslogClockIs( const Clock* clock );

/// See logMessage().
VORMEL_EXPORT void logArguments(
   SyslogHandle& handle, std::span<const FormatArgument> arguments ) noexcept;

/// Raises a message with the arguments in the order of the format's conversions. Never fails: for arguments
/// that do not fit the format the message says so, and an exception of the sink is reported on standard error.
template<class... Args>
void logMessage( SyslogHandle& handle, const Args&... args )
{
   if constexpr( sizeof...( Args ) == 0 ) {
      logArguments( handle, {} );
   } else {
      const FormatArgument arguments[] = { FormatArgument( args )... };
      logArguments( handle, arguments );
   }
}

} // namespace Vormel
