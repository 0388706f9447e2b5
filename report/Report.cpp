#include "report/Report.h"

#include "report/Html.h"
#include "report/Links.h"
#include "report/Page.h"

#include <ostream>
#include <string>

namespace Strata::Report {

namespace {

void writeHead( Html& html, const Chronicle& chronicle )
{
   const Html::Element head( html, "head" );
   html.single( "meta", { { "charset", "utf-8" } } );
   html.single(
      "meta", { { "name", "viewport" }, { "content", "width=device-width, initial-scale=1" } } );
   // The file fetches nothing and runs nothing.
   html.single( "meta", { { "http-equiv", "Content-Security-Policy" },
                           { "content", "default-src 'none'; style-src 'unsafe-inline'" } } );
   html.leaf( "title", chronicle.title );
   const Html::Element element( html, "style" );
   html.verbatim( style );
}

void writeSubject( Html& html, const Chronicle& chronicle )
{
   std::string text = chronicle.recorded           ? "A recorded agent, on the twin of its switch: "
                      : chronicle.chips.size() < 2 ? "A run on a simulated switch: "
                                                   : "A run on simulated switches: ";
   for( const std::string& chips : chronicle.chips )
      text += ( &chips == &chronicle.chips.front() ? "" : "; then " ) + chips;
   html.leaf( "p", text, { { "class", "by" } } );
}

void writeContents( Html& html, const Chronicle& chronicle )
{
   const Html::Element nav( html, "nav", { { "aria-label", "Contents" } } );
   const auto add = [ & ]( const char* id, const char* title ) { html.link( id, title ); };
   add( "findings", "Findings" );
   add( "timeline", "Timeline" );
   if( !chronicle.packets.empty() )
      add( "packets", "Packets" );
   if( !chronicle.snapshots.empty() )
      add( "tables", "Tables" );
}

} // namespace

void writeReport( std::ostream& out, const Chronicle& chronicle )
{
   Html html( out );
   const Links links( chronicle );
   const Page page{ html, chronicle, links };
   html.verbatim( "<!DOCTYPE html>\n" );
   const Html::Element root( html, "html", { { "lang", "en" } } );
   writeHead( html, chronicle );
   const Html::Element body( html, "body" );
   {
      const Html::Element header( html, "header" );
      html.leaf( "h1", chronicle.title );
      writeSubject( html, chronicle );
      writeContents( html, chronicle );
   }
   const Html::Element main( html, "main" );
   writeOverview( page );
   writeFindings( page );
   writeTimeline( page );
   writePackets( page );
   writeSnapshots( page );
}

} // namespace Strata::Report
