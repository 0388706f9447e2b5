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
      html.leaf( "span", fateText( transient.meanwhile ), { { "class", "outcome" } } );
   }
   const Html::Element list( html, "dl" );
   html.leaf( "dt", "while" );
   {
      const Html::Element data( html, "dd" );
      html.anchor( Links::event( transient.event ) );
   }
   html.leaf( "dt", transient.commands.size() > 1 ? "packet, with rows made for it" : "packet" );
   {
      const Html::Element data( html, "dd" );
      for( const std::string& command : transient.commands ) {
         if( &command != &transient.commands.front() )
            html.single( "br" );
         html.leaf( "code", command );
      }
   }
   html.leaf( "dt", "before" );
   html.leaf( "dd", fateText( transient.before ) );
   writeMoment( page, event.chips, "from", transient.call, transient.from );
   html.leaf( "dt", "meanwhile" );
   html.leaf( "dd", fateText( transient.meanwhile ) );
   writeMoment( page, event.chips, "until", transient.endedBy, transient.to );
   html.leaf( "dt", "after" );
   html.leaf( "dd", fateText( transient.after ) );
   if( transient.reason ) {
      html.leaf( "dt", "accepted" );
      html.leaf( "dd", *transient.reason );
   }
}

std::string kindText( FindingKind kind )
{
   switch( kind ) {
   case FindingKind::neverWins:
      return "never reached";
   case FindingKind::noEffect:
      return "no effect";
   case FindingKind::actions:
      return "wrong actions";
   }
   return {};
}

std::ptrdiff_t acceptedIn( const Chronicle& chronicle )
{
   return std::ranges::count_if(
      chronicle.transients, []( const Transient& transient ) { return !!transient.reason; } );
}

void writeTransients( const Page& page )
{
   const Chronicle& chronicle = page.chronicle;
   if( chronicle.watched == 0 )
      return;
   Html& html = page.html;
   html.leaf( "h3", "While commands ran" );
   const std::string watched = "The probes and, if the command has the solver, a packet for each "
                               "entry were watched during " +
                               counted( chronicle.watched, "command" ) +
                               ", behind each call that changed a chip";
   if( chronicle.transients.empty() ) {
      html.leaf( "p", watched + ": each fared as before or as after." );
      return;
   }
   const auto accepted = acceptedIn( chronicle );
   html.leaf( "p", watched +
                      ". Transients, in which one fared neither as before the command nor as "
                      "after it: " +
                      std::to_string( chronicle.transients.size() ) +
                      "; accepted by the file beside the scenario: " + std::to_string( accepted ) +
                      "." );
   for( std::size_t i = 0; i < chronicle.transients.size(); ++i )
      writeTransient( page, i );
}

/// "3 only explained"; empty if all were sent.
std::string explainedText( const std::vector<Packet>& packets )
{
   const auto explained = std::ranges::count( packets, false, &Packet::sent );
   return explained > 0 ? std::to_string( explained ) + " only explained" : "";
}

/// The pass in which it was lost.
void writeDrop( const Page& page, const Packet& packet, const Pass& pass )
{
   Html& html = page.html;
   const std::string reason = pass.steps.back().text;
   // What was looked up before it was lost, or the entry that dropped it.
   const Step* last = nullptr;
   for( const Step& step : pass.steps ) {
      if( step.kind == StepKind::stage && step.stage != "learning" )
         last = &step;
      if( step.kind == StepKind::wins &&
          reason.find( " " + std::to_string( step.entry->id ) + " \"" ) != reason.npos ) {
         last = &step;
         break;
      }
   }
   html.text( ": " + reason );
   if( !last )
      return;
   if( last->kind == StepKind::stage ) {
      html.text( "; last stage: " + last->stage + ", " + last->text );
      return;
   }
   writeEntryLink( page, packet, *last->entry );
   for( const Step::Act& act : last->acts ) {
      html.text( ", " );
      writeAct( page, packet, *last, act );
   }
}

void writeDrops( const Page& page )
{
   const std::vector<Packet>& packets = page.chronicle.packets;
   if( packets.empty() )
      return;
   Html& html = page.html;
   html.leaf( "h3", "Dropped packets" );
   const auto lost = std::ranges::count_if( packets, isLost );
   const std::string explained = explainedText( packets );
   const std::string all =
      counted( packets.size(), "packet" ) + ( explained.empty() ? "" : " (" + explained + ")" );
   html.leaf( "p", lost == 0 ? "None of " + all + ": all went to a port or to the CPU."
                             : std::to_string( lost ) + " of " + all +
                                  " went neither to a port nor to the CPU:" );
   if( lost == 0 )
      return;
   const Html::Element list( html, "ul" );
   for( std::size_t i = 0; i < packets.size(); ++i ) {
      const Packet& packet = packets[ i ];
      if( !isLost( packet ) )
         continue;
      html.line();
      const Html::Element item( html, "li" );
      html.anchor( Links::packet( i ) );
      html.text( ( packet.sent ? " " : " (only explained) " ) +
                 ( packet.frames.empty() ? "" : framesText( packet.frames ) + ", first " ) );
      html.leaf( "b", packet.frame );
      writeDrop( page, packet, packet.passes.back() );
   }
}

void writeEntryFindings( const Page& page, const Findings& findings )
{
   Html& html = page.html;
   if( findings.all.empty() ) {
      html.leaf( "p", "Nothing: each entry can win a packet and has an effect, or is disabled." );
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
      html.text( ": " + kindText( finding.kind ) + ": " + finding.text );
      if( finding.packets.empty() )
         continue;
      const Html::Element fold( html, "details" );
      html.leaf( "summary", counted( finding.packets.size(), "packet" ) + " tried" );
      html.leaf( "p", "The entry takes each of them. With it and without it the same comes out:" );
      for( const std::set<std::string>* const lines : { &finding.fates, &finding.packets } ) {
         const Html::Element tried( html, "ul" );
         for( const std::string& line : *lines )
            html.leaf( "li", line );
      }
   }
}

void writeEntryFindings( const Page& page )
{
   const Chronicle& chronicle = page.chronicle;
   if( chronicle.findings.empty() )
      return;
   page.html.leaf( "h3", "Entries at the end" );
   page.html.leaf( "p",
      "What 'lint' finds. Never reached: it is proved that no packet gets to the entry. No effect: each packet that was "
      "found for it comes out the same without it. Wrong actions: they contradict each other, or mean nothing at their "
      "stage." );
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
   const auto& packets = page.chronicle.packets;
   if( !packets.empty() )
      writeFigure( html, "packets", packets.size(), explainedText( packets ) );
   if( page.chronicle.watched > 0 ) {
      const auto& transients = page.chronicle.transients;
      const auto accepted = acceptedIn( page.chronicle );
      writeFigure( html, "transients", transients.size(),
         accepted > 0 ? std::to_string( accepted ) + " accepted" : "" );
   }
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
   writeDrops( page );
   writeRedundant( page );
   writeEntryFindings( page );
}

} // namespace Strata::Report
