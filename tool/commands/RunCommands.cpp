// What moves a run along: the clock, traces, notes and marks.
#include "platform/runtime/Trace.h"
#include "tool/Command.h"
#include "tool/Session.h"

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

void advance( Session& session, Words& words )
{
   const double seconds = takeDuration( words );
   if( seconds > longestAdvance )
      words.fail( "the clock moves by at most 366 days at a time" );
   words.end();
   session.agent( words ).clock().advanceBy( seconds );
}

void trace( Session&, Words& words )
{
   std::string levels; // set together or not at all
   do
      levels += ( levels.empty() ? "" : "," ) +
                words.take( "a trace handle and its level, as in ApiStrata=4", "HANDLE" ).text;
   while( !words.done() );
   Vormel::traceLevelsIs( levels );
}

void note( Session& session, Words& words )
{
   const std::string text = words.take( "a text" ).text;
   words.end();
   session.console().note( text );
}

void bringUp( Session& session, Words& words )
{
   words.end();
   session.agent( words ).bringUp();
}

void start( Session& session, Words& words )
{
   std::set<std::string_view> without;
   while( words.accept( "without" ) )
      without.insert( words.choose( "an input that may be absent", Agent::optionalInputs() ) );
   words.end();
   session.agent( words ).startReactors( without );
}

void stop( Session& session, Words& words )
{
   words.end();
   session.agent( words ).stop();
}

void mark( Session& session, Words& words )
{
   words.end();
   session.mark();
}

void quiet( Session& session, Words& words )
{
   words.end();
   session.console().eventsShownIs( false );
}

void loud( Session& session, Words& words )
{
   words.end();
   session.console().eventsShownIs( true );
}

} // namespace

std::vector<Command> runCommands()
{
   return {
      { "bring-up", "", "init, l3Init, then the reactors: the hardware follows from then on",
         bringUp },
      { "reactors start", "[without INPUT]...",
         "make the reactors; those from before are dropped first", start },
      { "reactors stop", "", "drop the reactors; the hardware stays as it is", stop },
      { "advance", "DURATION", "move the clock; timers run when they are due", advance },
      { "trace", "HANDLE=LEVEL...", "set trace levels: 0 to 9, or off", trace },
      { "note", "TEXT", "say something to the reader", note, false },
      { "mark", "", "start a new window for what is expected and shown", mark },
      { "quiet", "", "leave calls, notifications and traces out of the text until 'loud'", quiet },
      { "loud", "", "show calls, notifications and traces again", loud },
   };
}

} // namespace Strata::Tool
