// Each packet's way through the stages of the chip, as a picture that is an ordered list.
#include "report/Page.h"

#include <string>

namespace Strata::Report {

namespace {

void writeEntryLink( const Page& page, const Packet& packet, const EntryPlace& place )
{
   if( const auto snapshot = page.links.snapshotWith( packet.chips, place, packet.event ) ) {
      page.html.text( " " );
      page.html.anchor( page.links.entry( *snapshot, place ) );
   }
}

void writeStep( const Page& page, const Packet& packet, const Step& step )
{
   Html& html = page.html;
   html.line();
   const Html::Element item( html, "li", { { "class", Vormel::enumName( step.kind ) } } );
   html.leaf( "b", step.stage );
   const Html::Element rest( html, "div" );
   html.text( step.text );
   if( step.entry )
      writeEntryLink( page, packet, *step.entry );
   if( !step.detail.empty() ) {
      const Html::Element detail( html, "p" );
      writeLines( html, step.detail );
   }
   for( const auto& [ how, cause ] : step.acts ) {
      const Html::Element act( html, "p", { { "class", "by" } } );
      html.text( how + " by " );
      writeCause( page, packet.chips, cause );
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
      html.text( without.outcome );
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
      html.leaf( "span", packet.outcome, { { "class", "outcome" } } );
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
