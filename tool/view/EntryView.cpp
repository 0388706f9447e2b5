#include "tool/view/EntryView.h"
#include "desk/Texts.h"

#include "routing/TcamL3EntryId.h"
#include "sim/switch/SimSwitch.h"
#include "sim/switch/Values.h"
#include "tool/words/ByUnit.h"

#include <algorithm>
#include <array>
#include <functional>

namespace Strata::Tool {

namespace {

struct EntryRow
{
   std::string group;
   U32 id;
   std::string state;
   std::string text;

   bool operator==( const EntryRow& ) const = default;
};

struct HitsRow
{
   std::string group;
   U32 id;
   std::string name;
   std::string state;
   U64 hits;

   bool operator==( const HitsRow& ) const = default;
};

/// The rule in hardware, or for an entry that is only claimed, the claimed rule.
const Sim::FieldRule& ruleOf( const Sim::FieldEntry& entry )
{
   return entry.hardware ? *entry.hardware : entry.claim;
}

std::string describe( const Sim::FieldEntry& entry )
{
   return entry.name + ( entry.hits == 0 ? "" : " (" + Desk::counted( entry.hits, "hit" ) + ")" ) +
          "\n  match " + ruleOf( entry ).text( "\n  do " );
}

using Visit =
   std::function<void( U32 unit, const Sim::FieldGroup&, U32 id, const Sim::FieldEntry& )>;

bool passes(
   std::string_view filter, const Sim::FieldGroup& group, U32 id, const Sim::FieldEntry& entry )
{
   const std::string& groupName = group.profile().name;
   const auto offset = entryOffset( filter );
   return entry.name.find( filter ) != filter.npos || groupName == filter ||
          std::to_string( id ) == filter ||
          ( offset && groupName == "main" && id == group.profile().base + *offset );
}

void forEachEntry( Sim::SimSwitch& hardware, std::string_view filter, const Visit& visit )
{
   for( const auto& [ unit, chip ] : hardware.chips() )
      for( const Sim::FieldGroup& group : chip.groups() )
         for( const auto& [ id, entry ] : group.entries() )
            if( passes( filter, group, id, entry ) )
               visit( unit, group, id, entry );
}

struct OffsetName
{
   std::string_view name;
   TcamL3EntryId id;
};

constexpr auto offsetNames = std::to_array<OffsetName>( {
#define STRATA_ENTRY( name, offset ) { #name, TcamL3EntryId::name },
#define STRATA_RESERVED_ENTRY( name, offset )
#include "routing/EntryIds.def"
} );

} // namespace

std::string_view entryState( const Sim::FieldEntry& entry )
{
   if( !entry.installed() )
      return "claimed";
   if( !entry.enabled )
      return "disabled";
   return *entry.hardware == entry.claim ? "installed" : "changed";
}

Table entryTable( Sim::SimSwitch& hardware, std::string_view filter )
{
   ByUnit<EntryRow> byUnit;
   forEachEntry( hardware, filter,
      [ & ]( U32 unit, const Sim::FieldGroup& group, U32 id, const Sim::FieldEntry& entry ) {
         byUnit.add( unit,
            { group.profile().name, id, std::string( entryState( entry ) ), describe( entry ) } );
      } );
   auto rows = byUnit.rows();
   std::ranges::stable_sort( rows, {}, []( const auto& row ) { return row.first.id; } );
   Table table( { { "Id", Align::right }, { "Units" }, { "State" }, { "Entry" } } );
   std::string group;
   for( const auto& [ row, units ] : rows ) {
      if( row.group != group )
         table.section( row.group );
      group = row.group;
      table.row( { std::to_string( row.id ), numberRanges( units ), row.state, row.text } );
   }
   return table;
}

nlohmann::ordered_json entryJson( Sim::SimSwitch& hardware, std::string_view filter )
{
   auto rows = nlohmann::ordered_json::array();
   forEachEntry( hardware, filter,
      [ & ]( U32 unit, const Sim::FieldGroup& group, U32 id, const Sim::FieldEntry& entry ) {
         nlohmann::ordered_json row{ { "unit", unit }, { "group", group.profile().name },
            { "id", id }, { "name", entry.name }, { "state", entryState( entry ) },
            { "hits", entry.hits } };
         row.update( Sim::ruleJson( ruleOf( entry ) ) );
         rows.push_back( std::move( row ) );
      } );
   return rows;
}

Table hitsTable( Sim::SimSwitch& hardware )
{
   ByUnit<HitsRow> byUnit;
   forEachEntry( hardware, {},
      [ & ]( U32 unit, const Sim::FieldGroup& group, U32 id, const Sim::FieldEntry& entry ) {
         if( entry.installed() )
            byUnit.add(
               unit, { group.profile().name, id, entry.name, std::string( entryState( entry ) ),
                        entry.hits - std::min( entry.hits, entry.hitsAtMark ) } );
      } );
   Table table( { { "Hits", Align::right }, { "Units" }, { "State" }, { "Entry" } } );
   for( const bool hit : { true, false } ) {
      bool isFirst = true;
      for( const auto& [ row, units ] : byUnit.rows() ) {
         if( ( row.hits > 0 ) != hit )
            continue;
         if( isFirst )
            table.section( hit ? "Hit" : "Not hit" );
         isFirst = false;
         table.row( { std::to_string( row.hits ), numberRanges( units ), row.state,
                       row.group + ' ' + std::to_string( row.id ) + " \"" + row.name + '"' },
            { { "group", row.group }, { "id", row.id }, { "name", row.name },
               { "state", row.state }, { "hits", row.hits }, { "units", units } } );
      }
   }
   return table;
}

std::optional<U32> entryOffset( std::string_view name )
{
   for( const OffsetName& known : offsetNames )
      if( known.name == name )
         return static_cast<U32>( known.id );
   return std::nullopt;
}

std::vector<std::string_view> entryOffsetNames()
{
   std::vector<std::string_view> names;
   for( const OffsetName& known : offsetNames )
      names.push_back( known.name );
   return names;
}

} // namespace Strata::Tool
