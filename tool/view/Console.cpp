#include "tool/view/Console.h"

#include "tool/RunListener.h"
#include "tool/view/Table.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <ranges>
#include <sstream>

namespace Strata::Tool {

using nlohmann::ordered_json;

namespace {

Tone toneOf( const Sim::Record& record )
{
   switch( record.kind ) {
   case Sim::RecordKind::fatal:
   case Sim::RecordKind::error:
   case Sim::RecordKind::claim:
   case Sim::RecordKind::breach:
      return Tone::bad;
   case Sim::RecordKind::notify:
      return Tone::good;
   case Sim::RecordKind::trace:
      return Tone::faint;
   default:
      return Tone::plain;
   }
}

/// Records that a scenario may leave out of its text: not requested output, and not errors.
bool isEvent( Sim::RecordKind kind )
{
   return kind == Sim::RecordKind::call || kind == Sim::RecordKind::entry ||
          kind == Sim::RecordKind::notify || kind == Sim::RecordKind::trace;
}

/// The fields of a line in JSON.
ordered_json lineJson( const char* kind, const Line& line )
{
   return { { "kind", kind }, { "file", line.file }, { "line", line.number },
      { "text", commandText( line ) } };
}

/// One line of text, made when it is written.
template<class MakeText>
auto oneLine( Tone tone, MakeText makeText )
{
   return [ tone, makeText ]( std::size_t ) { return std::vector<Toned>{ { tone, makeText() } }; };
}

std::string dump( const ordered_json& object, int indent = -1 )
{
   // Names may contain any bytes, but a transcript must be valid text.
   return object.dump( indent, ' ', false, ordered_json::error_handler_t::replace );
}

} // namespace

Summing::Summing( Console& console ) : console_( console )
{
   console.summing_ = true;
}

Summing::~Summing()
{
   console_.summing_ = false;
}

Console::Weight Console::weightOf( Sim::RecordKind kind ) const
{
   if( kind == Sim::RecordKind::fatal )
      return Weight::fatal;
   // A trace is shown: there are none unless the user has set a trace level.
   const bool summed = summing_ && isEvent( kind ) && kind != Sim::RecordKind::trace;
   return summed && !eventsAsked_.value_or( false ) ? Weight::detail : Weight::ordinary;
}

bool Console::hears( Sim::RecordKind kind ) const
{
   return listener_ || isWritten( kind );
}

bool Console::isWritten( Sim::RecordKind kind ) const
{
   return hears( weightOf( kind ) ) &&
          ( eventsAsked_.value_or( true ) || config_.json || !isEvent( kind ) );
}

void Console::command( const Line& line )
{
   const auto lines = [ & ]( std::size_t ) {
      std::vector<Toned> text{ { Tone::heading, "> " + commandText( line ) } };
      if( reported_ && !blank_ )
         text.insert( text.begin(), { Tone::plain, "" } );
      return text;
   };
   emit( Weight::echo, lines, [ & ] { return dump( lineJson( "command", line ) ); } );
   reported_ = false;
}

void Console::note( std::string_view text, Weight weight )
{
   if( listener_ )
      listener_->noted( text );
   const auto textLines = [ & ]( std::size_t width ) {
      std::vector<Toned> lines;
      if( !blank_ )
         lines.push_back( { Tone::plain, "" } );
      for( const std::string& part : wrapped( text, width ) )
         lines.push_back( { Tone::note, part } );
      return lines;
   };
   emit( weight, textLines, [ & ] { return dump( { { "kind", "note" }, { "text", text } } ); } );
}

void Console::record( const Sim::Record& record )
{
   if( listener_ )
      listener_->recorded( record );
   if( !isWritten( record.kind ) )
      return;
   folds_ = config_.brief && isEvent( record.kind );
   emit( weightOf( record.kind ),
      oneLine( toneOf( record ), [ & ] { return "  " + record.line(); } ),
      [ & ] { return record.json(); } );
   folds_ = false;
   happened_ = true;
}

std::vector<Toned> Console::tableLines(
   const std::string& title, const Table& table, std::size_t width )
{
   using Role = Table::TextLine::Role;
   std::vector<Toned> lines{ { Tone::title, title, Part::head } };
   if( table.empty() )
      lines.push_back( { Tone::faint, "  none", Part::head } );
   else
      for( const auto& [ role, text, continues ] : table.lines( width ) ) {
         if( role == Role::row )
            lines.push_back( { Tone::plain, text, continues ? Part::continuation : Part::row } );
         else if( role == Role::section )
            lines.push_back( { Tone::title, text, Part::section } );
         else
            lines.push_back( { Tone::faint, text, Part::head } );
      }
   lines.push_back( { Tone::plain, "", Part::head } );
   return lines;
}

void Console::table( const std::string& title, const Table& table )
{
   if( listener_ )
      listener_->shown( title, table );
   show(
      title, [ & ]( std::size_t width ) { return tableLines( title, table, width ); },
      [ & ] { return table.json(); } );
}

void Console::table( const std::string& title, const MakeTable& table, const MakeRows& rows )
{
   if( listener_ )
      listener_->shown( title, table() );
   show(
      title, [ & ]( std::size_t width ) { return tableLines( title, table(), width ); }, rows );
}

void Console::report( const std::string& title, const Table& table )
{
   if( listener_ )
      listener_->shown( title, table );
   const auto lines = [ & ]( std::size_t width ) {
      std::vector<Toned> text = tableLines( title, table, width );
      if( happened_ )
         text.insert( text.begin(), { Tone::plain, "" } );
      text.pop_back(); // the blank line below
      return text;
   };
   // Rows as JSON are one array, that of the command which shows them.
   emit( rowsAsJson_ ? Weight::detail : Weight::ordinary, lines, [ & ] {
      return dump( { { "kind", "show" }, { "title", title }, { "rows", table.json() } } );
   } );
}

void Console::hint( const std::string& title, const Table& table )
{
   std::vector<Toned> lines;
   for( const std::string& part : wrapped( title, width() ) )
      lines.push_back( { Tone::title, part, Part::head } );
   if( !table.empty() )
      std::ranges::copy(
         tableLines( {}, table, width() ) | std::views::drop( 1 ), std::back_inserter( lines ) );
   showBegins( {} );
   writeScreen( lines );
   showEnds();
}

void Console::document( const std::string& title, const ordered_json& json )
{
   if( listener_ )
      listener_->shown( title, dump( json, 1 ) );
   rowsAsJson_ = true;
   show( title, {}, [ & ] { return json; } );
}

constexpr std::size_t numberWidth = 6;

static Table recordTable( const std::vector<const Sim::Record*>& records )
{
   Table table( { { "Record", Align::right }, { "Text" } } );
   for( const Sim::Record* const record : records )
      table.row( { std::to_string( record->number ), record->line() } );
   return table;
}

void Console::records( const std::string& title, const std::vector<const Sim::Record*>& records )
{
   if( listener_ )
      listener_->shown( title, recordTable( records ) );
   const auto lines = [ & ]( std::size_t ) {
      std::vector<Toned> text{ { Tone::title, title, Part::head } };
      for( const Sim::Record* const record : records ) {
         const std::string number = std::to_string( record->number );
         text.push_back( { toneOf( *record ),
            std::string( numberWidth - std::min( numberWidth, number.size() ), ' ' ) + number +
               "  " + record->line() } );
      }
      return text;
   };
   show( title, lines, [ & ] {
      auto rows = ordered_json::array();
      for( const Sim::Record* const record : records )
         rows.push_back( ordered_json::parse( record->json() ) );
      return rows;
   } );
}

void Console::show( const std::string& title, const Lines& lines, const MakeRows& rows )
{
   const auto rowLines = [ & ] {
      std::vector<Toned> text;
      std::istringstream parts( dump( rows(), 3 ) );
      for( std::string line; std::getline( parts, line ); )
         text.push_back( { Tone::plain, line } );
      return text;
   };
   const auto shown = [ & ]( std::size_t width ) {
      return filtered( rowsAsJson_ ? rowLines() : lines( width ) );
   };
   emit( Weight::asked, shown, [ & ] {
      return dump( { { "kind", "show" }, { "title", title }, { "rows", rows() } } );
   } );
}

void Console::result(
   std::string_view operation, const std::string& text, const ordered_json& value )
{
   if( listener_ )
      listener_->resulted( text );
   emit( Weight::ordinary, oneLine( Tone::plain, [ & ] { return "  = " + text; } ), [ & ] {
      return dump( { { "kind", "result" }, { "operation", operation }, { "value", value } } );
   } );
}

void Console::outcome( Weight weight, const Lines& lines, const Json& json )
{
   const auto apart = [ & ]( std::size_t width ) {
      std::vector<Toned> text = lines( width );
      if( happened_ )
         text.insert( text.begin(), { Tone::plain, "" } );
      return text;
   };
   emit( weight, apart, json );
}

void Console::held( const Line& line )
{
   if( listener_ )
      listener_->held( line );
   const auto lines = oneLine( Tone::good, [ & ] { return "  held    " + commandText( line ); } );
   outcome( Weight::ordinary, lines, [ & ] {
      ordered_json object = lineJson( "expect", line );
      object[ "held" ] = true;
      return dump( object );
   } );
}

void Console::failed( const Line& line, const std::string& expected, const std::string& found )
{
   if( listener_ )
      listener_->failed( line, expected, found );
   const std::string text = commandText( line );
   const auto lines = [ & ]( std::size_t ) {
      return std::vector<Toned>{
         { Tone::bad, "  FAILED  " + text + "  (" + placeText( line ) + ")" },
         { Tone::plain, "    expected  " + expected }, { Tone::plain, "    found     " + found } };
   };
   outcome( Weight::asked, lines, [ & ] {
      ordered_json object = lineJson( "expect", line );
      object.update( { { "held", false }, { "expected", expected }, { "found", found } } );
      return dump( object );
   } );
   if( config_.json && !channel_ )
      error( placeText( line ) + ": expected " + expected + ", found " + found );
}

void Console::broken( const Line* line, const std::string& what )
{
   const std::string at = line ? placeText( *line ) : "at the end";
   if( listener_ )
      listener_->complained( at + ": " + what );
   const auto lines = oneLine( Tone::bad, [ & ] { return "  BROKEN  " + at + ": " + what; } );
   emit( Weight::asked, lines, [ & ] {
      return dump(
         { { "kind", "broken" }, { "line", line ? line->number : 0 }, { "text", what } } );
   } );
}

void Console::died( const Line& line, const std::string& failure, const std::string& context )
{
   if( listener_ )
      listener_->complained( context.empty() ? failure : failure + "; " + context );
   const auto lines = oneLine( Tone::bad, [ & ] {
      return "  DIED    " + placeText( line ) + ": " + ( context.empty() ? failure : context );
   } );
   emit( Weight::report, lines, [ & ] {
      return dump( { { "kind", "died" }, { "file", line.file }, { "line", line.number },
         { "reason", context.empty() ? failure : failure + "; " + context } } );
   } );
}

void Console::diedError( const Line& line )
{
   if( listener_ )
      listener_->died( placeText( line ) + ": the agent died here" );
   if( config_.json || !config_.errorsBeside )
      error( placeText( line ) + ": the agent died here unexpectedly" );
}

void Console::childError( const std::string& text )
{
   if( listener_ )
      listener_->childWrote( "stderr " + text );
   const auto lines = oneLine( Tone::faint, [ & ] { return "  | stderr " + text; } );
   emit( Weight::ordinary, lines, [ & ] {
      return dump( { { "kind", "stderr" }, { "child", true }, { "text", text } } );
   } );
}

void Console::childLine( char form, std::string_view text )
{
   if( listener_ )
      listener_->childWrote( text );
   const auto lines = oneLine( Tone::faint, [ & ] { return "  |" + std::string( text ); } );
   emit( Weight::ordinary, lines, [ & ] {
      if( form != 'J' )
         return dump( { { "kind", "text" }, { "child", true }, { "text", text } } );
      auto object = ordered_json::parse( text );
      object[ "child" ] = true;
      return dump( object );
   } );
}

static std::string summaryText( const RunCounts& counts )
{
   const auto number = []( U32 count, const std::string& what ) {
      return std::to_string( count ) + " " + what + ( count == 1 ? "" : "s" );
   };
   if( counts.refused > 0 )
      return number( counts.refused, "line" ) + " cannot be run";
   const std::string all = number( counts.expectations, "expectation" );
   std::string text = counts.failures == 0
                         ? all + " held"
                         : std::to_string( counts.failures ) + " of " + all + " failed";
   if( counts.notJudged > 0 )
      text += ", " + std::to_string( counts.notJudged ) + " not judged";
   if( counts.broken > 0 )
      text += ", " + number( counts.broken, "broken convention" );
   return text;
}

/// What stands behind the name of the file in the last line.
static std::string endText( const RunCounts& counts, RunEnd end )
{
   if( end == RunEnd::checked && counts.refused == 0 )
      return "every line can be run";
   const bool early = end == RunEnd::refused || end == RunEnd::died;
   return summaryText( counts ) + ( early ? " before that" : "" );
}

void Console::summary( const std::string& file, const RunCounts& counts, RunEnd end )
{
   const bool good = counts.failures == 0 && counts.broken == 0 && counts.refused == 0;
   const auto lines = [ & ]( std::size_t ) {
      std::vector<Toned> text{
         { good ? Tone::good : Tone::bad, file + ": " + endText( counts, end ) } };
      if( !blank_ && !config_.checking )
         text.insert( text.begin(), { Tone::plain, "" } );
      return text;
   };
   emit( good && counts.notJudged == 0 && !config_.checking ? Weight::ordinary : Weight::report,
      lines, [ & ] {
         ordered_json object{ { "kind", "end" }, { "file", file },
            { "expectations", counts.expectations }, { "failed", counts.failures },
            { "ended", Vormel::enumName( end ) } };
         if( counts.notJudged > 0 )
            object[ "notJudged" ] = counts.notJudged;
         if( counts.broken > 0 )
            object[ "broken" ] = counts.broken;
         if( end == RunEnd::checked )
            object[ "refused" ] = counts.refused;
         return dump( object );
      } );
}

void Console::refuse( const ordered_json& record, const std::string& text )
{
   if( config_.json )
      emit( Weight::report, {}, [ & ] { return dump( record ); } );
   else if( transcript_.is_open() ) // on the terminal it is an error's affair
      writeTranscript( { { Tone::plain, text } } );
}

void Console::refused( const InputError& error )
{
   if( listener_ )
      listener_->refused( error.what() );
   refuse(
      { { "kind", "refused" }, { "file", error.file() }, { "line", error.line() },
         { "column", error.column() }, { "width", error.width() }, { "message", error.problem() } },
      error.what() );
}

void Console::refused( const std::string& file, const std::string& message )
{
   if( listener_ )
      listener_->refused( message );
   refuse( { { "kind", "refused" }, { "file", file }, { "message", message } }, message );
   if( config_.json )
      summary( file, {}, RunEnd::refused );
}

} // namespace Strata::Tool
