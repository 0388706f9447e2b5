// Each packet's way through the stages of the chip, as a picture that is an ordered list.
#include "report/Page.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Report {

namespace {

void writeRowLink( const Page& page, const Packet& packet, U32 unit, const std::string& target )
{
   std::size_t shownAt = 0;
   const auto row = page.links.rowAfter( packet.chips, unit, target, packet.event, &shownAt );
   if( !row )
      return;
   page.html.text( " " );
   page.html.anchor( *row );
   const std::vector<Links::Write> writes =
      page.links.writesTo( packet.chips, unit, target, shownAt );
   const auto later = std::find_if( writes.rbegin(), writes.rend(),
      [ & ]( const Links::Write& write ) { return write.changed && write.event > packet.event; } );
   if( later == writes.rend() )
      return;
   page.html.text( " (changed since by " );
   page.html.anchor( Links::event( later->event ) );
   page.html.text( ")" );
}

/// What was read, for each event that wrote it last.
void writeReads( const Page& page, const Packet& packet, const Step& step )
{
   Html& html = page.html;
   struct Group
   {
      std::vector<const Step::Read*> reads{};
      Origins origins{};
   };
   std::map<std::pair<std::size_t, std::string>, Group> groups;
   for( const Step::Read& read : step.reads ) {
      Origins origins;
      addOrigin( origins,
         page.links.writesTo(
            packet.chips, read.unit, read.target, packet.event, read.cause.record ),
         read.cause );
      const std::size_t event =
         origins.records.empty() ? packet.event : origins.records.begin()->first;
      Group& group = groups[ { event, origins.records.empty() ? read.cause.text : "" } ];
      group.reads.push_back( &read );
      for( const auto& [ at, records ] : origins.records )
         group.origins.records[ at ].insert(
            group.origins.records[ at ].end(), records.begin(), records.end() );
      for( const auto& [ at, writes ] : origins.redundant )
         group.origins.redundant[ at ] += writes;
   }
   for( const auto& [ key, group ] : groups ) {
      html.line();
      const Html::Element item( html, "li", { { "class", "state" } } );
      html.leaf( "b", "state" );
      const Html::Element rest( html, "div" );
      for( const Step::Read* const read : group.reads ) {
         html.text( ( read == group.reads.front() ? "" : ", " ) + read->text );
         writeRowLink( page, packet, read->unit, read->target );
      }
      const Html::Element act( html, "p", { { "class", "by" } } );
      html.text( "written by " );
      writeOrigins( page, packet.chips, group.origins, group.reads.front()->cause );
      writeRedundantSince( page, group.origins );
   }
}

void writeStep( const Page& page, const Packet& packet, const Step& step )
{
   Html& html = page.html;
   if( !step.reads.empty() ) {
      writeReads( page, packet, step );
      return;
   }
   html.line();
   const Html::Element item( html, "li", { { "class", Vormel::enumName( step.kind ) } } );
   html.leaf( "b", step.stage );
   const Html::Element rest( html, "div" );
   const bool isForecast = step.stage == "learning" && !packet.sent;
   html.text( ( isForecast ? "not learned, since it was only explained: " : "" ) + step.text );
   if( step.entry )
      writeEntryLink( page, packet, *step.entry );
   if( !step.detail.empty() ) {
      const Html::Element detail( html, "p" );
      writeLines( html, step.detail );
   }
   for( const Step::Act& act : step.acts ) {
      const Html::Element paragraph( html, "p", { { "class", "by" } } );
      writeAct( page, packet, step, act );
   }
}

void writeWithout( const Page& page, const Packet& packet )
{
   Html& html = page.html;
   for( const Without& without : packet.withouts ) {
      const Html::Element paragraph( html, "p", { { "class", "without" } } );
      html.leaf( "b", "Without \"" + without.name + "\"" );
      writeEntryLink( page, packet, without.entry );
      html.text( without.outcome == packet.outcome ? ": the same, " : ": " );
      html.text( fateText( without.outcome ) );
   }
}

void writePacket( const Page& page, std::size_t position )
{
   Html& html = page.html;
   const Packet& packet = page.chronicle.packets[ position ];
   const std::string id = Links::packet( position );
   html.line();
   const Html::Element article( html, "article", { { "id", id } } );
   html.anchor( id );
   const Html::Element fold( html, "details" );
   {
      const Html::Element summary( html, "summary" );
      html.leaf( "h3", packet.frame );
      html.leaf( "span", fateText( packet.outcome ), { { "class", "outcome" } } );
   }
   {
      const Html::Element paragraph( html, "p", { { "class", "by" } } );
      html.text( packet.sent ? "Sent by " : "Explained, not sent, by " );
      html.anchor( Links::event( packet.event ) );
      html.text( " " );
      html.leaf( "code", page.chronicle.events[ packet.event ].text );
   }
   if( !packet.frames.empty() )
      html.leaf( "p",
         "The picture is of frame " + std::to_string( packet.frames.front().first ) +
            " of the capture. The same entries won " + framesText( packet.frames ) +
            ", which ended alike.",
         { { "class", "by" } } );
   for( std::size_t i = 0; i < packet.passes.size(); ++i ) {
      const Pass& pass = packet.passes[ i ];
      if( packet.passes.size() > 1 )
         html.leaf( "h4", "Pass " + std::to_string( i + 1 ) + ", in by " + pass.in );
      const Html::Element way( html, "ol", { { "class", "way" } } );
      for( const Step& step : pass.steps )
         writeStep( page, packet, step );
   }
   writeWithout( page, packet );
}

} // namespace

void writeEntryLink( const Page& page, const Packet& packet, const EntryPlace& place )
{
   writeRowLink( page, packet, place.unit, Links::target( place.id ) );
}

void writeAct( const Page& page, const Packet& packet, const Step& step, const Step::Act& act )
{
   const auto& [ how, cause ] = act;
   page.html.text( how + " by " );
   Origins origins;
   if( step.entry ) {
      auto writes = page.links.writesTo( packet.chips, step.entry->unit,
         Links::target( step.entry->id ), packet.event, cause.record );
      // Its rule and its state are written by different calls.
      std::erase_if( writes, [ ofRule = how == "installed" ]( const Links::Write& write ) {
         return ( write.call == "enableEntry" ) == ofRule;
      } );
      addOrigin( origins, writes, cause );
   }
   writeOrigins( page, packet.chips, origins, cause );
   writeRedundantSince( page, origins );
}

void writePackets( const Page& page )
{
   if( page.chronicle.packets.empty() )
      return;
   Html& html = page.html;
   const Html::Element section( html, "section", { { "aria-labelledby", "packets" } } );
   html.leaf( "h2", "Packets", { { "id", "packets" } } );
   html.leaf( "p",
      "Each packet's way through the stages of the chip, from the top: what each stage found, the entry that won in "
      "each range, the entries that nearly did, and who wrote them. Of a capture, the first 100 frames that fared otherwise than those "
      "before them are shown." );
   for( std::size_t i = 0; i < page.chronicle.packets.size(); ++i )
      writePacket( page, i );
}

} // namespace Strata::Report
