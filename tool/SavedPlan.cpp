#include "tool/SavedPlan.h"

#include "platform/runtime/Errors.h"
#include "platform/runtime/Format.h"
#include "tool/Plan.h"
#include "tool/ScenarioFile.h"
#include "tool/Session.h"
#include "tool/WholeFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <utility>

namespace Strata::Tool {

namespace {

using nlohmann::ordered_json;
using Vormel::format;
using Vormel::ValueError;

constexpr const char* magic = "strata-l3 plan";
constexpr U32 formVersion = 1;
constexpr std::size_t mostNamed = 3; // of the values that have drifted

ordered_json partJson( const Desk::PartKey& key, const Desk::Part& part )
{
   ordered_json fields = ordered_json::array();
   for( const Desk::Field& field : part.fields )
      fields.push_back( { field.name, field.value } );
   return { { "kind", Vormel::enumName( key.kind ) }, { "number", key.number },
      { "port", key.port }, { "unit", key.unit }, { "title", part.title }, { "text", part.text },
      { "fields", fields } };
}

Desk::PartKind partKind( const std::string& text )
{
   for( const auto& [ kind, name ] : Vormel::enumTable<Desk::PartKind> )
      if( name == text )
         return kind;
   throw ValueError( "'" + text + "' is not a part of a switch" );
}

Desk::SwitchState stateOf( const ordered_json& rows )
{
   std::map<Desk::PartKey, Desk::Part> parts;
   for( const ordered_json& row : rows ) {
      Desk::Part part{ .title = row.at( "title" ), .text = row.at( "text" ) };
      for( const ordered_json& field : row.at( "fields" ) )
         part.fields.push_back( { field.at( 0 ), field.at( 1 ) } );
      parts.emplace( Desk::PartKey{ partKind( row.at( "kind" ) ), row.at( "number" ),
                        row.at( "port" ), row.at( "unit" ) },
         std::move( part ) );
   }
   return Desk::SwitchState( std::move( parts ) );
}

ordered_json parsed( std::istream& in )
{
   const ordered_json json = ordered_json::parse( in, nullptr, false );
   const bool isPlan = json.is_object() && json.contains( "file" ) && json[ "file" ] == magic;
   if( !isPlan )
      throw ValueError( "'plan save FILE COMMAND' makes one" );
   if( json.at( "version" ) != formVersion )
      throw ValueError( format( "it is of version %s, and this command reads version %d",
         json.at( "version" ).dump(), formVersion ) );
   return json;
}

std::string driftText( const std::vector<Desk::Difference>& drift )
{
   std::string text;
   for( std::size_t at = 0; at < std::min( drift.size(), mostNamed ); ++at ) {
      const Desk::Difference& row = drift[ at ];
      text += ( text.empty() ? "" : "; " ) + format( "unit %d %s: ", row.key.unit, row.part );
      text += row.field.empty() ? "" : row.field + " ";
      text += !row.before  ? "is new"
              : !row.after ? "is gone"
                           : format( "was %s, is %s", *row.before, *row.after );
   }
   if( drift.size() > mostNamed )
      text += format( "; and %d more", drift.size() - mostNamed );
   return text;
}

/// The first call that is not the planned one; empty if all are.
std::string otherCall(
   const std::vector<std::string>& planned, const std::vector<std::string>& made )
{
   const auto [ was, is ] = std::ranges::mismatch( planned, made );
   if( was == planned.end() && is == made.end() )
      return {};
   return format( "number %d is '%s', and '%s' was planned", was - planned.begin() + 1,
      is == made.end() ? "none" : *is, was == planned.end() ? "none" : *was );
}

} // namespace

SavedPlan SavedPlan::read( const std::string& file )
{
   std::ifstream in( file, std::ios::binary );
   const std::string why = std::strerror( errno );
   std::error_code none;
   if( !in || !std::filesystem::is_regular_file( file, none ) )
      throw ValueError(
         "cannot read the plan '" + file + "': " + ( in ? "it is not a regular file" : why ) );
   try {
      const ordered_json json = parsed( in );
      return { json.at( "commands" ), json.at( "calls" ), stateOf( json.at( "state" ) ) };
   } catch( const ordered_json::exception& ) {
      throw ValueError( "'" + file +
                        "' is not a saved plan: a part is missing, or is not what it "
                        "should be" );
   } catch( const ValueError& error ) {
      throw ValueError( "'" + file + "' is not a saved plan: " + error.what() );
   }
}

void SavedPlan::write( const std::string& file ) const
{
   ordered_json json{ { "file", magic }, { "version", formVersion }, { "commands", commands },
      { "calls", calls }, { "state", ordered_json::array() } };
   for( const auto& [ key, part ] : state.parts() )
      json[ "state" ].push_back( partJson( key, part ) );
   try {
      WholeFile plan( file );
      plan.out() << json.dump( 1, ' ', false, ordered_json::error_handler_t::replace ) << "\n";
      plan.finish();
   } catch( const std::runtime_error& error ) {
      throw ValueError( error.what() );
   }
}

std::string obstacleOfSaving( const std::string& file )
{
   std::error_code none;
   if( !std::filesystem::exists( file, none ) )
      return {};
   if( std::filesystem::is_regular_file( file, none ) &&
       std::filesystem::file_size( file, none ) == 0 )
      return {};
   try {
      SavedPlan::read( file );
   } catch( const ValueError& ) {
      return "'" + file + "' exists and is not a saved plan; give the plan another name";
   }
   return {};
}

void applyPlan( Session& session, const SavedPlan& plan, const Words& words, const Word& file )
{
   const std::vector<Desk::Difference> drift =
      Desk::differences( plan.state, Desk::SwitchState( session.agent().hardware() ) );
   if( !drift.empty() )
      words.failAt( file, "the switch is not as it was planned on: " + driftText( drift ) );
   const Line& line = words.line();
   const auto inclusion =
      std::make_shared<const Inclusion>( Inclusion{ line.file, line.number, line.inclusion } );
   std::vector<Line> lines;
   for( const std::string& command : plan.commands )
      lines.push_back(
         splitLine( file.text, static_cast<U32>( lines.size() ) + 1, command, inclusion ) );
   const Act act = [ & ]( Session& live ) {
      for( const Line& each : lines )
         live.run( each );
   };
   const Plan now = planOf( session, line, act );
   if( !now.end.empty() )
      words.failAt( file, "it does not get through here: " + now.end );
   if( const std::string other = otherCall( plan.calls, now.calls ); !other.empty() )
      words.failAt( file, "it would make other calls here: " + other );
   std::vector<std::string> made;
   {
      const Listening listening( session, [ & ]( const Sim::Record& record ) {
         if( isCall( record ) )
            made.push_back( record.text );
      } );
      act( session );
   }
   if( const std::string other = otherCall( plan.calls, made ); !other.empty() )
      words.failAt( file, "it is done, but made other calls: " + other );
}

std::vector<std::string> commandsOf( const Line& line )
{
   if( line.words.front().text != "include" )
      return { commandText( line ) };
   std::vector<std::string> all;
   ScenarioFile lines( includedFile( line, line.words.at( 1 ).text ) );
   while( const std::optional<Line> each = lines.next() )
      if( !each->words.empty() )
         for( std::string& command : commandsOf( *each ) )
            all.push_back( std::move( command ) );
   return all;
}

} // namespace Strata::Tool
