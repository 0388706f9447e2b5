// Control of a run: bring-up, the clock, traces, notes and marks.
#include "agent/AttributeValues.h"
#include "platform/runtime/EntityType.h"
#include "platform/runtime/Format.h"
#include "platform/runtime/Trace.h"
#include "tool/Interrupt.h"
#include "tool/ScenarioFile.h"
#include "tool/ScenarioRun.h"
#include "tool/Session.h"
#include "tool/words/ByUnit.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <system_error>

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

/// Together or not at all; an error points at its setting.
void setTraceLevels( const std::vector<Word>& settings, const Words& words )
{
   std::string levels;
   for( const Word& setting : settings )
      levels += ( levels.empty() ? "" : "," ) + setting.text;
   try {
      Vormel::traceLevelsIs( levels );
   } catch( const Vormel::Error& error ) {
      for( const Word& setting : settings )
         if( std::string_view( error.what() ).find( "'" + setting.text + "'" ) !=
             std::string_view::npos )
            words.failAt( setting, error.what() );
      throw;
   }
}

Act trace( const Session&, Words& words )
{
   std::vector<Word> settings;
   Words::Taken taken;
   do {
      const Word& word = words.take( "a trace handle and its level, as in ApiStrata=4", "HANDLE" );
      if( word.text.empty() || word.text.find( ',' ) != word.text.npos )
         words.fail( "'" + word.text + "' is not HANDLE=LEVEL; put blanks between settings" );
      if( !taken.emplace( word.text.substr( 0, word.text.find( '=' ) ) ).second )
         words.fail( "the level of this handle is given twice" );
      settings.push_back( word );
   } while( !words.done() );
   return [ settings, &words ]( Session& ) { setTraceLevels( settings, words ); };
}

Act note( const Session&, Words& words )
{
   return [ text = words.text( "a remark" ) ]( Session& live ) { live.console().note( text ); };
}

namespace fs = std::filesystem;

/// "a.scenario:3 -> b.scenario:1 -> a.scenario", from the outermost file.
std::string chainText( const Line& line, const std::string& file )
{
   std::string text = line.file + ":" + std::to_string( line.number ) + " -> " + file;
   for( const Inclusion* at = line.inclusion.get(); at; at = at->outer.get() )
      text.insert( 0, at->file + ":" + std::to_string( at->number ) + " -> " );
   return text;
}

bool isLoop( const Line& line, const std::string& file )
{
   const auto isIt = [ & ]( const std::string& other ) {
      std::error_code none; // a file that does not exist is not the same
      return fs::equivalent( file, other, none );
   };
   bool found = isIt( line.file );
   for( const Inclusion* at = line.inclusion.get(); at && !found; at = at->outer.get() )
      found = isIt( at->file );
   return found;
}

void runIncluded( Session& session, const Words& words, const std::string& file )
{
   const Line& line = words.line();
   try {
      runLines( file, session,
         std::make_shared<const Inclusion>( Inclusion{ line.file, line.number, line.inclusion } ) );
   } catch( const InputError& ) {
      throw; // its place is in the file
   } catch( const Interrupted& ) {
      throw;
   } catch( const std::runtime_error& error ) { // the file cannot be read
      words.fail( error.what() );
   }
   session.console().note( "End of " + file + ", included at " + placeText( line ) );
}

Act include( const Session& session, Words& words )
{
   const Line& line = words.line();
   const std::string name = words.take( "a scenario file", "FILE" ).text;
   const std::string file = includedFile( line, name );
   if( isLoop( line, file ) )
      words.fail( "a file cannot include itself: " + chainText( line, file ) );
   if( session.console().writesTo( file ) )
      words.fail( "'" + file + "' is the transcript of this run; include another file" );
   return [ file, &words ]( Session& live ) { runIncluded( live, words, file ); };
}

UnitRow entriesRow( const Sim::Chip& chip )
{
   std::size_t installed = 0;
   std::size_t disabled = 0;
   for( const Sim::FieldGroup& group : chip.groups() )
      for( const auto& [ id, entry ] : group.entries() ) {
         installed += entry.installed() ? 1 : 0;
         disabled += entry.installed() && !entry.enabled ? 1 : 0;
      }
   return { { "entries", Vormel::format( "%d installed, %d of them disabled: show entries",
                            installed, disabled ) },
      { { "what", "entries" }, { "installed", installed }, { "disabled", disabled } } };
}

UnitRow controlsRow( const Sim::Chip& chip )
{
   const std::size_t written =
      chip.controls().size() + chip.portSwitchControls().size() + chip.portControls().size();
   return { { "controls", Vormel::format( "%d written: show controls", written ) },
      { { "what", "controls" }, { "written", written } } };
}

