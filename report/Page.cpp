#include "report/Page.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Strata::Report {

Figures figuresOf( const Chronicle& chronicle )
{
   Figures figures;
   figures.events = chronicle.events.size();
   for( const Event& event : chronicle.events ) {
      if( event.judgement )
         ++( event.judgement->held ? figures.held : figures.failed );
      for( const LogLine& line : event.lines ) {
         if( line.kind != LineKind::record )
            continue;
         figures.calls += line.word == "call" || line.word == "entry" ? 1 : 0;
         figures.notifications += line.word == "notify" ? 1 : 0;
         figures.writes += line.write.empty() ? 0 : 1;
         figures.redundant += line.write == "redundant" ? 1 : 0;
      }
   }
   return figures;
}

WideTable::WideTable(
   Html& html, std::string_view caption, const std::vector<std::string>& columns )
   : frame_( html, "div",
        { { "class", "wide" }, { "role", "region" }, { "aria-label", caption },
           { "tabindex", "0" } } ),
     table_( html, "table" )
{
   html.leaf( "caption", caption );
   const Html::Element head( html, "thead" );
   const Html::Element row( html, "tr" );
   for( const std::string& column : columns )
      html.leaf( "th", column, { { "scope", "col" } } );
}

void writeCause( const Page& page, std::size_t chips, const Sim::Cause& cause )
{
   Html& html = page.html;
   if( cause.text.empty() )
      return;
   const auto event = page.links.eventOf( chips, cause.record );
   if( event ) {
      html.anchor( Links::event( *event ) );
      html.text( " " );
   }
   html.leaf( "code", cause.text );
   if( event ) {
      html.text( " " );
      html.anchor( Links::record( chips, cause.record ) );
   }
   if( !cause.event.empty() )
      html.leaf( "q", ", after " + cause.event );
}

void addOrigin( Origins& origins, const std::vector<Links::Write>& writes, const Sim::Cause& cause )
{
   if( !cause.text.empty() &&
       std::ranges::find( writes, cause.record, &Links::Write::record ) == writes.end() )
      return;
   const auto last = std::find_if(
      writes.rbegin(), writes.rend(), []( const Links::Write& write ) { return write.changed; } );
   for( auto at = last.base(); at != writes.end(); ++at )
      ++origins.redundant[ at->event ];
   if( last != writes.rend() )
      origins.records[ last->event ].push_back( last->record );
   for( const Links::Write& write : writes )
      if( write.changed )
         origins.changers.insert( write.event );
}

static void writeRecords( const Page& page, std::size_t chips, const std::vector<U64>& records )
{
   constexpr std::size_t mostUnfolded = 3;
   const auto all = [ & ] {
      for( const U64 record : records ) {
         page.html.text( " " );
         page.html.anchor( Links::record( chips, record ) );
      }
   };
   if( records.size() <= mostUnfolded )
      return all();
   const Html::Element fold( page.html, "details" );
   page.html.leaf( "summary", counted( records.size(), "record" ) );
   all();
}

void writeOrigins(
   const Page& page, std::size_t chips, const Origins& origins, const Sim::Cause& cause )
{
   Html& html = page.html;
   if( origins.records.empty() ) {
      if( origins.redundant.empty() )
         writeCause( page, chips, cause );
      else
         html.text( "as it was" );
      return;
   }
   for( const auto& [ event, records ] : origins.records ) {
      if( event != origins.records.begin()->first )
         html.text( "; " );
      html.anchor( Links::event( event ) );
      html.text( " " );
      html.leaf( "code", page.chronicle.events[ event ].text );
      writeRecords( page, chips, records );
      if( !cause.event.empty() && std::ranges::find( records, cause.record ) != records.end() )
         html.leaf( "q", ", after " + cause.event );
   }
}

void writeRedundantSince( const Page& page, const Origins& origins )
{
   const char* between = "; changed nothing since: ";
   for( const auto& [ event, writes ] : origins.redundant ) {
      page.html.text( std::exchange( between, ", " ) );
      page.html.anchor( Links::event( event ) );
      if( writes > 1 )
         page.html.text( " (" + counted( writes, "write" ) + ")" );
   }
}

void writeEvents( const Page& page, const std::vector<std::size_t>& events )
{
   bool isFirst = true;
   for( const std::size_t event : events ) {
      if( !isFirst )
         page.html.text( " " );
      page.html.anchor( Links::event( event ) );
      isFirst = false;
   }
}

// Ports come first in an outcome, then copies for the CPU.
static constexpr std::string_view onNoPort = "leaves on no port: ";

std::string fateText( const std::string& outcome )
{
   if( !outcome.starts_with( "CPU queue" ) )
      return outcome;
   const std::size_t at = outcome.find( "; " + std::string( onNoPort ) );
   const std::string cpu = "to the CPU alone," + outcome.substr( 3, at - 3 );
   return at == outcome.npos ? cpu
                             : cpu + "; to no port: " + outcome.substr( at + 2 + onNoPort.size() );
}

bool isLost( const Packet& packet )
{
   return packet.outcome.starts_with( onNoPort );
}

std::string framesText( const std::vector<std::pair<U32, U32>>& frames )
{
   constexpr std::size_t mostRanges = 12;
   const bool isOne = frames.size() == 1 && frames.front().first == frames.front().second;
   std::string text = isOne ? "frame " : "frames ";
   for( std::size_t i = 0; i < frames.size(); ++i ) {
      if( i == mostRanges )
         return text + ",...," + std::to_string( frames.back().second );
      const auto& [ first, last ] = frames[ i ];
      text += ( i == 0 ? "" : "," ) + std::to_string( first );
      if( last != first )
         text += "-" + std::to_string( last );
   }
   return text;
}

void writeShownRow( const Page& page, const Shown& shown, const Shown::Row& row )
{
   Html& html = page.html;
   const Html::Element element( html, "tr" );
   if( row.heading ) {
      html.leaf( "th", row.cells.front(),
         { { "colspan", std::to_string( shown.columns.size() ) }, { "scope", "rowgroup" } } );
      return;
   }
   for( const std::string& cell : row.cells ) {
      const Html::Element data( html, "td" );
      writeLines( html, cell );
   }
}

void writeLines( Html& html, std::string_view text )
{
   for( ;; ) {
      const std::size_t end = text.find( '\n' );
      html.text( text.substr( 0, end ) );
      if( end == text.npos )
         return;
      html.single( "br" );
      text.remove_prefix( end + 1 );
   }
}

} // namespace Strata::Report
