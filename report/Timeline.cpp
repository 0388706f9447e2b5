// The events of a run in their order, with what each led to folded under it.
#include "report/Page.h"

#include <cmath>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Report {

namespace {

/// The classes of a record's line.
std::string classOf( const LogLine& line )
{
   if( line.failed || line.kind == LineKind::bad )
      return "bad";
   if( line.write == "redundant" )
      return "same";
   return line.word == "notify" ? "good" : line.word == "trace" ? "faint" : "";
}

/// By the first frame of a range: the last one, and the position of the packet that shows how they fared.
using FramePictures = std::map<U32, std::pair<U32, std::size_t>>;

/// Empty if the event sent no capture.
FramePictures framePictures( const Page& page, const Event& event )
{
   FramePictures pictures;
   for( const std::size_t packet : event.packets )
      for( const auto& [ first, last ] : page.chronicle.packets[ packet ].frames )
         pictures[ first ] = { last, packet };
   return pictures;
}

/// The cells of a frame of a capture, with an anchor and a link to the picture of how it fared.
void writeFrame(
   const Page& page, std::size_t event, const FramePictures& pictures, const Shown::Row& row )
{
   Html& html = page.html;
   const std::string& number = row.cells.front();
   const Html::Element element( html, "tr", { { "id", Links::frame( event, number ) } } );
   {
      const Html::Element data( html, "td" );
      html.link( Links::frame( event, number ), number );
   }
   const Html::Element data( html, "td" );
   html.text( row.cells.back() );
   const auto next = pictures.upper_bound( static_cast<U32>( std::stoul( number ) ) );
   if( next == pictures.begin() )
      return;
   const auto& [ last, packet ] = std::prev( next )->second;
   if( last >= std::stoul( number ) ) {
      html.text( " " );
      html.anchor( Links::packet( packet ) );
   }
}

void writeShown( const Page& page, std::size_t event, const LogLine& line )
{
   Html& html = page.html;
   const Shown& shown = *line.table;
   if( shown.rows.empty() ) {
      const Html::Element paragraph( html, "p" );
      html.text( line.text + ": none" );
      return;
   }
   const WideTable table( html, line.text, shown.columns );
   const Html::Element body( html, "tbody" );
   const FramePictures pictures = framePictures( page, page.chronicle.events[ event ] );
   const bool hasFrames = !pictures.empty() && shown.columns.front() == "Frame";
   for( const Shown::Row& row : shown.rows )
      if( hasFrames )
         writeFrame( page, event, pictures, row );
      else
         writeShownRow( page, shown, row );
}

void writeLogLine( const Page& page, std::size_t position, const LogLine& line )
{
   Html& html = page.html;
   const Event& event = page.chronicle.events[ position ];
   const std::string kind = classOf( line );
   const auto content = [ & ] {
      if( line.kind == LineKind::record ) {
         html.anchor( Links::record( event.chips, line.record ) );
         html.text( " " );
         html.leaf( "i", line.word );
         html.text( " " );
      }
      html.text( line.text );
      if( line.write == "redundant" ) {
         html.text( " " );
         html.leaf( "b", "redundant" );
      }
      if( line.write != "changed" )
         return;
      if( const auto row = page.links.rowAfter( event.chips, line.unit,
             line.entry ? Links::target( line.entry->id ) : line.target, position ) ) {
         html.text( " " );
         html.anchor( *row );
      }
   };
   const std::string id = Links::record( event.chips, line.record );
   html.line();
   if( line.kind == LineKind::record && kind.empty() ) {
      const Html::Element item( html, "li", { { "id", id } } );
      content();
   } else if( line.kind == LineKind::record ) {
      const Html::Element item( html, "li", { { "id", id }, { "class", kind } } );
      content();
   } else {
      const Html::Element item( html, "li",
         { { "class", kind.empty() ? Vormel::enumName( line.kind ) : std::string_view( kind ) } } );
      content();
   }
}

/// The lines of an event that are one line each, from this one on; returns the first that is not written.
std::size_t writeRun( const Page& page, std::size_t position, std::size_t from )
{
   const Event& event = page.chronicle.events[ position ];
   const Html::Element list( page.html, "ul", { { "class", "log" } } );
   while( from < event.lines.size() && !event.lines[ from ].table )
      writeLogLine( page, position, event.lines[ from++ ] );
   return from;
}

void writeContents( const Page& page, std::size_t position )
{
   const Event& event = page.chronicle.events[ position ];
   if( event.inCopy )
      page.html.leaf( "p",
         "Done in a copy of the process, which is gone: the agent and the switch are as before.",
         { { "class", "note" } } );
   for( std::size_t i = 0; i < event.lines.size(); )
      if( event.lines[ i ].table )
         writeShown( page, position, event.lines[ i++ ] );
      else
         i = writeRun( page, position, i );
}

/// "12.5 s", to the millisecond.
std::string secondsText( double seconds )
{
   const long long milliseconds = std::llround( seconds * 1000 );
   std::string text = std::to_string( milliseconds / 1000 ) + "." +
                      std::to_string( 1000 + milliseconds % 1000 ).substr( 1 );
   text.erase( text.find_last_not_of( '0' ) + 1 );
   if( text.back() == '.' )
      text.pop_back();
   return text + " s";
}

/// "243 calls, 12 redundant; 31 notifications"
std::string summaryOf( const Event& event )
{
   std::size_t calls = 0;
   std::size_t redundant = 0;
   std::size_t notifications = 0;
   std::size_t others = 0;
   std::string shown;
   for( const LogLine& line : event.lines ) {
      const bool isRecord = line.kind == LineKind::record;
      if( isRecord && ( line.word == "call" || line.word == "entry" ) )
         ++calls;
      else if( isRecord && line.word == "notify" )
         ++notifications;
      else if( line.table )
         shown = line.text;
      else
         ++others;
      redundant += line.write == "redundant" ? 1 : 0;
   }
   std::string text;
   const auto add = [ & ](
                       const std::string& part ) { text += ( text.empty() ? "" : ", " ) + part; };
   if( calls > 0 )
      add( counted( calls, "call" ) );
   if( redundant > 0 )
      add( std::to_string( redundant ) + " redundant" );
   if( notifications > 0 )
      add( counted( notifications, "notification" ) );
   if( !shown.empty() )
      add( shown );
   if( others > 0 )
      add( counted( others, text.empty() ? "line" : "other line" ) );
   if( event.inCopy )
      text += ", in a copy of the process";
   return text;
}

void writeHead( const Page& page, const Event& event )
{
   Html& html = page.html;
   if( event.judgement ) {
      html.leaf( "b", event.judgement->held ? "held" : "failed",
         { { "class", event.judgement->held ? "good" : "bad" } } );
      html.text( " " );
   }
   html.leaf( "code", event.text );
}

/// What is seen without opening the fold.
void writeResult( const Page& page, const Event& event, std::size_t position )
{
   Html& html = page.html;
   if( event.judgement && !event.judgement->held ) {
      const Html::Element list( html, "dl" );
      html.leaf( "dt", "expected" );
      html.leaf( "dd", event.judgement->expected );
      html.leaf( "dt", "found" );
      html.leaf( "dd", event.judgement->found );
   }
   for( const std::size_t packet : event.packets ) {
      const Html::Element paragraph( html, "p" );
      const Packet& shown = page.chronicle.packets[ packet ];
      html.anchor( Links::packet( packet ) );
      html.text( " " + ( shown.frames.empty() ? "" : framesText( shown.frames ) + ": " ) +
                 fateText( shown.outcome ) );
   }
   if( !event.transients.empty() ) {
      const Html::Element paragraph( html, "p" );
      html.text( "Packets that meanwhile fared otherwise:" );
      for( const std::size_t transient : event.transients ) {
         html.text( " " );
         html.anchor( Links::transient( transient ) );
      }
   }
   const auto& snapshots = page.chronicle.snapshots;
   for( std::size_t i = 0; i < snapshots.size(); ++i )
      if( snapshots[ i ].event == position && snapshots[ i ].moment != Moment::made ) {
         const Html::Element paragraph( html, "p" );
         html.text( snapshots[ i ].moment == Moment::end ? "Tables at the end: "
                                                         : "Tables at this mark: " );
         html.anchor( page.links.snapshot( i ) );
      }
   for( const LogLine& line : event.lines )
      if( line.kind == LineKind::bad ) {
         const Html::Element paragraph( html, "p", { { "class", "bad" } } );
         writeLines( html, line.text );
      }
}

void writeRemark( const Page& page, const Event& event )
{
   for( const LogLine& line : event.lines ) {
      const Html::Element paragraph( page.html, "p", { { "class", "note" } } );
      page.html.text( line.text );
   }
}

void writeEvent( const Page& page, std::size_t position )
{
   Html& html = page.html;
   const Event& event = page.chronicle.events[ position ];
   const std::string id = Links::event( position );
   html.line();
   const Html::Element item( html, "li", { { "id", id } } );
   html.anchor( id );
   const Html::Element rest( html, "div" );
   const std::string summary = summaryOf( event );
   const double before = position == 0 ? 0 : page.chronicle.events[ position - 1 ].seconds;
   const std::string place =
      std::to_string( event.line ) +
      ( event.seconds > before ? ", at " + secondsText( event.seconds ) : "" );
   if( event.remark )
      writeRemark( page, event );
   else if( event.lines.empty() ) {
      writeHead( page, event );
      html.leaf( "small", place );
   } else {
      const Html::Element fold( html, "details" );
      {
         const Html::Element head( html, "summary" );
         writeHead( page, event );
         html.text( " " );
         html.leaf( "span", summary );
         html.leaf( "small", place );
      }
      writeContents( page, position );
   }
   writeResult( page, event, position );
}

} // namespace

void writeTimeline( const Page& page )
{
   Html& html = page.html;
   const Html::Element section( html, "section", { { "aria-labelledby", "timeline" } } );
   html.leaf( "h2", "Timeline", { { "id", "timeline" } } );
   html.leaf( "p",
      page.chronicle.recorded
         ? "The inputs that the agent got, in their order. Each opens to what the slice did about it."
         : "The commands of the scenario, in their order. Each opens to the calls, notifications, traces and tables "
           "that it led to; on the right is its line." );
   const Html::Element list( html, "ol", { { "class", "events" } } );
   for( std::size_t i = 0; i < page.chronicle.events.size(); ++i )
      writeEvent( page, i );
}

} // namespace Strata::Report
