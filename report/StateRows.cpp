#include "report/StateRows.h"

#include <algorithm>
#include <map>
#include <optional>
#include <tuple>

namespace Strata::Report {

using Desk::Difference;
using Desk::Part;
using Desk::PartKey;
using Desk::PartKind;

namespace {

std::optional<Section> sectionOf( PartKind kind )
{
   switch( kind ) {
   case PartKind::chip:
      return std::nullopt;
   case PartKind::entry:
      return Section::entries;
   case PartKind::control:
   case PartKind::portControl:
   case PartKind::portSwitchControl:
      return Section::controls;
   case PartKind::reg:
      return Section::registers;
   case PartKind::myStation:
      return Section::myStation;
   case PartKind::vlan:
   case PartKind::optionsProfile:
      return Section::vlans;
   case PartKind::room:
      return Section::room;
   }
   return std::nullopt;
}

/// "match Ttl 1; IpType Ipv4", "do Drop", of the fields of an entry.
std::vector<std::string> ruleLines( const Part& part )
{
   std::string match;
   std::string actions;
   for( const Desk::Field& field : part.fields ) {
      if( field.name == "name" || field.name == "state" )
         continue;
      const bool isAction = field.name.starts_with( "do " );
      std::string& text = isAction ? actions : match;
      text += ( text.empty() ? "" : "; " ) + ( isAction ? field.name.substr( 3 ) : field.name );
      if( !isAction || field.value != "yes" )
         text += " " + field.value;
   }
   if( match.empty() && actions.empty() )
      return {};
   return { "match " + ( match.empty() ? "everything" : match ),
      "do " + ( actions.empty() ? "nothing" : actions ) };
}

Sim::Cause latestCause( const Part& part )
{
   Sim::Cause latest;
   for( const Desk::Field& field : part.fields )
      if( latest.text.empty() || field.cause.record > latest.record )
         latest = field.cause;
   return latest;
}

std::string roomText( const Part& part )
{
   U64 used = 0;
   U64 room = 0;
   for( const Desk::Field& field : part.fields )
      ( field.name == "used" ? used : room ) = std::stoul( field.value );
   return std::to_string( used ) + " used, " + std::to_string( room - std::min( used, room ) ) +
          " left of " + std::to_string( room );
}

StateRow rowOf( const PartKey& key, const Part& part, Section section )
{
   StateRow row{ .section = section, .number = key.number, .name = part.name, .range = part.range };
   row.cause = latestCause( part );
   if( key.port != 0 )
      row.ports = { static_cast<U32>( key.port ) };
   row.units = { key.unit };
   if( section == Section::entries ) {
      for( const Desk::Field& field : part.fields )
         if( field.name == "state" )
            row.state = field.value;
      row.values = ruleLines( part );
   } else if( key.kind == PartKind::room )
      row.values = { roomText( part ) };
   else
      row.values = { part.text };
   if( key.kind == PartKind::optionsProfile )
      row.name = part.title;
   return row;
}

/// What the differences of one part say about what it had.
void addWas( StateRow& row, const Difference& difference )
{
   const bool isWhole = difference.field.empty() && ( !difference.before || !difference.after );
   if( isWhole ) {
      row.change = difference.after ? RowChange::made : RowChange::gone;
      row.was = difference.before.value_or( "" );
      return;
   }
   row.change = RowChange::changed;
   const std::string& field = difference.field;
   row.was += ( row.was.empty() ? "" : "; " ) +
              ( field.starts_with( "do " ) ? field.substr( 3 ) : field ) +
              ( field.empty() ? "" : " " ) + difference.before.value_or( "not there" );
}

/// Adds the row, or its ports or units to an equal one.
template<class Less>
void merge( std::vector<StateRow>& rows, StateRow row, Less same, std::vector<U32> StateRow::*list )
{
   // Equal rows are near each other.
   const auto at = std::find_if( rows.rbegin(), rows.rend(), same );
   if( at == rows.rend() )
      rows.push_back( std::move( row ) );
   else
      ( *at.*list ).insert( ( *at.*list ).end(), ( row.*list ).begin(), ( row.*list ).end() );
}

auto contents( const StateRow& row )
{
   return std::tie( row.section, row.number, row.name, row.range, row.state, row.values, row.change,
      row.was, row.cause.text );
}

std::vector<StateRow> merged( const std::vector<StateRow>& rows )
{
   std::vector<StateRow> byPort;
   for( const StateRow& row : rows )
      merge(
         byPort, row,
         [ & ]( const StateRow& other ) {
            return contents( other ) == contents( row ) && other.units == row.units &&
                   !other.ports.empty() && !row.ports.empty();
         },
         &StateRow::ports );
   std::vector<StateRow> byUnit;
   for( const StateRow& row : byPort )
      merge(
         byUnit, row,
         [ & ]( const StateRow& other ) {
            return contents( other ) == contents( row ) && other.ports == row.ports;
         },
         &StateRow::units );
   return byUnit;
}

/// Whether it is more than what each chip of the profile has.
bool isTold( const StateRow& row )
{
   return row.section == Section::entries || row.section == Section::vlans ||
          row.section == Section::room || !row.cause.text.empty() || row.change != RowChange::none;
}

} // namespace

std::vector<std::string> targetsOf( const StateRow& row )
{
   switch( row.section ) {
   case Section::entries:
      return { std::to_string( row.number ) };
   case Section::controls: {
      if( row.ports.empty() )
         return { row.name };
      std::vector<std::string> all;
      for( const U32 port : row.ports )
         all.push_back( row.name + " of port " + std::to_string( port ) );
      return all;
   }
   case Section::registers:
      return { row.name };
   case Section::myStation:
      return { "my-station " + std::to_string( row.number ) };
   case Section::vlans:
      return { row.name.empty() ? "VLAN " + std::to_string( row.number ) : row.name };
   case Section::room:
      return { "room " + row.range };
   }
   return {};
}

std::vector<StateRow> stateRows( const Desk::SwitchState& now, const Desk::SwitchState& before )
{
   std::map<PartKey, std::vector<Difference>> changes;
   for( Difference& difference : Desk::differences( before, now ) )
      changes[ difference.key ].push_back( std::move( difference ) );
   std::map<PartKey, const Part*> all;
   for( const auto& [ key, part ] : now.parts() )
      all.emplace( key, &part );
   for( const auto& [ key, part ] : before.parts() )
      all.emplace( key, &part ); // if it has gone
   std::vector<StateRow> rows;
   for( const auto& [ key, part ] : all ) {
      const auto section = sectionOf( key.kind );
      if( !section )
         continue;
      StateRow row = rowOf( key, *part, *section );
      if( const auto at = changes.find( key ); at != changes.end() )
         for( const Difference& difference : at->second )
            addWas( row, difference );
      if( row.change == RowChange::gone )
         row.cause = {}; // what wrote it is not what removed it
      if( isTold( row ) )
         rows.push_back( std::move( row ) );
   }
   return merged( rows );
}

} // namespace Strata::Report
