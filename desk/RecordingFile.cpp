#include "desk/RecordingFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

namespace Strata::Desk {

namespace {

enum class Type : U8
{
   number,
   text,
   truth,
   object,
   list,
   any,
};

struct MemberRow
{
   RecordedKind kind;
   std::string_view name;
   Type type;
   bool needed = true;
};

using Kind = RecordedKind;
// The members behind `record`, `n` and `t`.
constexpr auto memberRows = std::to_array<MemberRow>( {
   { Kind::header, "format", Type::number },
   { Kind::header, "library", Type::text },
   { Kind::header, "times", Type::text },
   { Kind::header, "continues", Type::any, false },
   { Kind::unit, "unit", Type::number },
   { Kind::unit, "model", Type::text },
   { Kind::unit, "modId", Type::number },
   { Kind::unit, "ports", Type::text },
   { Kind::unit, "loopbackPort", Type::number, false },
   { Kind::unit, "hasIpOptionsProfile", Type::truth },
   { Kind::manager, "manager", Type::text },
   { Kind::manager, "baseEntryId", Type::number },
   { Kind::state, "object", Type::text },
   { Kind::state, "type", Type::text },
   { Kind::state, "attributes", Type::object },
   { Kind::input, "object", Type::text },
   { Kind::input, "attribute", Type::text },
   { Kind::input, "change", Type::text },
   { Kind::input, "key", Type::text, false },
   { Kind::input, "value", Type::any, false },
   { Kind::call, "operation", Type::text },
   { Kind::call, "arguments", Type::list },
   { Kind::make, "what", Type::text },
   { Kind::make, "inputs", Type::list },
   { Kind::drop, "what", Type::text },
   { Kind::drop, "inputs", Type::list },
   { Kind::run, "what", Type::text },
   { Kind::run, "inputs", Type::list },
   { Kind::set, "object", Type::text },
   { Kind::set, "attribute", Type::text },
   { Kind::set, "key", Type::text, false },
   { Kind::set, "value", Type::any },
   { Kind::del, "object", Type::text },
   { Kind::del, "attribute", Type::text },
   { Kind::del, "key", Type::text, false },
   { Kind::timer, "now", Type::number },
   { Kind::returned, "of", Type::number },
   { Kind::returned, "error", Type::text, false },
   { Kind::begin, "cause", Type::number },
   { Kind::begin, "manager", Type::text, false },
   { Kind::begin, "call", Type::text },
   { Kind::begin, "arguments", Type::object },
   { Kind::end, "of", Type::number },
   { Kind::end, "code", Type::any, false },
   { Kind::end, "text", Type::text, false },
   { Kind::end, "results", Type::object, false },
   { Kind::end, "result", Type::any, false },
   { Kind::question, "cause", Type::number },
   { Kind::question, "question", Type::text },
   { Kind::question, "arguments", Type::object },
   { Kind::question, "answer", Type::any },
   { Kind::notify, "cause", Type::number },
   { Kind::notify, "object", Type::text },
   { Kind::notify, "attribute", Type::text },
   { Kind::notify, "change", Type::text },
   { Kind::notify, "key", Type::text, false },
   { Kind::notify, "value", Type::any, false },
   { Kind::trace, "cause", Type::number },
   { Kind::trace, "handle", Type::text },
   { Kind::trace, "level", Type::number },
   { Kind::trace, "function", Type::text },
   { Kind::trace, "text", Type::text },
   { Kind::log, "cause", Type::number },
   { Kind::log, "key", Type::text },
   { Kind::log, "severity", Type::number },
   { Kind::log, "text", Type::text },
   { Kind::fatal, "cause", Type::number },
   { Kind::chip, "manager", Type::text, false },
   { Kind::chip, "call", Type::text },
   { Kind::chip, "arguments", Type::object },
   { Kind::chip, "results", Type::object, false },
   { Kind::chip, "result", Type::any, false },
} );

bool isOf( const Json& value, Type type )
{
   switch( type ) {
   case Type::number:
      return value.is_number();
   case Type::text:
      return value.is_string();
   case Type::truth:
      return value.is_boolean();
   case Type::object:
      return value.is_object();
   case Type::list:
      return value.is_array();
   case Type::any:
      return true;
   }
   return false;
}

const char* typeText( Type type )
{
   switch( type ) {
   case Type::number:
      return "a number";
   case Type::text:
      return "a text";
   case Type::truth:
      return "true or false";
   case Type::object:
      return "an object";
   case Type::list:
      return "a list";
   case Type::any:
      return "a value";
   }
   return "";
}

std::string inQuotes( std::string_view text )
{
   return "'" + std::string( text ) + "'";
}

constexpr std::uintmax_t longestFile = std::uintmax_t( 1 ) << 30; // bytes, as it is kept in memory

/// Whether lists and objects are nested deeper than any record of a recorder: what reads them is recursive.
bool isTooDeep( std::string_view text )
{
   int depth = 0;
   bool isQuoted = false;
   for( std::size_t i = 0; i < text.size(); ++i ) {
      const char c = text[ i ];
      if( isQuoted && c == '\\' )
         ++i;
      else if( c == '"' )
         isQuoted = !isQuoted;
      else if( !isQuoted && ( c == '[' || c == '{' ) && ++depth > 100 )
         return true;
      else if( !isQuoted && ( c == ']' || c == '}' ) )
         --depth;
   }
   return false;
}

U64 numberIn( const Json& object, const char* member )
{
   const auto at = object.find( member );
   return at != object.end() && at->is_number_unsigned() ? at->get<U64>() : 0;
}

} // namespace

RecordingError::RecordingError( const std::string& file, std::size_t line, const std::string& what )
   : std::runtime_error( file + ( line == 0 ? "" : ":" + std::to_string( line ) ) + ": " + what )
{}

Json RecordedLine::json() const
{
   return Json::parse( text );
}

[[noreturn]] static void failToRead( const std::string& file )
{
   const std::string why = std::strerror( errno );
   std::error_code none;
   throw RecordingError( file, 0,
      "cannot be read: " +
         ( std::filesystem::is_directory( file, none ) ? "it is a directory" : why ) );
}

RecordingFile::RecordingFile( const std::string& file ) : name_( file )
{
   std::ifstream in( file, std::ios::binary );
   std::string text;
   std::size_t line = 0;
   std::uintmax_t bytes = 0;
   if( !in )
      failToRead( file );
   while( std::getline( in, text ) ) {
      ++line;
      bytes += text.size();
      if( bytes > longestFile )
         throw RecordingError( file, line,
            "is too long: a recording of up to 1 GiB can be read; one with a limit has shorter files" );
      const bool isLast = in.eof(); // without the end of its line: the writer was stopped in it
      if( isTooDeep( text ) )
         throw RecordingError( file, line, "this line is nested too deeply" );
      const Json object = Json::parse( text, nullptr, false );
      if( isLast && !object.is_object() ) {
         notes_.push_back( "the last line, " + std::to_string( line ) + ", is cut off" );
         break;
      }
      if( !object.is_object() )
         throw RecordingError( file, line,
            line == 1 ? "is not a recording: its first line is not a JSON object"
                      : "this line is not a JSON object, as each line of a recording is" );
      RecordedLine record = checked( object, line );
      record.text = std::move( text );
      records_.push_back( std::move( record ) );
      if( const U64 of = numberIn( object, "of" ) )
         ends_.emplace( of, records_.size() - 1 );
   }
   if( in.bad() )
      failToRead( file );
   if( records_.empty() )
      throw RecordingError( file, 0, "is empty: a recording begins with a header" );
   if( unknownCount_ > 0 )
      notes_.push_back(
         unknown_ + " is unknown to this version" +
         ( unknownCount_ == 1 ? "" : ", like " + std::to_string( unknownCount_ - 1 ) + " more" ) +
         ": passed over" );
}

void RecordingFile::checkHeader( const Json& object, std::size_t line )
{
   if( object.value( "record", Json() ) != "header" )
      throw RecordingError( name_, line, "is not a recording: its first record is not a header" );
   if( const Json format = object.value( "format", Json() ); format != 1 )
      throw RecordingError(
         name_, line, "has format " + format.dump() + "; this version reads format 1" );
   startsWithAgent_ = !object.contains( "continues" );
}

RecordedLine RecordingFile::checked( const Json& object, std::size_t line )
{
   if( records_.empty() )
      checkHeader( object, line );
   const auto named = object.find( "record" );
   if( named == object.end() || !named->is_string() )
      throw RecordingError( name_, line, "the record has no 'record', a text that tells its kind" );
   const std::string kindName = *named;
   const U64 number = numberIn( object, "n" );
   if( number == 0 )
      throw RecordingError( name_, line, "the record has no 'n', its number from 1" );
   if( !records_.empty() && number != records_.back().number + 1 )
      throw RecordingError( name_, line,
         "record " + std::to_string( number ) + " stands behind record " +
            std::to_string( records_.back().number ) + ": lines are missing, or in another order" );

   const auto note = [ & ]( const std::string& what ) {
      if( unknownCount_++ == 0 )
         unknown_ = "line " + std::to_string( line ) + ": " + what;
   };
   const Kind kind = Vormel::enumParse<Kind>( kindName ).value_or( Kind::unknown );
   if( kind == Kind::unknown ) {
      note( "the kind of record " + inQuotes( kindName ) );
      return { kind, number, line, {} };
   }
   const auto rowOf = [ & ]( std::string_view name ) {
      return std::ranges::find_if( memberRows,
         [ & ]( const MemberRow& row ) { return row.kind == kind && row.name == name; } );
   };
   for( const MemberRow& row : memberRows )
      if( row.kind == kind ) {
         const auto at = object.find( row.name );
         if( at == object.end() ? row.needed : !isOf( *at, row.type ) )
            throw RecordingError( name_, line,
               "a record " + inQuotes( kindName ) + " needs " + inQuotes( row.name ) + ", " +
                  typeText( row.type ) );
      }
   if( const auto code = object.find( "code" ); kind == Kind::end && code != object.end() &&
                                                !code->is_number_integer() && *code != "success" &&
                                                *code != "unavailable" )
      throw RecordingError( name_, line,
         "'code' cannot be " + code->dump() + "; it is \"success\", \"unavailable\" or a number" );
   for( const auto& [ name, value ] : object.items() )
      if( name != "record" && name != "n" && name != "t" && rowOf( name ) == memberRows.end() &&
          !( kind == Kind::unit && value.is_boolean() ) ) // capabilities
         note( "the member " + inQuotes( name ) + " of " + inQuotes( kindName ) );
   return { kind, number, line, {} };
}

const RecordedLine* RecordingFile::endOf( U64 number ) const
{
   const auto at = ends_.find( number );
   return at == ends_.end() ? nullptr : &records_[ at->second ];
}

std::string RecordingFile::eventText( const Json& record ) const
{
   const U64 cause = numberIn( record, "cause" );
   const U64 first = records_.front().number;
   return cause < first || cause - first >= records_.size()
             ? "no event"
             : recordText( records_[ cause - first ].json() );
}

bool isRecording( const std::string& file )
{
   constexpr std::size_t longest = 1000; // of a header
   std::string text( longest, '\0' );
   std::ifstream in( file, std::ios::binary );
   in.read( text.data(), static_cast<std::streamsize>( text.size() ) );
   const Json header = Json::parse( text.substr( 0, text.find( '\n' ) ), nullptr, false );
   return header.is_object() && header.value( "record", Json() ) == "header";
}

void checkReplaceable( const std::string& file, const std::string& what )
{
   namespace fs = std::filesystem;
   if( fs::is_directory( file ) ||
       ( fs::is_regular_file( file ) && !fs::is_empty( file ) && !isRecording( file ) ) )
      throw std::runtime_error(
         "'" + file + "' exists and is not a recording; give " + what + " another name" );
}

namespace {

/// Long texts, such as the rest of a VLAN's control, are cut.
std::string valueText( const Json& value )
{
   constexpr std::size_t longest = 60;
   if( value.is_string() ) {
      const auto text = value.get<std::string>();
      return text.size() <= longest ? text
                                    : text.substr( 0, longest / 2 ) + "... (" +
                                         std::to_string( text.size() ) + " characters)";
   }
   if( value.is_array() ) {
      std::string list;
      for( const Json& item : value )
         list += ( list.empty() ? "" : ", " ) + valueText( item );
      return list.empty() ? "( )" : "( " + list + " )";
   }
   if( value.is_object() ) {
      std::string list;
      for( const auto& [ name, item ] : value.items() )
         list += ( list.empty() ? "" : ", " ) + name + " " + valueText( item );
      return list.empty() ? "( )" : "( " + list + " )";
   }
   return value.is_null() ? "none" : value.dump();
}

std::string member( const Json& record, const char* name )
{
   const auto at = record.find( name );
   return at == record.end() ? "" : valueText( *at );
}

std::string attributeText( const Json& record )
{
   return member( record, "object" ) + "." + member( record, "attribute" ) +
          ( record.contains( "key" ) ? "[" + member( record, "key" ) + "]" : "" );
}

std::string changeText( const Json& record )
{
   const std::string change = member( record, "change" );
   return attributeText( record ) +
          ( record.contains( "value" ) ? " = " + member( record, "value" ) : " removed" ) +
          ( change == "inserted" ? " (inserted)" : "" );
}

} // namespace

std::string recordText( const Json& record )
{
   const Kind kind =
      Vormel::enumParse<Kind>( member( record, "record" ) ).value_or( Kind::unknown );
   switch( kind ) {
   case Kind::begin:
   case Kind::chip:
      return ( record.contains( "manager" ) ? member( record, "manager" ) + "." : "" ) +
             member( record, "call" ) + member( record, "arguments" );
   case Kind::question:
      return "question " + member( record, "question" ) + member( record, "arguments" );
   case Kind::notify:
      return "notify " + changeText( record );
   case Kind::input:
      return changeText( record );
   case Kind::set:
      return "set " + changeText( record );
   case Kind::del:
      return "del " + attributeText( record );
   case Kind::call:
      return "call " + member( record, "operation" ) + member( record, "arguments" );
   case Kind::make:
   case Kind::drop:
   case Kind::run:
      return member( record, "record" ) + " " + member( record, "what" ) +
             ( kind == Kind::make ? member( record, "inputs" ) : "" );
   case Kind::returned:
      return "returned" + ( record.contains( "error" ) ? ": " + member( record, "error" ) : "" );
   case Kind::timer:
      return "a timer expires at " + member( record, "now" ) + " s";
   case Kind::fatal:
      return "the error hook: the agent ends";
   default:
      return member( record, "record" );
   }
}

} // namespace Strata::Desk
