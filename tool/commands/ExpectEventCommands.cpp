// Expectations about events since the last mark, and about commands that must fail.
#include "desk/Texts.h"
#include "platform/runtime/Snapshot.h"
#include "tool/ChildProcess.h"
#include "tool/Interrupt.h"
#include "tool/Session.h"
#include "tool/view/Expectation.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <optional>
#include <sstream>

namespace Strata::Tool {

namespace {

using Sim::Record;
using Sim::RecordKind;

/// How often something is expected: at least once unless a number is given.
struct Times
{
   std::optional<U64> exactly;

   bool hold( U64 found ) const { return exactly ? found == *exactly : found > 0; }
   std::string text() const
   {
      return exactly ? Desk::counted( *exactly, "time" ) : "at least once";
   }
};

Times takeTimes( Words& words )
{
   Times times;
   if( words.accept( "none" ) )
      times.exactly = 0;
   else if( words.accept( "times" ) )
      times.exactly = words.value<U64>( "a number" );
   return times;
}

using Matches = std::function<bool( const Record& )>;

Act expectRecords( const std::string& what, const Times& times, const Matches& matches )
{
   return [ = ]( Session& session ) {
      U64 found = 0;
      for( const Record& record : session.window() )
         found += matches( record ) ? 1 : 0;
      session.expect( times.hold( found ), what + " " + times.text(),
         std::to_string( found ) + " since the last mark" );
   };
}

bool isCall( const Record& record )
{
   return record.kind == RecordKind::call || record.kind == RecordKind::entry;
}

Act expectCall( const Session& session, Words& words )
{
   const std::string name = words.take( "a call, as in bcm_switch_control_set", "CALL" ).text;
   if( const auto names = callNames(); std::ranges::find( names, name ) == names.end() )
      words.fail( "there is no call '" + name + "'" +
                  didYouMean( name, names, "; calls are named as in bcm_switch_control_set" ) );
   std::string what = name;
   std::string unit;
   std::string part;
   if( words.accept( "unit" ) ) {
      unit = std::to_string( session.takeUnit( words ) );
      what += " on unit " + unit;
   }
   if( words.accept( "with" ) ) {
      part = words.text( "a part of the call's text" );
      what += " with '" + part + "'";
   }
   return expectRecords( what, takeTimes( words ), [ = ]( const Record& record ) {
      return isCall( record ) && record.field( "call" ) == name &&
             ( unit.empty() || record.field( "unit" ) == unit ) &&
             record.text.find( part ) != std::string::npos;
   } );
}

Act expectNoCalls( const Session&, Words& )
{
   return expectRecords( "hardware calls", Times{ 0 }, isCall );
}

/// A value of the attribute, or "-" for no value. InputError for a text that cannot be a value.
std::string takePublished(
   const Session& session, Words& words, const AttributePath& path, std::string_view what )
{
   if( words.accept( "-" ) )
      return "-";
   if( path.attribute->holdsObject() )
      return session.takeObjectName( words, path );
   const std::string text = words.take( what ).text;
   path.attribute->converted( text );
   return text;
}

Act expectNotification( const Session& session, Words& words )
{
   const AttributePath path = session.takeAttribute( words );
   const std::string place =
      path.text.find( '.' ) == path.text.npos ? "helper." + path.text : path.text;
   std::optional<std::string> before;
   std::optional<std::string> after;
   if( const Word* const arrow = words.peek( 1 ); arrow && arrow->text == "->" ) {
      before = takePublished( session, words, path, "the old value" );
      words.take( {} );
      after = takePublished( session, words, path, "the new value" );
   }
   const std::string what =
      place + ( before ? ": " + *before + " -> " + *after : "" ) + " to be notified";
   return expectRecords( what, takeTimes( words ), [ = ]( const Record& record ) {
      const auto valueOf = [ & ]( const char* field, const char* whenNone ) {
         return record.field( "change" ) == whenNone ? "-" : record.field( field );
      };
      const std::string key = record.field( "key" );
      const std::string at = record.field( "object" ) + "." + record.field( "attribute" );
      return record.kind == RecordKind::notify &&
             ( place == at || ( !key.empty() && place == at + "[" + key + "]" ) ) &&
             ( !before || ( valueOf( "old", "inserted" ) == *before &&
                             valueOf( "new", "removed" ) == *after ) );
   } );
}

Act expectText( Words& words, RecordKind kind, const std::string& what )
{
   const bool whole = words.accept( "is" );
   if( !whole )
      words.accept( "with" );
   const std::string text = words.text( "a part of the text" );
   return expectRecords( what + ( whole ? " that is '" : " '" ) + text + "'", takeTimes( words ),
      [ = ]( const Record& record ) {
         const bool matches =
            whole ? record.text == text : record.text.find( text ) != std::string::npos;
         return record.kind == kind && matches;
      } );
}

Act expectTrace( const Session&, Words& words )
{
   return expectText( words, RecordKind::trace, "the trace" );
}

Act expectLog( const Session&, Words& words )
{
   return expectText( words, RecordKind::log, "the log message" );
}

/// Compares first occurrences: what happens again later must not make up for what came too early.
void checkOrder( Session& session, const std::vector<std::string>& texts )
{
   const std::deque<Record>& window = session.window();
   auto before = window.begin();
   for( const std::string& text : texts ) {
      const auto at = std::ranges::find_if( window,
         [ & ]( const Record& record ) { return record.text.find( text ) != std::string::npos; } );
      const std::string expected = "'" + text + "' in this order";
      if( at == window.end() )
         return session.expect( false, expected, "no such record since the last mark" );
      if( at < before )
         return session.expect( false, expected, "it came before the text in front of it" );
      before = at;
   }
   session.expect( true, {}, {} );
}

Act expectOrder( const Session&, Words& words )
{
   std::vector<std::string> texts;
   do
      texts.push_back( words.text( "a part of a record's text" ) );
   while( !words.done() );
   return [ texts ]( Session& live ) { checkOrder( live, texts ); };
}

/// Takes only the name, so that a slip in it does not count as the expected failure.
const Command& takeInnerCommand( Words& words )
{
   if( words.done() )
      words.failAtEnd( "expected a command" );
   const Word* const first = words.peek();
   const Command& command = takeCommand( words );
   if( command.name.starts_with( "expect " ) )
      words.failAt( *first, "an expectation is not expected to fail; expect what it should find" );
   return command;
}

std::vector<std::string> splitLines( const std::string& text )
{
   std::vector<std::string> lines;
   for( std::size_t at = 0; at < text.size(); ) {
      const std::size_t newline = std::min( text.find( '\n', at ), text.size() );
      lines.push_back( text.substr( at, newline - at ) );
      at = newline + 1;
   }
   return lines;
}

/// The child's report that the command could not be run: column, width, problem.
constexpr char inputErrorForm = 'I';

void runInChannel( Session& session, const Act& act, ChildChannel& channel )
{
   session.childOf( channel );
   try {
      act( session );
   } catch( const InputError& error ) {
      std::ostringstream text;
      text << error.column() << ' ' << error.width() << ' ' << error.problem();
      channel.send( inputErrorForm, text.str() );
   }
}

[[noreturn]] void throwInputError( const Line& line, const std::string& text )
{
   std::istringstream stream( text );
   U32 column = 0;
   U32 width = 0;
   std::string problem;
   stream >> column >> width >> std::ws;
   std::getline( stream, problem );
   throw InputError( line, column, width, problem );
}

/// The child's transcript has the line already, as text or in a JSON object.
bool isRecorded( const ChildEnd& end, const std::string& errorLine )
{
   const std::string inJson = Vormel::jsonString( errorLine ) + "}";
   return std::ranges::any_of( end.lines, [ & ]( const auto& line ) {
      return line.second.ends_with( errorLine ) || line.second.ends_with( inJson );
   } );
}

void runInCopy( Session& session, const Line& command, const Act& act, const std::string& text )
{
   const ChildEnd end =
      runInChild( [ & ]( ChildChannel& channel ) { runInChannel( session, act, channel ); } );
   safePoint( [] { return "in the copy of the process, which has ended"; } );
   for( const auto& [ form, line ] : end.lines ) {
      if( form == inputErrorForm )
         throwInputError( command, line );
      if( form == brokenForm )
         session.broken( line );
      else
         session.console().childLine( form, line );
   }
   for( const std::string& line : splitLines( end.errorText ) )
      if( !isRecorded( end, line ) )
         session.console().childError( line );
   const bool held = end.aborted && end.errorText.find( text ) != std::string::npos;
   session.expect( held, "to abort, saying '" + text + "'",
      "it " + end.how +
         ( end.errorText.empty() ? " and said nothing" : ", saying: " + end.errorText ) );
}

Act expectDead( const Session& session, Words& words )
{
   const std::string text = words.text( "a part of the agent's last lines" );
   return [ text, act = takeInnerCommand( words ).act( session, words ), &words ](
             Session& live ) { runInCopy( live, words.line(), act, text ); };
}

/// The error with which the act is refused, if it is.
std::optional<std::string> refusalOf( const std::function<void()>& work )
{
   try {
      work();
   } catch( const InputError& error ) {
      return error.problem();
   }
   return std::nullopt;
}

Act expectError( const Session& session, Words& words )
{
   const std::string text = words.text( "a part of the error" );
   const Command& command = takeInnerCommand( words );
   Act act;
   const auto refused = refusalOf( [ & ] { act = command.act( session, words ); } );
   words.skipRest(); // behind what is refused
   return [ = ]( Session& live ) {
      // A check goes on behind the lines of an included file that are refused.
      const bool runs = !refused && !live.passesRefused();
      const auto found = runs ? refusalOf( [ & ] { act( live ); } ) : refused;
      live.expect( found && found->find( text ) != std::string::npos,
         "an error with '" + text + "'", found.value_or( "no error" ) );
   };
}

} // namespace

std::vector<Command> expectEventCommands()
{
   return {
      { "expect call", "CALL [unit N] [with TEXT] [times N|none]",
         "a hardware call was made since the last mark", expectCall, false, true, true },
      { "expect no calls", "", "no hardware call was made since the last mark", expectNoCalls,
         false, false, true },
      { "expect notification", "[OBJECT.]ATTRIBUTE[KEY] [OLD -> NEW] [times N|none]",
         "a change was published since the last mark; - means that there is no value",
         expectNotification, false, true, true },
      { "expect trace", "[with] TEXT|is TEXT [times N|none]",
         "a trace that contains or is the text was written since the last mark", expectTrace, false,
         false, true },
      { "expect log", "[with] TEXT|is TEXT [times N|none]",
         "a log message that contains or is the text was raised since the last mark", expectLog,
         false, false, true },
      { "expect order", "TEXT...",
         "since the last mark, records with these texts first came in this order", expectOrder,
         false, true, true },
      { "expect dead", "TEXT COMMAND...",
         "the command, run in a copy of the process, aborts with this text", expectDead },
      { "expect error", "TEXT COMMAND...", "the command is refused with this error", expectError,
         false, false },
   };
}

} // namespace Strata::Tool
