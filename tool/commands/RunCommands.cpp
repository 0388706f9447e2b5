// Control of a run: bring-up, the clock, traces, notes and marks.
#include "platform/runtime/Format.h"
#include "platform/runtime/Trace.h"
#include "tool/Interrupt.h"
#include "tool/Session.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <charconv>

namespace Strata::Tool {

namespace {

constexpr double longestAdvance = 366 * 86400.0; // seconds

/// "5s", "250ms", "2m", in seconds.
double takeDuration( Words& words )
{
   const std::string text = words.take( "a duration, as in 5s" ).text;
   double number = 0;
   const char* const end = text.data() + text.size();
   const auto result = std::from_chars( text.data(), end, number );
   const std::string_view unit( result.ptr, end );
   if( result.ec == std::errc() && number >= 0 ) {
      if( unit == "ms" )
         return number / 1000;
      if( unit == "s" )
         return number;
      if( unit == "m" )
         return number * 60;
   }
   words.fail( "'" + text + "' is not a duration; write 250ms, 5s or 2m" );
}

Act advance( const Session&, Words& words )
{
   const double seconds = takeDuration( words );
   if( seconds > longestAdvance )
      words.fail( "the clock moves by at most 366 days at a time" );
   return [ seconds ]( Session& live ) {
      Vormel::ManualClock& clock = live.agent().clock();
      const double end = clock.now() + seconds;
      while( clock.now() < end ) {
         safePoint( [ & ] { return Vormel::format( "at %s s", clock.now() ); } );
         clock.advanceTo( std::clamp( clock.nextExpiry(), clock.now(), end ) );
      }
      clock.advanceTo( end ); // timers that are due although no time passes
   };
}

Act trace( const Session&, Words& words )
{
   std::string levels; // set together or not at all
   do
      levels += ( levels.empty() ? "" : "," ) +
                words.take( "a trace handle and its level, as in ApiStrata=4", "HANDLE" ).text;
   while( !words.done() );
   return [ levels ]( Session& ) { Vormel::traceLevelsIs( levels ); };
}

Act note( const Session&, Words& words )
{
   return [ text = words.take( "a text" ).text ]( Session& live ) { live.console().note( text ); };
}

void bringUp( Session& session )
{
   session.agent().bringUp();
}

Act start( const Session&, Words& words )
{
   std::set<std::string_view> without;
   while( words.accept( "without" ) )
      without.insert( words.choose( "an input that may be absent", Agent::optionalInputs() ) );
   return [ without ]( Session& live ) { live.agent().startReactors( without ); };
}

void stop( Session& session )
{
   session.agent().stop();
}

void mark( Session& session )
{
   session.mark();
}

void quiet( Session& session )
{
   session.console().eventsShownIs( false );
}

void loud( Session& session )
{
   session.console().eventsShownIs( true );
}

} // namespace

std::vector<Command> runCommands()
{
   return {
      { "bring-up", "", "init, l3Init, then the reactors: the hardware follows from then on",
         parseNone<bringUp> },
      { "reactors start", "[without INPUT]...",
         "make the reactors; those from before are dropped first", start },
      { "reactors stop", "", "drop the reactors; the hardware stays as it is", parseNone<stop> },
      { "advance", "DURATION", "advance the clock; timers run when they are due", advance },
      { "trace", "HANDLE=LEVEL...", "set trace levels: 0 to 9, or off", trace, true, false },
      { "note", "TEXT", "a remark for the reader", note, false, false },
      { "mark", "", "start a new window for expectations and show", parseNone<mark>, true, false },
      { "quiet", "", "leave calls, notifications and traces out of the text until 'loud'",
         parseNone<quiet>, true, false },
      { "loud", "", "show calls, notifications and traces again", parseNone<loud>, true, false },
   };
}

} // namespace Strata::Tool
