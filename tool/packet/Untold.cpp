#include "tool/packet/Untold.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Strata::Tool {

namespace {

struct TableRow
{
   std::string_view name;
   bool ( *isEmpty )( const Sim::ForwardingTables& tables );
   std::array<std::string_view, 4> stages; // of an explanation, that look it up
};

constexpr auto tableRows = std::to_array<TableRow>( {
   { "routes", []( const Sim::ForwardingTables& t ) { return t.routes.all().empty(); },
      { "route", "source", "uRPF", "exception" } },
   { "MAC addresses", []( const Sim::ForwardingTables& t ) { return t.stations.empty(); },
      { "MAC" } },
   { "properties of VLANs", []( const Sim::ForwardingTables& t ) { return t.vlans.empty(); },
      { "VLAN", "route" } },
   { "tunnels", []( const Sim::ForwardingTables& t ) { return t.tunnels.empty(); }, { "tunnel" } },
   { "labels", []( const Sim::ForwardingTables& t ) { return t.labels.empty(); }, { "label" } },
} );

bool looksUp( const Sim::Explanation& explanation, const TableRow& row )
{
   const auto isOne = [ & ]( const Sim::StageNote& note ) {
      return std::ranges::find( row.stages, note.stage ) != row.stages.end();
   };
   return std::ranges::any_of( explanation.passes, [ & ]( const Sim::PassExplanation& pass ) {
      return std::ranges::any_of( pass.stages, isOne ) || std::ranges::any_of( pass.after, isOne );
   } );
}

} // namespace

std::string untoldTables( const Sim::Explanation& explanation, const Sim::ForwardingTables& tables )
{
   std::string names;
   for( const TableRow& row : tableRows )
      if( row.isEmpty( tables ) && looksUp( explanation, row ) )
         names += ( names.empty() ? "" : ", " ) + std::string( row.name );
   return names;
}

} // namespace Strata::Tool
