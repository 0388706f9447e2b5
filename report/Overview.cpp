// What a reader wants first: the numbers of the run, what failed, which writes changed nothing, what is wrong with entries.
#include "report/Page.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Report {

namespace {

void writeFigure( Html& html, const char* name, std::size_t value, const std::string& more = {} )
{
   const Html::Element pair( html, "div" );
   html.leaf( "dt", name );
   const Html::Element data( html, "dd" );
   html.leaf( "b", std::to_string( value ), { { "data-figure", name } } );
   if( !more.empty() )
      html.text( " " + more );
}

void writeExpectations( const Page& page )
{
   Html& html = page.html;
   const Figures figures = figuresOf( page.chronicle );
   if( figures.held + figures.failed == 0 )
      return;
   html.leaf( "h3", "Expectations" );
   if( figures.failed == 0 ) {
      html.leaf( "p", counted( figures.held, "expectation" ) +
                         ( figures.held == 1 ? ", which held." : ", and each held." ) );
   } else {
      const Html::Element list( html, "ul" );
      for( std::size_t i = 0; i < page.chronicle.events.size(); ++i ) {
         const Event& event = page.chronicle.events[ i ];
         if( !event.judgement || event.judgement->held )
            continue;
         const Html::Element item( html, "li" );
         html.anchor( Links::event( i ) );
         html.text( " " );
         html.leaf( "b", "failed", { { "class", "bad" } } );
         html.text( " " );
         html.leaf( "code", event.text );
         html.text(
            ": expected " + event.judgement->expected + ", found " + event.judgement->found );
      }
   }
}

/// The redundant writes of one operation to one place.
struct RedundantWrites
{
   std::size_t times = 0;
   std::set<std::size_t> events;
   const LogLine* last = nullptr;
   std::size_t chips = 0; // of the last one
};

void writeRedundant( const Page& page )
{
   Html& html = page.html;
   std::map<std::pair<std::string, std::string>, RedundantWrites> all; // by target and call
   std::size_t writes = 0;
   std::size_t redundant = 0;
   for( std::size_t i = 0; i < page.chronicle.events.size(); ++i )
      for( const LogLine& line : page.chronicle.events[ i ].lines ) {
         writes += line.write.empty() ? 0 : 1;
         if( line.write != "redundant" )
            continue;
         ++redundant;
         RedundantWrites& found = all[ { line.target, line.call } ];
         ++found.times;
         found.events.insert( i );
         found.last = &line;
         found.chips = page.chronicle.events[ i ].chips;
      }
   html.leaf( "h3", "Redundant writes" );
   if( all.empty() ) {
      html.leaf( "p", writes == 0
                         ? "No chip was written."
                         : "None: each of the " + counted( writes, "write" ) + " changed a chip." );
      return;
   }
   html.leaf( "p", std::to_string( redundant ) + " of " + counted( writes, "write" ) +
                      " left the chip as it was." );
   const Html::Element fold( html, "details" );
   html.leaf( "summary", counted( all.size(), "place" ) + " that got them" );
   const WideTable table( html, "Redundant writes", { "What", "Last one", "Times", "Events" } );
   const Html::Element body( html, "tbody" );
   for( const auto& [ key, found ] : all ) {
      html.line();
      const Html::Element row( html, "tr" );
      html.leaf( "th", key.first, { { "scope", "row" } } );
      {
         const Html::Element last( html, "td" );
         html.leaf( "code", found.last->text );
         html.text( " " );
         html.anchor( Links::record( found.chips, found.last->record ) );
      }
      html.leaf( "td", std::to_string( found.times ), { { "class", "number" } } );
      const Html::Element events( html, "td" );
      writeEvents( page, { found.events.begin(), found.events.end() } );
   }
}

/// A call, with a link to its record.
void writeMoment(
   const Page& page, std::size_t chips, const char* name, const std::string& call, U64 record )
{
   Html& html = page.html;
   html.leaf( "dt", name );
   const Html::Element data( html, "dd" );
   html.leaf( "code", call );
   if( page.links.eventOf( chips, record ) ) {
      html.text( " " );
      html.anchor( Links::record( chips, record ) );
   }
}

void writeTransient( const Page& page, std::size_t position )
{
   Html& html = page.html;
   const Transient& transient = page.chronicle.transients[ position ];
   const Event& event = page.chronicle.events[ transient.event ];
   const std::string id = Links::transient( position );
   html.line();
   const Html::Element article( html, "article", { { "id", id } } );
   html.anchor( id );
   const Html::Element fold( html, "details" );
   {
      const Html::Element summary( html, "summary" );
      html.leaf( "b", transient.reason ? "accepted" : "transient",
         { { "class", transient.reason ? "by" : "bad" } } );
      html.text( " " + transient.title() + " while " );
      html.leaf( "code", event.text );
      html.leaf( "span", transient.meanwhile, { { "class", "outcome" } } );
   }
   const Html::Element list( html, "dl" );
   html.leaf( "dt", "while" );
   {
      const Html::Element data( html, "dd" );
      html.anchor( Links::event( transient.event ) );
   }
   html.leaf( "dt", "packet" );
   {
      const Html::Element data( html, "dd" );
      for( const std::string& command : transient.commands ) {
         if( &command != &transient.commands.front() )
            html.single( "br" );
         html.leaf( "code", command );
      }
   }
   html.leaf( "dt", "before" );
   html.leaf( "dd", transient.before );
   writeMoment( page, event.chips, "from", transient.call, transient.from );
   html.leaf( "dt", "meanwhile" );
   html.leaf( "dd", transient.meanwhile );
   writeMoment( page, event.chips, "until", transient.endedBy, transient.to );
   html.leaf( "dt", "after" );
   html.leaf( "dd", transient.after );
   if( transient.reason ) {
      html.leaf( "dt", "accepted" );
      html.leaf( "dd", *transient.reason );
   }
}

void writeTransients( const Page& page )
{
   const Chronicle& chronicle = page.chronicle;
   if( chronicle.watched == 0 )
      return;
   Html& html = page.html;
   html.leaf( "h3", "While commands ran" );
   const std::string watched = "Packets were watched during " +
                               counted( chronicle.watched, "command" ) +
                               ", behind each call that changed a chip";
   if( chronicle.transients.empty() ) {
      html.leaf( "p", watched + ": each fared as before or as after." );
      return;
   }
   const auto accepted = static_cast<std::size_t>( std::ranges::count_if(
      chronicle.transients, []( const Transient& transient ) { return !!transient.reason; } ) );
   html.leaf( "p", watched +
                      ". Transients, in which one fared neither as before the command nor as "
                      "after it: " +
                      std::to_string( chronicle.transients.size() ) + ", of which " +
                      std::to_string( accepted ) +
                      " are accepted by the file beside the scenario." );
   for( std::size_t i = 0; i < chronicle.transients.size(); ++i )
      writeTransient( page, i );
}

void writeEntryFindings( const Page& page, const Findings& findings )
{
   Html& html = page.html;
   if( findings.all.empty() ) {
      html.leaf( "p", "Nothing: each entry can win a packet, and has an effect." );
      return;
   }
   const Html::Element list( html, "ul" );
   for( const Findings::Finding& finding : findings.all ) {
      const Html::Element item( html, "li" );
      if( const auto row = page.links.rowAfter( findings.chips, finding.entry.unit,
             Links::target( finding.entry.id ), page.chronicle.events.size() ) ) {
         html.anchor( *row );
         html.text( " " );
      }
      html.leaf( "b", finding.name );
      html.text( ": " + finding.text );
   }
}

void writeEntryFindings( const Page& page )
{
   const Chronicle& chronicle = page.chronicle;
   if( chronicle.findings.empty() )
      return;
   page.html.leaf( "h3", "Entries at the end" );
   page.html.leaf( "p",
      "What 'lint' finds about the entries that are installed at the end: those that never win a "
      "packet, change nothing, or contradict themselves." );
   for( const Findings& findings : chronicle.findings ) {
      if( chronicle.chips.size() > 1 )
         page.html.leaf( "h4", "Switch " + std::to_string( findings.chips ) + ": " +
                                  chronicle.chips[ findings.chips - 1 ] );
      writeEntryFindings( page, findings );
   }
}

} // namespace

