#include "tool/packet/ExplanationView.h"

#include "platform/runtime/Format.h"
#include "platform/types/IntfId.h"
#include "sim/switch/Values.h"

#include <algorithm>
#include <functional>
#include <nlohmann/json.hpp>
#include <tuple>
#include <utility>
#include <vector>

namespace Strata::Tool {

using nlohmann::ordered_json;
using Sim::EntryNote;
using Vormel::format;

namespace {

// The number of misses of a range that are shown, unless all are wanted.
constexpr std::size_t mostNearMisses = 2;

std::string recordText( const Sim::Cause& cause )
{
   return cause.record == 0 ? "" : format( " (record %d)", cause.record );
}

/// The change of an input that led to the call, if its command made one.
std::string eventText( const Sim::Cause& cause )
{
   return cause.event.empty() ? "" : ", after " + cause.event;
}

/// "installed by 'bring-up' (record 40), after Ethernet1.forwardingModel ..."
std::string causeText( const char* how, const Sim::Cause& cause )
{
   return format( "%s by '%s'%s", how, cause.text, recordText( cause ) ) + eventText( cause );
}

std::string enableText( const Sim::FieldEntry& entry )
{
   const Sim::Cause* const cause = entry.enableCause();
   if( !cause || cause->text.empty() )
      return {};
   return causeText( entry.enabled ? "enabled" : "disabled", *cause );
}

/// The causes of a winner, one line each.
std::string causesText( const Sim::FieldEntry& entry )
{
   std::string text;
   if( !entry.cause.text.empty() )
      text += "\n" + causeText( "installed", entry.cause );
   if( const std::string enabled = enableText( entry );
       !enabled.empty() && entry.enableCause()->text != entry.cause.text )
      text += "\n" + enabled;
   return text;
}

std::string missText( const Sim::RangeNote& range, const EntryNote& entry )
{
   std::string text =
      format( "%d \"%s\" misses: ", entry.id, entry.entry->name ) + missReason( range, entry );
   if( const std::string disabled = enableText( *entry.entry ); !entry.wanted && !disabled.empty() )
      text += "\n" + disabled;
   return text;
}

/// Whether only one qualifier (or the enable state) is missing, and at least one matches.
bool isNear( const EntryNote& entry )
{
   return entry.failed + ( entry.entry->enabled ? 0 : 1 ) == 1 && entry.fitted > 0;
}

void addRange( Table& table, const Sim::RangeNote& range, bool all )
{
   std::string title = range.group;
   const auto add = [ & ]( const std::string& text ) {
      table.row( { title, text } );
      title.clear();
   };
   bool won = false;
   for( const EntryNote& entry : range.entries ) {
      won = won || entry.won;
      if( entry.won )
         add( format( "%d \"%s\" wins: %s", entry.id, entry.entry->name,
                 entry.entry->hardware->text() ) +
              causesText( *entry.entry ) );
      else if( all && entry.failed == 0 && entry.entry->enabled )
         add(
            format( "%d \"%s\" also matches, but has a higher id", entry.id, entry.entry->name ) );
      else if( all )
         add( missText( range, entry ) );
   }
   if( !won )
      add( "no entry matches" );
   if( !all )
      for( const EntryNote* const entry : nearMisses( range ) )
         add( missText( range, *entry ) );
}

/// State of the chip by the command that wrote it; state that was never written has its reset value.
void addState( Table& table, const Sim::PassExplanation& about, bool all )
{
   std::vector<std::pair<std::string, std::string>> groups; // cause, and state
   for( const Sim::StateNote& note : about.state ) {
      const Sim::Cause cause = note.cause ? *note.cause : Sim::Cause();
      if( cause.text.empty() && !all )
         continue;
      const std::string by = cause.text.empty()
                                ? std::string( "as the chip came" )
                                : format( "written by '%s'%s", cause.text, eventText( cause ) );
      const std::string what = note.text() + recordText( cause );
      const auto same =
         std::ranges::find( groups, by, &std::pair<std::string, std::string>::first );
      if( same == groups.end() )
         groups.emplace_back( by, what );
      else
         same->second += ", " + what;
   }
   for( const auto& [ by, what ] : groups )
      table.row( { "state", what + "\n" + by } );
}

/// ", written by 'bring-up' (record 12)"; empty for state that nothing has written.
std::string stateCause( const Sim::PassExplanation& about, const Sim::ChipPlace& place )
{
   for( const Sim::StateNote& note : about.state )
      if( note.place == place && note.cause && !note.cause->text.empty() )
         return ", " + causeText( "written", *note.cause );
   return {};
}

void addStage( Table& table, Sim::PacketEngine& engine, const Sim::StageNote& note,
   const Sim::PortRef& arrival )
{
   table.row( { std::string( note.stage ),
      note.text +
         ( note.culprit ? "\n" + adviceOn( engine, *note.culprit, arrival ) : std::string() ) } );
}

/// What becomes of it: "leaves" or "CPU", and where.
using OutcomeRows = std::vector<std::pair<std::string, std::string>>;

OutcomeRows outcomeRows( Sim::PacketEngine& engine, const Sim::PassVerdict& pass )
{
   OutcomeRows rows;
   // Ports on which the same frame leaves are listed together.
   std::vector<std::pair<std::string, std::vector<Sim::PortRef>>> leaving; // frame, and ports
   for( const Sim::Departure& departure : pass.departures ) {
      const std::string what = ( departure.tunnel.empty() ? "" : ", tunnel " + departure.tunnel ) +
                               ": " + departure.frame.text();
      auto same = std::ranges::find_if(
         leaving, [ & ]( const auto& known ) { return known.first == what; } );
      if( same == leaving.end() )
         same = leaving.insert( same, { what, {} } );
      same->second.push_back( departure.port );
   }
   for( const auto& [ what, ports ] : leaving )
      rows.emplace_back( "leaves", engine.portNames( ports ) + what );
   if( pass.cpu )
      for( const std::string& reason : pass.cpu->reasons )
         rows.emplace_back( "CPU", format( "queue %d: %s", pass.cpu->queue, reason ) );
   if( !pass.drop.empty() )
      rows.emplace_back( "leaves", "on no port: " + pass.drop );
   return rows;
}

ordered_json causeJson( const Sim::Cause& cause )
{
   ordered_json object{ { "command", cause.text }, { "record", cause.record } };
   if( !cause.event.empty() )
      object[ "event" ] = cause.event;
   return object;
}

void addCause( ordered_json& row, const char* name, const Sim::Cause* cause )
{
   if( cause && !cause->text.empty() )
      row[ name ] = causeJson( *cause );
}

ordered_json entryNoteJson( const Sim::RangeNote& range, const EntryNote& entry )
{
   ordered_json row{ { "id", entry.id }, { "name", entry.entry->name },
      { "enabled", entry.entry->enabled }, { "fitted", entry.fitted }, { "failed", entry.failed } };
   row.update( Sim::ruleJson( *entry.entry->hardware ) );
   if( entry.wanted ) {
      row[ "missed" ] = Sim::qualifierJson( *entry.wanted );
      row[ "had" ] = range.presented.valueText( entry.wanted->role );
      if( !entry.why.empty() )
         row[ "why" ] = entry.why;
   }
   addCause( row, "cause", &entry.entry->cause );
   addCause( row, "enabling", entry.entry->enableCause() );
   return row;
}

ordered_json rangeJson( const Sim::RangeNote& range )
{
   ordered_json object{
      { "range", range.group }, { "winner", nullptr }, { "entries", ordered_json::array() } };
   for( const EntryNote& entry : range.entries ) {
      if( entry.won )
         object[ "winner" ] = entry.id;
      object[ "entries" ].push_back( entryNoteJson( range, entry ) );
   }
   return object;
}

ordered_json stateJson( const Sim::StateNote& note )
{
   const auto& [ kind, number, port ] = note.place;
   ordered_json row;
   switch( kind ) {
   case Sim::ChipPlace::Kind::control:
      row[ "control" ] = roleName( static_cast<SwitchControl>( number ) );
      break;
   case Sim::ChipPlace::Kind::portSwitchControl:
      row[ "control" ] = roleName( static_cast<SwitchControl>( number ) );
      row[ "port" ] = port;
      break;
   case Sim::ChipPlace::Kind::portControl:
      row[ "control" ] = roleName( static_cast<PortControl>( number ) );
      row[ "port" ] = port;
      break;
   case Sim::ChipPlace::Kind::registers:
      row[ "register" ] = roleName( static_cast<Register>( number ) );
      row.update( Sim::registerJson( static_cast<Register>( number ), note.value ) );
      break;
   case Sim::ChipPlace::Kind::vlanFlags:
      row[ "vlan" ] = number;
      row[ "flags" ] = Sim::flagsJson( note.flags() );
      break;
   case Sim::ChipPlace::Kind::myStation:
      row[ "myStation" ] = number;
      break;
   }
   if( row.contains( "control" ) )
      row[ "value" ] = static_cast<S64>( note.value );
   addCause( row, "cause", note.cause );
   return row;
}

ordered_json outcomeJson( Sim::PacketEngine& engine, const Sim::PassVerdict& pass )
{
   ordered_json object{ { "departures", ordered_json::array() } };
   for( const Sim::Departure& departure : pass.departures )
      object[ "departures" ].push_back( { { "unit", departure.port.unit },
         { "port", departure.port.port }, { "name", engine.portName( departure.port ) },
         { "tunnel", departure.tunnel.empty() ? ordered_json() : ordered_json( departure.tunnel ) },
         { "frame", departure.frame.text() }, { "length", departure.frame.length() } } );
   if( pass.cpu )
      object[ "cpu" ] = { { "unit", pass.cpu->unit }, { "queue", pass.cpu->queue },
         { "reasons", pass.cpu->reasons } };
   if( !pass.drop.empty() )
      object[ "drop" ] = pass.drop;
   return object;
}

} // namespace

std::string missReason( const Sim::RangeNote& range, const EntryNote& entry )
{
   if( !entry.wanted )
      return "it is disabled";
   if( !entry.why.empty() )
      return entry.why;
   return format( "it needs %s, and the packet has %s", entry.wanted->text(),
      range.presented.valueText( entry.wanted->role ) );
}

std::vector<const EntryNote*> nearMisses( const Sim::RangeNote& range )
{
   std::vector<const EntryNote*> near;
   for( const EntryNote& entry : range.entries )
      if( isNear( entry ) )
         near.push_back( &entry );
   std::ranges::stable_sort( near, std::greater(), []( const EntryNote* entry ) {
      return std::tuple( entry->failed == 0, entry->fitted, entry->bits );
   } );
   near.resize( std::min( near.size(), mostNearMisses ) );
   return near;
}

std::string adviceOn(
   Sim::PacketEngine& engine, const Sim::ChipPlace& culprit, const Sim::PortRef& arrival )
{
   const std::string port = engine.portName( arrival );
   switch( culprit.kind ) {
   case Sim::ChipPlace::Kind::portControl:
      if( !Vormel::IntfId::parse( port ) )
         return format( "the slice writes it when the port gets an interface: 'interface NAME unit "
                        "%d port %d', after 'bring-up'",
            arrival.unit, culprit.port );
      return "the slice writes it when the port has an interface and the reactors run "
             "('bring-up'), or with 'call programSwitchCtrlPortSet " +
             port + "'";
   case Sim::ChipPlace::Kind::control:
   case Sim::ChipPlace::Kind::portSwitchControl:
      return "the slice writes it when routing is turned on: 'router MAC', or 'call handleRouting "
             "true true'";
   case Sim::ChipPlace::Kind::vlanFlags:
      return format( "the slice writes its flags: 'call handleVlanRoutingState %d ip4,ip6' lets it "
                     "route",
         culprit.number );
   case Sim::ChipPlace::Kind::myStation:
      return "'router MAC' writes an entry that does";
   case Sim::ChipPlace::Kind::registers:
      break;
   }
   return {};
}

Table explanationTable( Sim::PacketEngine& engine, const Sim::Verdict& verdict,
   const Sim::Explanation& explanation, bool all )
{
   Table table( { { "Stage" }, { "Result" } } );
   for( std::size_t i = 0; i < verdict.passes.size(); ++i ) {
      const Sim::PassExplanation& about = explanation.passes[ i ];
      if( verdict.passes.size() > 1 )
         table.section(
            format( "Pass %d, in by %s", i + 1, engine.portName( verdict.passes[ i ].arrival ) ) );
      for( const Sim::StageNote& note : about.stages )
         addStage( table, engine, note, verdict.passes[ i ].arrival );
      addState( table, about, all );
      for( const Sim::RangeNote& range : about.ranges )
         addRange( table, range, all );
      for( const Sim::StageNote& note : about.after )
         if( all || note.stage != "entry" )
            table.row( { std::string( note.stage ), note.text } );
      for( const auto& [ part, text ] : outcomeRows( engine, verdict.passes[ i ] ) )
         table.row( { part, text } );
   }
   return table;
}

std::string withFrames( const Sim::Verdict& verdict, std::string text )
{
   for( const Sim::Departure* const departure : verdict.departures() )
      if( const std::string frame = ", as " + departure->frame.text();
          text.find( frame ) == text.npos )
         text += frame;
   return text;
}

std::string frameComment( const Sim::PacketEngine& engine, const Sim::Arrival& arrival,
   const Sim::Verdict& verdict, const Sim::Explanation& explanation, std::size_t pass,
   const std::string& fate )
{
   std::string text = "in " + engine.arrivalName( arrival ) + ": " + fate;
   for( std::size_t i = 0; i <= pass; ++i ) {
      const std::string number = verdict.passes.size() > 1 ? format( "pass %d: ", i + 1 ) : "";
      for( const Sim::StageNote& note : explanation.passes[ i ].stages )
         if( note.culprit )
            text +=
               "\n" + number + note.text + stateCause( explanation.passes[ i ], *note.culprit );
      for( const Sim::RangeNote& range : explanation.passes[ i ].ranges )
         for( const EntryNote& entry : range.entries )
            if( entry.won )
               text += "\n" + number +
                       format( "%s %d \"%s\" wins: %s", range.group, entry.id, entry.entry->name,
                          entry.entry->hardware->text() ) +
                       causesText( *entry.entry );
   }
   return text;
}

std::vector<ExplainedPart> explainedParts(
   Sim::PacketEngine& engine, const Sim::Verdict& verdict, const Sim::Explanation& explanation )
{
   std::vector<ExplainedPart> parts;
   for( U32 i = 0; i < verdict.passes.size(); ++i ) {
      const auto first = static_cast<std::ptrdiff_t>( parts.size() );
      const auto add = [ & ]( std::string_view part, const std::string& text ) {
         const auto known =
            std::ranges::find( parts.begin() + first, parts.end(), part, &ExplainedPart::part );
         if( known == parts.end() )
            parts.push_back( { i + 1, std::string( part ), text } );
         else
            known->text += "\n" + text;
      };
      const Sim::PassExplanation& about = explanation.passes[ i ];
      for( const Sim::StageNote& note : about.stages )
         add( note.stage, note.text );
      for( const Sim::RangeNote& range : about.ranges ) {
         const auto winner = std::ranges::find( range.entries, true, &EntryNote::won );
         add( range.group, winner == range.entries.end()
                              ? "no entry matches"
                              : format( "%d \"%s\" wins: %s", winner->id, winner->entry->name,
                                   winner->entry->hardware->text() ) );
      }
      for( const Sim::StageNote& note : about.after )
         if( note.stage != "entry" )
            add( note.stage, note.text );
      for( const auto& [ part, text ] : outcomeRows( engine, verdict.passes[ i ] ) )
         add( part, text );
   }
   return parts;
}

ordered_json explanationJson(
   Sim::PacketEngine& engine, const Sim::Verdict& verdict, const Sim::Explanation& explanation )
{
   auto passes = ordered_json::array();
   for( std::size_t i = 0; i < verdict.passes.size(); ++i ) {
      ordered_json pass{ { "in", engine.portName( verdict.passes[ i ].arrival ) } };
      pass[ "stages" ] = ordered_json::array();
      for( const auto* const notes :
         { &explanation.passes[ i ].stages, &explanation.passes[ i ].after } )
         for( const Sim::StageNote& note : *notes ) {
            ordered_json row{ { "stage", note.stage }, { "found", note.text } };
            if( note.culprit )
               row[ "advice" ] = adviceOn( engine, *note.culprit, verdict.passes[ i ].arrival );
            pass[ "stages" ].push_back( std::move( row ) );
         }
      pass[ "state" ] = ordered_json::array();
      for( const Sim::StateNote& note : explanation.passes[ i ].state )
         pass[ "state" ].push_back( stateJson( note ) );
      pass[ "ranges" ] = ordered_json::array();
      for( const Sim::RangeNote& range : explanation.passes[ i ].ranges )
         pass[ "ranges" ].push_back( rangeJson( range ) );
      pass.update( outcomeJson( engine, verdict.passes[ i ] ) );
      passes.push_back( std::move( pass ) );
   }
   return passes;
}

} // namespace Strata::Tool
