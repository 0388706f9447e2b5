// The tables of the chips at each mark and at the end, with what has changed since the moment before.
#include "desk/Texts.h"
#include "report/Page.h"
#include "report/StateRows.h"

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Report {

namespace {

std::string titleOf( Section section )
{
   switch( section ) {
   case Section::entries:
      return "Entries";
   case Section::controls:
      return "Controls";
   case Section::registers:
      return "Registers";
   case Section::myStation:
      return "My-station entries";
   case Section::vlans:
      return "VLANs";
   case Section::room:
      return "Room for entries";
   }
   return {};
}

std::string labelOf( const StateRow& row )
{
   switch( row.section ) {
   case Section::entries:
      return row.range + " " + std::to_string( row.number ) + " " + row.name;
   case Section::myStation:
      return std::to_string( row.number );
   case Section::vlans:
      return row.name.empty() ? std::to_string( row.number ) : row.name;
   case Section::room:
      return row.range;
   case Section::controls:
      return row.ports.empty() ? row.name
                               : row.name + " of port " + Desk::numberRanges( row.ports );
   case Section::registers:
      return row.name;
   }
   return {};
}

/// A snapshot on its way to the page.
struct View
{
   std::size_t position;
   const Snapshot& snapshot;
   std::vector<StateRow> rows;
   bool showsUnits;
   bool showsHits;     // some entry of the run was hit
   std::size_t before; // event of the snapshot before
};

/// "3", of all units, or "never"
std::string hitsText( const View& view, const StateRow& row )
{
   U64 hits = 0;
   for( const U32 unit : row.units )
      if( const auto at = view.snapshot.hits.find( { unit, row.number } );
          at != view.snapshot.hits.end() )
         hits += at->second;
   return hits == 0 ? "never" : std::to_string( hits );
}

void writeChange( const Page& page, const StateRow& row )
{
   Html& html = page.html;
   switch( row.change ) {
   case RowChange::none:
      return;
   case RowChange::made:
      html.leaf( "b", "new", { { "class", "good" } } );
      return;
   case RowChange::changed:
      html.leaf( "b", "changed", { { "class", "warn" } } );
      html.text( ", was " + row.was );
      return;
   case RowChange::gone:
      html.leaf( "b", "gone", { { "class", "bad" } } );
      return;
   }
}

/// The row has the id of the first unit and port; those of the others are in its head.
void writeLabel( const Page& page, const View& view, const StateRow& row )
{
   Html& html = page.html;
   if( row.change == RowChange::gone ) {
      html.leaf( "th", labelOf( row ), { { "scope", "row" } } );
      return;
   }
   const Html::Element head( html, "th", { { "scope", "row" } } );
   const std::vector<std::string> targets = targetsOf( row );
   for( const U32 unit : row.units )
      for( const std::string& target : targets )
         if( unit != row.units.front() || target != targets.front() )
            html.leaf( "span", "", { { "id", page.links.row( view.position, unit, target ) } } );
   const bool isEntry = row.section == Section::entries;
   html.link( page.links.row( view.position, row.units.front(), targets.front() ),
      isEntry ? "#" + std::to_string( row.number ) : labelOf( row ) );
   if( isEntry )
      html.text( " " + row.name );
   if( isEntry && row.state != "installed" ) {
      html.text( " " );
      html.leaf( "em", row.state );
   }
}

/// The events that changed it, of which the last one has removed what has gone; then what changed nothing.
void writeWriters( const Page& page, const View& view, const StateRow& row )
{
   const bool isGone = row.change == RowChange::gone;
   Origins origins;
   // The cause is that of the first place.
   Sim::Cause cause = row.cause;
   for( const U32 unit : row.units )
      for( const std::string& target : targetsOf( row ) )
         addOrigin( origins,
            page.links.writesTo( view.snapshot.chips, unit, target, view.snapshot.event ),
            std::exchange( cause, {} ) );
   // What was there before, and was removed otherwise than by a call.
   if( isGone && !origins.records.empty() && origins.records.rbegin()->first <= view.before )
      return;
   if( isGone && !origins.records.empty() )
      page.html.text( "removed by " );
   writeOrigins( page, view.snapshot.chips, origins, row.cause );
   if( origins.changers.size() > 1 ) {
      page.html.text( "; all that changed it: " );
      writeEvents( page, { origins.changers.begin(), origins.changers.end() } );
   }
   writeRedundantSince( page, origins );
}

void writeRow( const Page& page, const View& view, const StateRow& row )
{
   Html& html = page.html;
   writeLabel( page, view, row );
   if( view.showsUnits )
      html.leaf( "td", Desk::numberRanges( row.units ) );
   {
      const Html::Element value( html, "td" );
      bool isFirst = true;
      for( const std::string& line : row.change == RowChange::gone
                                        ? std::vector<std::string>{ "was " + row.was }
                                        : row.values ) {
         if( !isFirst )
            html.single( "br" );
         html.text( line );
         isFirst = false;
      }
   }
   if( view.showsHits && row.section == Section::entries )
      html.leaf( "td", row.change == RowChange::gone ? "" : hitsText( view, row ) );
   {
      const Html::Element by( html, "td" );
      writeWriters( page, view, row );
   }
   const Html::Element change( html, "td" );
   writeChange( page, row );
}

void writeSectionTable(
   const Page& page, const View& view, Section section, const std::vector<const StateRow*>& rows )
{
   Html& html = page.html;
   const std::string caption = titleOf( section ) + " at " + page.links.snapshot( view.position );
   std::vector<std::string> columns{ "What", "Units", "Contents", "Hits", "Written by", "Change" };
   if( !view.showsUnits )
      std::erase( columns, "Units" );
   if( !view.showsHits || section != Section::entries )
      std::erase( columns, "Hits" );
   const WideTable table( html, caption, columns );
   const Html::Element body( html, "tbody" );
   std::string range;
   for( const StateRow* const row : rows ) {
      html.line();
      if( section == Section::entries && row->range != range ) {
         range = row->range;
         const Html::Element line( html, "tr" );
         html.leaf( "th", range,
            { { "colspan", std::to_string( columns.size() ) }, { "scope", "rowgroup" } } );
      }
      if( row->change != RowChange::gone ) {
         const Html::Element line( html, "tr",
            { { "id",
               page.links.row( view.position, row->units.front(), targetsOf( *row ).front() ) } } );
         writeRow( page, view, *row );
      } else {
         const Html::Element line( html, "tr" );
         writeRow( page, view, *row );
      }
   }
}

void writeSection( const Page& page, const View& view, Section section )
{
   Html& html = page.html;
   std::vector<const StateRow*> rows;
   std::size_t changes = 0;
   for( const StateRow& row : view.rows )
      if( row.section == section ) {
         rows.push_back( &row );
         changes += row.change == RowChange::none ? 0 : 1;
      }
   if( rows.empty() )
      return;
   const std::string title = titleOf( section );
   html.line();
   const Html::Element fold( html, "details" );
   {
      const Html::Element summary( html, "summary" );
      html.leaf( "b", title );
      html.text( " " );
      html.leaf(
         "span", counted( rows.size(), "row" ) +
                    ( changes == 0 ? ", unchanged" : ", " + counted( changes, "change" ) ) );
   }
   writeSectionTable( page, view, section, rows );
}

/// The rows of now and those that have gone, with one more column that says so.
Shown withChanges( const Shown& now, const Shown& before )
{
   Shown all{ now.columns, {} };
   all.columns.emplace_back( "Change" );
   const auto add = [ & ]( const Shown& from, const Shown& other, const char* change ) {
      for( Shown::Row row : from.rows ) {
         const bool isInBoth = std::ranges::find( other.rows, row ) != other.rows.end();
         if( &from == &before && ( isInBoth || row.heading ) )
            continue;
         if( !row.heading )
            row.cells.emplace_back( isInBoth ? "" : change );
         all.rows.push_back( std::move( row ) );
      }
   };
   add( now, before, "new" );
   add( before, now, "gone" );
   return all;
}

/// What other parts of the agent held; a table that has not changed refers to the one before.
void writeTables( const Page& page, const View& view, const Snapshot& before )
{
   Html& html = page.html;
   std::map<std::string, Shown> tables = view.snapshot.tables;
   for( const auto& [ title, shown ] : before.tables )
      tables.try_emplace( title, Shown{ shown.columns, {} } );
   for( const auto& [ title, now ] : tables ) {
      html.line();
      const auto former = before.tables.find( title );
      const bool hasFormer = former != before.tables.end();
      if( hasFormer && former->second == now ) {
         const Html::Element paragraph( html, "p" );
         html.leaf( "b", title );
         html.text( " as at " );
         html.anchor( page.links.snapshot( view.position - 1 ) );
         continue;
      }
      const Shown shown = hasFormer ? withChanges( now, former->second ) : now;
      const Html::Element fold( html, "details" );
      {
         const Html::Element summary( html, "summary" );
         html.leaf( "b", title );
         html.text( " " );
         html.leaf( "span", counted( now.rows.size(), "row" ) + ( hasFormer ? ", changed" : "" ) );
      }
      const WideTable table(
         html, title + " at " + page.links.snapshot( view.position ), shown.columns );
      const Html::Element body( html, "tbody" );
      for( const Shown::Row& row : shown.rows )
         writeShownRow( page, shown, row );
   }
}

/// "Mark #m1, behind #e5 mark"
void writeTitle( const Page& page, const View& view )
{
   Html& html = page.html;
   const Snapshot& snapshot = view.snapshot;
   const bool several = page.chronicle.snapshots.back().chips > 1;
   const std::string of = several ? " of switch " + std::to_string( snapshot.chips ) : "";
   html.leaf( "h3", snapshot.moment == Moment::end
                       ? "At the end" + of
                       : "At the mark in line " +
                            std::to_string( page.chronicle.events[ snapshot.event ].line ) );
}

void writeSnapshot( const Page& page, std::size_t position )
{
   Html& html = page.html;
   const auto& all = page.chronicle.snapshots;
   const Snapshot& snapshot = all[ position ];
   // The first one of each switch is that of the new switch, which is not shown.
   const Snapshot& before = all[ position - 1 ];
   std::vector<U32> units;
   for( const auto& [ key, part ] : snapshot.state.parts() )
      if( key.kind == Desk::PartKind::chip )
         units.push_back( key.unit );
   const View view{ position, snapshot, stateRows( snapshot.state, before.state ), units.size() > 1,
      std::ranges::any_of( all, []( const Snapshot& each ) { return !each.hits.empty(); } ),
      before.event };
   const std::string id = page.links.snapshot( position );
   html.line();
   const Html::Element article( html, "article", { { "id", id } } );
   html.anchor( id );
   const Html::Element rest( html, "div" );
   writeTitle( page, view );
   const auto changes = static_cast<std::size_t>( std::ranges::count_if(
      view.rows, []( const StateRow& row ) { return row.change != RowChange::none; } ) );
   {
      const Html::Element paragraph( html, "p", { { "class", "by" } } );
      html.text( "Behind " );
      html.anchor( Links::event( snapshot.event ) );
      html.text( "; " + counted( changes, "row" ) + " changed since " );
      if( before.moment == Moment::made )
         html.text( "the switch was made" );
      else
         html.anchor( page.links.snapshot( position - 1 ) );
   }
   for( const Section section : Vormel::enumValues<Section>() )
      writeSection( page, view, section );
   writeTables( page, view, before );
}

} // namespace

void writeSnapshots( const Page& page )
{
   const auto& all = page.chronicle.snapshots;
   if( all.empty() )
      return;
   Html& html = page.html;
   const Html::Element section( html, "section", { { "aria-labelledby", "tables" } } );
   html.leaf( "h2", "Tables", { { "id", "tables" } } );
   html.leaf( "p",
      "What the chips held at each mark and at the end, and what had changed since the moment before. Equal rows of "
      "several units or ports are one. Hits are those of packets that were sent, not of those that were only explained. "
      "Behind the chips' tables are those of other parts of the agent." );
   for( std::size_t i = 0; i < all.size(); ++i )
      if( all[ i ].moment != Moment::made )
         writeSnapshot( page, i );
}

} // namespace Strata::Report