void writeOverview( const Page& page )
{
   Html& html = page.html;
   const Figures figures = figuresOf( page.chronicle );
   for( const std::string& note : page.chronicle.notes )
      html.leaf( "p", note, { { "class", "note" } } );
   if( !page.chronicle.end.empty() )
      html.leaf( "p", page.chronicle.end, { { "class", "bad" } } );
   const Html::Element list( html, "dl", { { "class", "figures" } } );
   writeFigure( html, page.chronicle.recorded ? "inputs" : "commands", figures.events );
   writeFigure( html, "calls", figures.calls );
   writeFigure( html, "writes", figures.writes );
   writeFigure( html, "redundant", figures.redundant );
   writeFigure( html, "notifications", figures.notifications );
   if( !page.chronicle.packets.empty() )
      writeFigure( html, "packets", page.chronicle.packets.size() );
   if( figures.held + figures.failed > 0 ) {
      writeFigure( html, "held", figures.held );
      writeFigure( html, "failed", figures.failed );
   }
}

void writeFindings( const Page& page )
{
   Html& html = page.html;
   const Html::Element section( html, "section", { { "aria-labelledby", "findings" } } );
   html.leaf( "h2", "Findings", { { "id", "findings" } } );
   writeExpectations( page );
   writeTransients( page );
   writeRedundant( page );
   writeEntryFindings( page );
}

} // namespace Strata::Report
