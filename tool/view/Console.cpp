#include "tool/view/Console.h"

#include "tool/Interrupt.h"
#include "tool/view/Screen.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ostream>
#include <regex>
#include <sstream>

namespace Strata::Tool {

using nlohmann::ordered_json;

namespace {

std::string_view colourOf( Tone tone )
{
   switch( tone ) {
   case Tone::heading:
      return "\033[1;36m";
   case Tone::title:
      return "\033[1m";
   case Tone::note:
      return "\033[33m";
   case Tone::good:
      return "\033[32m";
   case Tone::bad:
      return "\033[1;31m";
   case Tone::faint:
      return "\033[2m";
   case Tone::plain:
      break;
   }
   return {};
}

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

/// Replaces line numbers, so that a transcript stays the same when code moves.
std::string withoutSourceLines( const std::string& text )
{
   static const std::regex sourceLine( "\\.(cpp|h):[0-9]+" );
   const bool mayName = text.find( ".cpp:" ) != text.npos || text.find( ".h:" ) != text.npos;
   return mayName ? std::regex_replace( text, sourceLine, ".$1:*" ) : text;
}

/// The fields of a line in JSON; the file if another one includes it.
ordered_json lineJson( const char* kind, const Line& line )
{
   ordered_json object{ { "kind", kind } };
   if( line.inclusion )
      object[ "file" ] = line.file;
   object.update( { { "line", line.number }, { "text", commandText( line ) } } );
   return object;
}

std::string dump( const ordered_json& object, int indent = -1 )
{
   // Names may contain any bytes, but a transcript must be valid text.
   return object.dump( indent, ' ', false, ordered_json::error_handler_t::replace );
}

} // namespace

ChildChannel::~ChildChannel() = default;

Console::Console( std::ostream& out, std::ostream& err, const ConsoleConfig& config )
   : out_( out ),
     err_( err ),
     config_( config )
{
   if( config_.transcriptFile.empty() )
      return;
   transcript_.open( config_.transcriptFile, std::ios::trunc );
   if( !transcript_ )
      throw std::runtime_error( "cannot write the transcript '" + config_.transcriptFile +
                                "': " + std::strerror( errno ) );
}

void Console::write( std::ostream& stream, bool colour, const std::vector<Toned>& lines )
{
   for( const Toned& line : lines ) {
      if( interrupted() )
         break; // the rest is not wanted
      const std::string_view code = colour ? colourOf( line.tone ) : std::string_view();
      stream << code << line.text << ( code.empty() ? "" : "\033[0m" ) << '\n';
   }
   stream.flush();
}

void Console::writeTranscript( const std::vector<Toned>& lines )
{
   for( const Toned& line : lines )
      transcript_ << withoutSourceLines( line.text ) << '\n';
   transcript_.flush();
}

bool Console::shows( Weight weight ) const
{
   if( config_.quiet )
      return weight == Weight::asked;
   return weight == Weight::echo    ? config_.echo
          : weight == Weight::fatal ? !config_.errorsBeside
                                    : true;
}

std::size_t Console::width() const
{
   return config_.screen ? screenSize().columns : Table::usualWidth;
}

void Console::writeScreen( const std::vector<Toned>& lines )
{
   if( folds_ ) {
      for( const Toned& line : lines )
         folding_.add( line );
      return;
   }
   folding_.flush();
   if( page_ )
      page_->insert( page_->end(), lines.begin(), lines.end() );
   else
      write( out_, config_.colour, lines );
}

void Console::emit( Weight weight, const std::vector<Toned>& lines, const Json& json )
{
   emit( weight, lines, lines, json );
}

void Console::emit( Weight weight, const std::vector<Toned>& lines,
   const std::vector<Toned>& screenLines, const Json& json )
{
   reported_ = true;
   happened_ = false;
   blank_ = !lines.empty() && lines.back().text.empty();
   if( channel_ ) {
      if( config_.json )
         channel_->send( 'J', json() );
      else
         for( const Toned& line : lines )
            channel_->send( 'T', line.text );
      return;
   }
   const std::string object = config_.json ? json() + "\n" : std::string();
   if( config_.json ) {
      if( !config_.quiet || weight == Weight::asked )
         out_ << object << std::flush;
   } else if( shows( weight ) )
      writeScreen( screenLines );
   if( !transcript_.is_open() )
      return;
   if( config_.json )
      transcript_ << object << std::flush;
   else
      writeTranscript( lines );
}

void Console::command( const Line& line )
{
   const std::string text = commandText( line );
   std::vector<Toned> lines{ { Tone::heading, "> " + text } };
   if( reported_ && !blank_ )
      lines.insert( lines.begin(), { Tone::plain, "" } );
   emit( Weight::echo, lines, [ & ] { return dump( lineJson( "command", line ) ); } );
   reported_ = false;
}

void Console::note( std::string_view text, Weight weight )
{
   const auto linesOf = [ & ]( std::size_t width ) {
      std::vector<Toned> lines;
      if( !blank_ )
         lines.push_back( { Tone::plain, "" } );
      for( const std::string& part : wrapped( text, width ) )
         lines.push_back( { Tone::note, part } );
      return lines;
   };
   emit( weight, linesOf( Table::usualWidth ), linesOf( width() ), [ & ] {
      return dump( { { "kind", "note" }, { "text", text } } );
   } );
}

void Console::record( const Sim::Record& record )
{
   if( !eventsShown_ && !config_.json && isEvent( record.kind ) )
      return;
   const Weight weight = record.kind == Sim::RecordKind::fatal ? Weight::fatal : Weight::ordinary;
   folds_ = config_.brief && isEvent( record.kind );
   emit( weight, { { toneOf( record ), "  " + record.line() } }, [ & ] { return record.json(); } );
   folds_ = false;
   happened_ = true;
}

void Console::table( const std::string& title, const Table& table )
{
   Console::table( title, table, table.json() );
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

void Console::table( const std::string& title, const Table& table, const ordered_json& json )
{
   show( title, tableLines( title, table, Table::usualWidth ), tableLines( title, table, width() ),
      json );
}

void Console::report( const std::string& title, const Table& table )
{
   if( !eventsShown_ && !config_.json )
      return;
   std::vector<Toned> lines = tableLines( title, table, Table::usualWidth );
   std::vector<Toned> screenLines = tableLines( title, table, width() );
   for( std::vector<Toned>* const each : { &lines, &screenLines } ) {
      each->insert( each->begin(), { Tone::plain, "" } );
      each->pop_back(); // the blank line below
   }
   emit( Weight::ordinary, lines, screenLines, [ & ] {
      return dump( { { "kind", "show" }, { "title", title }, { "rows", table.json() } } );
   } );
}

void Console::hint( const std::string& title, const Table& table )
{
   showBegins( {} );
   writeScreen( tableLines( title, table, width() ) );
   showEnds();
}

void Console::document( const std::string& title, const ordered_json& json )
{
   rowsAsJson_ = true;
   show( title, {}, {}, json );
}

constexpr std::size_t numberWidth = 6;

void Console::records( const std::string& title, const std::vector<const Sim::Record*>& records )
{
   std::vector<Toned> lines{ { Tone::title, title, Part::head } };
   auto rows = ordered_json::array();
   for( const Sim::Record* const record : records ) {
      const std::string number = std::to_string( record->number );
      lines.push_back( { toneOf( *record ),
         std::string( numberWidth - std::min( numberWidth, number.size() ), ' ' ) + number + "  " +
            record->line() } );
      rows.push_back( ordered_json::parse( record->json() ) );
   }
   show( title, lines, lines, rows );
}

void Console::show( const std::string& title, std::vector<Toned> lines,
   std::vector<Toned> screenLines, const ordered_json& rows )
{
   if( rowsAsJson_ ) {
      lines.clear();
      std::istringstream text( dump( rows, 3 ) );
      for( std::string line; std::getline( text, line ); )
         lines.push_back( { Tone::plain, line } );
      screenLines = lines;
   }
   emit(
      Weight::asked, filtered( std::move( lines ) ), filtered( std::move( screenLines ) ), [ & ] {
         return dump( { { "kind", "show" }, { "title", title }, { "rows", rows } } );
      } );
}

void Console::result( std::string_view operation, const std::string& value )
{
   emit( Weight::ordinary, { { Tone::plain, "  = " + value } }, [ & ] {
      return dump( { { "kind", "result" }, { "operation", operation }, { "value", value } } );
   } );
}

void Console::outcome( Weight weight, std::vector<Toned> lines, const Json& json )
{
   if( happened_ )
      lines.insert( lines.begin(), { Tone::plain, "" } );
   emit( weight, lines, json );
}

void Console::held( const Line& line )
{
   outcome( Weight::ordinary, { { Tone::good, "  held    " + commandText( line ) } }, [ & ] {
      ordered_json object = lineJson( "expect", line );
      object[ "held" ] = true;
      return dump( object );
   } );
}

void Console::failed( const Line& line, const std::string& expected, const std::string& found )
{
   const std::string text = commandText( line );
   outcome( Weight::asked,
      { { Tone::bad, "  FAILED  " + text + "  (" + placeText( line ) + ")" },
         { Tone::plain, "    expected  " + expected }, { Tone::plain, "    found     " + found } },
      [ & ] {
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
   emit( Weight::asked, { { Tone::bad, "  BROKEN  " + at + ": " + what } }, [ & ] {
      return dump(
         { { "kind", "broken" }, { "line", line ? line->number : 0 }, { "text", what } } );
   } );
}

void Console::died( const Line& line, const std::string& failure, const std::string& context )
{
   emit( Weight::asked,
      { { Tone::bad,
         "  DIED    " + placeText( line ) + ": " + ( context.empty() ? failure : context ) } },
      [ & ] {
         return dump( { { "kind", "died" }, { "file", line.file }, { "line", line.number },
            { "reason", context.empty() ? failure : failure + "; " + context } } );
      } );
}

void Console::diedError( const Line& line )
{
   if( config_.json || !config_.errorsBeside )
      error( placeText( line ) + ": the agent died here unexpectedly" );
}

void Console::childError( const std::string& text )
{
   emit( Weight::ordinary, { { Tone::faint, "  | stderr " + text } }, [ & ] {
      return dump( { { "kind", "stderr" }, { "child", true }, { "text", text } } );
   } );
}

void Console::childLine( char form, std::string_view text )
{
   emit( Weight::ordinary, { { Tone::faint, "  |" + std::string( text ) } }, [ & ] {
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

void Console::summary( const std::string& file, const RunCounts& counts, RunEnd end )
{
   const bool good = counts.failures == 0 && counts.broken == 0;
   std::vector<Toned> lines{ { good ? Tone::good : Tone::bad,
      file + ": " + summaryText( counts ) + ( end == RunEnd::complete ? "" : " before that" ) } };
   if( !blank_ )
      lines.insert( lines.begin(), { Tone::plain, "" } );
   emit( good && counts.notJudged == 0 ? Weight::ordinary : Weight::asked, lines, [ & ] {
      ordered_json object{ { "kind", "end" }, { "file", file },
         { "expectations", counts.expectations }, { "failed", counts.failures },
         { "ended", Vormel::enumName( end ) } };
      if( counts.notJudged > 0 )
         object[ "notJudged" ] = counts.notJudged;
      if( counts.broken > 0 )
         object[ "broken" ] = counts.broken;
      return dump( object );
   } );
}

void Console::refused( const std::string& text )
{
   if( config_.json )
      emit( Weight::asked, {}, [ & ] {
         return dump( { { "kind", "refused" }, { "text", text } } );
      } );
   else if( transcript_.is_open() ) // on the terminal it is an error's affair
      writeTranscript( { { Tone::plain, text } } );
}

void Console::checkWritten()
{
   if( !out_.flush() )
      throw std::runtime_error( "cannot write the output: it is not whole" );
   if( transcript_.is_open() && !transcript_.flush() )
      throw std::runtime_error(
         "cannot write the transcript '" + config_.transcriptFile + "': it is not whole" );
}

void Console::error( const std::string& text )
{
   err_ << text << std::endl;
}

void Console::childOf( ChildChannel& channel )
{
   channel_ = &channel;
}

} // namespace Strata::Tool
