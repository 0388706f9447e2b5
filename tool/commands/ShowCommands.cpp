// Tables of the state of chips and agent, and of events.
#include "agent/AttributeValues.h"
#include "platform/runtime/Entity.h"
#include "platform/runtime/Snapshot.h"
#include "platform/sdk/ObservedShim.h"
#include "sim/chip/RegisterLayout.h"
#include "sim/switch/Values.h"
#include "tool/Session.h"
#include "tool/view/Catalogue.h"
#include "tool/view/EntryView.h"
#include "tool/view/Expectation.h"
#include "tool/words/ByUnit.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <optional>

namespace Strata::Tool {

namespace {

using nlohmann::ordered_json;
using Names = std::vector<std::string>;

/// Takes a text that one of the names contains; any text if there are no names.
std::string takeFilter( Words& words, const Names& names )
{
   const std::string& filter = words.text( "a part of a name" );
   std::vector<std::string_view> choices( names.begin(), names.end() );
   choices.emplace_back( "--json" );
   const bool fits = names.empty() ? !filter.starts_with( "--" )
                                   : std::ranges::any_of( names, [ & ]( const std::string& name ) {
                                        return name.find( filter ) != name.npos;
                                     } );
   if( !fits )
      words.fail( "there is nothing with '" + filter + "' in its name" +
                  didYouMean( filter, choices, "; without a filter everything is shown" ) );
   return filter;
}

/// Parses an optional text by which the output is filtered, a part of one of the names.
template<void ( *show )( Session& session, const std::string& filter ),
   Names ( *names )( const Session& session )>
Act parseFilter( const Session& session, Words& words )
{
   return [ filter = words.done() ? std::string() : takeFilter( words, names( session ) ) ](
             Session& live ) { show( live, filter ); };
}

std::string titleWith( const std::string& title, const std::string& filter, bool empty )
{
   return filter.empty() ? title : title + ", only '" + filter + "'" + ( empty ? ": none" : "" );
}

template<class Range>
void append( Names& names, const Range& others )
{
   for( const auto& other : others )
      names.emplace_back( other );
}

Names entryNames( const Session& session )
{
   Names names;
   append( names, entryOffsetNames() );
   for( const auto& [ unit, chip ] : session.agent().hardware().chips() )
      for( const Sim::FieldGroup& group : chip.groups() ) {
         names.push_back( group.profile().name );
         for( const auto& [ id, entry ] : group.entries() ) {
            names.push_back( entry.name );
            names.push_back( std::to_string( id ) );
         }
      }
   return names;
}

Names controlNames( const Session& )
{
   Names names;
   append( names, roleNames<SwitchControl> );
   append( names, roleNames<PortControl> );
   return names;
}

Names registerNames( const Session& )
{
   Names names;
   append( names, roleNames<Register> );
   return names;
}

Names recordedCalls( const Session& )
{
   Names names;
   append( names, callNames() );
   return names;
}

Names attributeNames( const Session& session )
{
   const Agent& agent = session.agent();
   Names objects = agent.objectNames();
   for( const auto& status : agent.hardware().ethIntfStatusDir()->intfStatus() )
      objects.push_back( status.key.toString() );
   Names names;
   for( const std::string& object : objects )
      for( const auto& attribute : agent.object( object )->entityType().attributes() )
         names.push_back( object + "." + std::string( attribute->info().name ) );
   return names;
}

Names noNames( const Session& )
{
   return {};
}

void showEntries( Session& session, const std::string& filter )
{
   Sim::SimSwitch& hardware = session.agent().hardware();
   Table table = entryTable( hardware, filter );
   session.console().table(
      titleWith( "Field Processor entries", filter, table.empty() ), [ & ] { return table; },
      [ & ] { return entryJson( hardware, filter ); } );
}

Act showEntriesOrHits( const Session& session, Words& words )
{
   if( !words.accept( "hits" ) )
      return parseFilter<showEntries, entryNames>( session, words );
   return []( Session& live ) {
      live.console().table(
         "Hits of entries since the last mark", hitsTable( live.agent().hardware() ) );
   };
}

void showAttributesOf(
   Session& session, const Ref<Entity>& object, const std::string& title, bool changed )
{
   const Agent& agent = session.agent();
   Agent::Values initial = agent.initialValues( *object );
   Table table(
      changed ? std::vector<Column>{ { "Number", Align::right }, { "Attribute" }, { "Initially" },
                   { "Now" } }
              : std::vector<Column>{ { "Number", Align::right }, { "Attribute" }, { "Value" } } );
   for( const AttributeValue& value : attributeValues( *object ) ) {
      const Vormel::AttributeInfo& info = value.attribute->info();
      const Vormel::AttributeNumber number = info.number;
      ordered_json row{ { "number", number == 0 ? ordered_json() : ordered_json( number ) },
         { "attribute", value.name } };
      const std::string numberText = number == 0 ? "-" : std::to_string( number );
      const std::string& before = initial[ value.name ];
      const std::string now = agent.valueText( value.value );
      row[ changed ? "now" : "value" ] = Sim::attributeJson( info.type, now );
      if( !changed )
         table.row( { numberText, value.name, now }, row );
      else if( number != 0 && before != now )
         table.row( { numberText, value.name, before.empty() ? "-" : before, now }, row );
   }
   session.console().table(
      ( changed ? "Changed attributes of " : "Attributes of " ) + title, table );
}

Act showAttributes( const Session& session, Words& words )
{
   const Agent& agent = session.agent();
   bool changed = words.accept( "changed" );
   Ref<Entity> object = agent.helper();
   std::string title = "helper";
   if( !changed && !words.done() ) {
      object = session.takeObject( words );
      title = words.last()->text;
      changed = words.accept( "changed" );
   }
   return [ = ]( Session& live ) { showAttributesOf( live, object, title, changed ); };
}

void showControls( Session& session, const std::string& filter )
{
   Sim::SimSwitch& hardware = session.agent().hardware();
   ByUnit<UnitRow> rows;
   const auto add = [ & ]( U32 unit, std::string_view name, std::optional<int> port, int value ) {
      if( name.find( filter ) != name.npos )
         rows.add( unit,
            { { std::string( name ), port ? "port " + std::to_string( *port ) : "chip",
                 std::to_string( value ) },
               { { "control", name }, { "port", port ? ordered_json( *port ) : ordered_json() },
                  { "value", value } } } );
   };
   for( const auto& [ unit, chip ] : hardware.chips() ) {
      for( const auto& [ control, value ] : chip.controls() )
         add( unit, roleName( control ), std::nullopt, value );
      for( const auto& [ place, value ] : chip.portSwitchControls() )
         add( unit, roleName( place.second ), place.first, value );
      for( const auto& [ place, value ] : chip.portControls() )
         add( unit, roleName( place.second ), place.first, value );
   }
   session.console().table( titleWith( "Controls that were written", filter, rows.rows().empty() ),
      unitTable( { { "Control" }, { "Where" }, { "Value" } }, rows ) );
}

void showRegisters( Session& session, const std::string& filter )
{
   Sim::SimSwitch& hardware = session.agent().hardware();
   ByUnit<UnitRow> rows;
   for( const auto& [ unit, chip ] : hardware.chips() )
      for( std::size_t i = 0; i < roleNames<Register>.size(); ++i ) {
         const auto reg = static_cast<Register>( i );
         const std::string name( roleName( reg ) );
         if( !chip.profile().supports( reg ) || name.find( filter ) == name.npos )
            continue;
         const U64 value = chip.registerValue( reg );
         ordered_json object{ { "register", name } };
         object.update( Sim::registerJson( reg, value ) );
         rows.add( unit, { { name, Sim::registerText( reg, value ) }, std::move( object ) } );
      }
   session.console().table( titleWith( "Registers", filter, rows.rows().empty() ),
      unitTable( { { "Register" }, { "Value" } }, rows ) );
}

void showCalls( Session& session, const std::string& filter )
{
   std::map<std::string, std::map<std::string, U32>> counts; // by call, by unit
   for( const Sim::Record& record : session.window() )
      if( isCall( record ) )
         if( const std::string call = record.field( "call" ); call.find( filter ) != call.npos )
            ++counts[ call ][ record.field( "unit" ) ];
   Table table( { { "Call" }, { "Times", Align::right }, { "By unit" } } );
   for( const auto& [ call, units ] : counts ) {
      U32 total = 0;
      std::string each;
      auto byUnit = ordered_json::object();
      for( const auto& [ unit, times ] : units ) {
         total += times;
         const std::string name = unit.empty() ? "-" : unit;
         each += ( each.empty() ? "" : ", " ) + name + ": " + std::to_string( times );
         byUnit[ name ] = times;
      }
      table.row( { call, std::to_string( total ), each },
         { { "call", call }, { "times", total }, { "byUnit", byUnit } } );
   }
   session.console().table(
      titleWith( "Calls since the last mark", filter, table.empty() ), table );
}

void showNotifications( Session& session, const std::string& filter )
{
   std::map<std::string, U32> counts;
   for( const Sim::Record& record : session.window() )
      if( record.kind == Sim::RecordKind::notify )
         if( const std::string path = record.field( "object" ) + "." + record.field( "attribute" );
             path.find( filter ) != path.npos )
            ++counts[ path ];
   Table table( { { "Attribute" }, { "Times", Align::right } } );
   for( const auto& [ path, times ] : counts )
      table.row( { path, std::to_string( times ) } );
   session.console().table(
      titleWith( "Notifications since the last mark", filter, table.empty() ), table );
}

/// Times differ from run to run, so scenarios must not compare this output.
void showTimes( Session& session )
{
   const ObservedShim& shim = session.agent().hardware().observedShim();
   const auto microseconds = []( double seconds ) {
      return std::to_string( std::llround( seconds * 1e6 ) );
   };
   Table table( { { "Call" }, { "Times", Align::right }, { "Failed", Align::right },
      { "Total us", Align::right }, { "Longest us", Align::right } } );
   for( const SdkCallStatistics& call : shim.statistics() )
      table.row( { std::string( call.call ), std::to_string( call.calls ),
         std::to_string( call.failures + call.unavailable ), microseconds( call.seconds ),
         microseconds( call.longest ) } );
   session.console().table( "SDK calls and their times", table );
}

Act showSnapshot( const Session& session, Words& words )
{
   const Agent& agent = session.agent();
   const Ref<Entity> object = words.done() ? agent.helper() : session.takeObject( words );
   return [ object ]( Session& live ) {
      live.console().document( "Snapshot", ordered_json::parse( Vormel::snapshotJson( *object ) ) );
   };
}

void showTranscript( Session& session, const std::string& filter )
{
   std::vector<const Sim::Record*> records;
   for( const Sim::Record& record : session.window() )
      if( record.line().find( filter ) != std::string::npos )
         records.push_back( &record );
   session.console().records(
      titleWith( "Transcript since the last mark", filter, records.empty() ), records );
}

} // namespace

std::vector<Command> showCommands()
{
   return {
      { "show entries", "[hits|NAME|GROUP|ID]",
         "Field Processor entries: state, qualifiers, actions; or how many packets each has won since the last mark",
         showEntriesOrHits },
      { "show attributes", "[OBJECT] [changed]",
         "attributes of the helper or another object, or only those that differ from their initial values",
         showAttributes },
      { "show controls", "[TEXT]", "controls that were written",
         parseFilter<showControls, controlNames> },
      { "show registers", "[TEXT]", "registers, with their fields",
         parseFilter<showRegisters, registerNames> },
      { "show calls", "[TEXT]", "number of calls of each hardware call since the last mark",
         parseFilter<showCalls, recordedCalls>, true, true, true },
      { "show notifications", "[TEXT]",
         "number of published changes of each attribute since the last mark",
         parseFilter<showNotifications, attributeNames>, true, true, true },
      { "show times", "", "number and duration of SDK calls by name", parseNone<showTimes> },
      { "show snapshot", "[OBJECT]", "all attributes of the helper or another object, as JSON",
         showSnapshot },
      { "show transcript", "[TEXT]", "records since the last mark",
         parseFilter<showTranscript, noNames>, true, true, true },
   };
}

} // namespace Strata::Tool