std::size_t changedAttributes( const Agent& agent )
{
   Agent::Values initial = agent.initialValues( *agent.helper() );
   const std::vector<AttributeValue> values = attributeValues( *agent.helper() );
   return static_cast<std::size_t>(
      std::ranges::count_if( values, [ & ]( const AttributeValue& value ) {
         return value.attribute->info().number != 0 &&
                initial[ value.name ] != agent.valueText( value.value );
      } ) );
}

/// The number of hardware calls and entry-manager calls so far.
U64 callCount( Agent& agent )
{
   const Sim::Transcript& transcript = agent.hardware().transcript();
   return transcript.count( Sim::RecordKind::call ) + transcript.count( Sim::RecordKind::entry );
}

/// What the switch and the helper have now, and the commands that show it.
Table outcomeTable( const Agent& agent, U64 calls, bool kept )
{
   ByUnit<UnitRow> rows;
   for( const auto& [ unit, chip ] : agent.hardware().chips() ) {
      rows.add( unit, entriesRow( chip ) );
      rows.add( unit, controlsRow( chip ) );
   }
   Table table = unitTable( { { "What" }, { "How many" } }, rows );
   const std::size_t changed = changedAttributes( agent );
   table.row( { "attributes", "-",
                 Vormel::format( "%d differ from the start: show attributes changed", changed ) },
      { { "what", "attributes" }, { "changed", changed } } );
   table.row( { "calls", "-",
                 Vormel::format( "%d made: %s", calls,
                    kept ? "show transcript, or 'loud' before" : "'loud' before shows them" ) },
      { { "what", "calls" }, { "made", calls } } );
   return table;
}

void bringUp( Session& session )
{
   Agent& agent = session.agent();
   const U64 before = callCount( agent );
   {
      const Summing summary( session.console() );
      agent.bringUp();
   }
   session.console().report(
      "Brought up", outcomeTable( agent, callCount( agent ) - before, session.keepsRecords() ) );
}

Act start( const Session&, Words& words )
{
   std::set<std::string_view> without;
   Words::Taken taken;
   while( words.accept( "without" ) )
      without.insert(
         words.chooseOnce( "an input that may be absent", Agent::optionalInputs(), taken ) );
   return [ without ]( Session& live ) { live.agent().startReactors( without ); };
}

void stop( Session& session )
{
   session.agent().stop();
}

void restart( Session& session, Restart kind )
{
   Agent& agent = session.agent();
   const U64 before = callCount( agent );
   std::vector<std::string> swept;
   {
      const Summing summary( session.console() );
      swept = agent.restart( kind );
   }
   Table table = outcomeTable( agent, callCount( agent ) - before, session.keepsRecords() );
   for( const std::string& name : swept )
      table.row( { "removed", "-", name }, { { "what", "removed" }, { "name", name } } );
   session.console().report( "Started again", table );
}

Act startAgain( const Session& session, Words& words )
{
   static constexpr std::array<std::string_view, 2> kinds{ "cold", "warm" };
   const Restart kind =
      words.choose( "a kind of start", kinds ) == "cold" ? Restart::cold : Restart::warm;
   if( session.agent().recorder().recording() )
      words.failAt( words.line().words.front(),
         "a recording is one of a single agent; run the scenario with 'strata-l3 run', without "
         "--chrome-trace" );
   return [ kind ]( Session& live ) { restart( live, kind ); };
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
      { "bring-up", "",
         "init, l3Init, then the reactors: the hardware follows from then on; then a summary",
         parseNone<bringUp> },
      { "reactors start", "[without INPUT]...",
         "make the reactors; those from before are dropped first", start },
      { "reactors stop", "", "drop the reactors; the hardware stays as it is", parseNone<stop> },
      { "restart", "cold|warm",
         "end the agent and start a new one with the same inputs, on chips that were reset, or as "
         "they are",
         startAgain },
      { "advance", "DURATION", "advance the clock; timers run when they are due", advance },
      { "trace", "HANDLE=LEVEL...", "set trace levels: 0 to 9, or off", trace, true, false },
      { "include", "FILE", "run the lines of another scenario, named relative to this one", include,
         true, false },
      { "note", "TEXT", "a remark for the reader", note, false, false },
      { "mark", "", "start a new window for expectations and show", parseNone<mark>, true, false },
      { "quiet", "", "leave calls, notifications and traces out of the text until 'loud'",
         parseNone<quiet>, true, false },
      { "loud", "", "show calls, notifications and traces again, also those of bring-up",
         parseNone<loud>, true, false },
   };
}

} // namespace Strata::Tool
