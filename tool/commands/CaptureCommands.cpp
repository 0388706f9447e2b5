// Captures: files of frames that come in, and files that packets are written to.
#include "desk/Texts.h"
#include "platform/runtime/Errors.h"
#include "tool/Interrupt.h"
#include "tool/RunListener.h"
#include "tool/Session.h"
#include "tool/packet/PacketWords.h"
#include "tool/view/Table.h"
#include "tool/words/Command.h"

#include <map>
#include <nlohmann/json.hpp>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Strata::Tool {

namespace {

using nlohmann::ordered_json;

/// "5-9", or one frame.
std::pair<U32, U32> takeFrameNumbers( Words& words )
{
   const std::string text = words.take( "numbers of frames, as in 5-9" ).text;
   const std::size_t dash = text.find( '-' );
   const auto number = []( const std::string& digits ) {
      return Vormel::ValueTraits<U32>::from( Vormel::Value( digits ) );
   };
   const auto first = number( text.substr( 0, dash ) );
   const auto last = dash == text.npos ? first : number( text.substr( dash + 1 ) );
   if( !first || !last || *first < 1 || *last < *first )
      words.fail(
         "'" + text + "' is neither the number of a frame, from 1, nor a range such as 5-9" );
   return { *first, *last };
}

/// An outcome of frames, as text and as JSON without their numbers.
struct FrameOutcome
{
   std::string text;
   ordered_json json;
};

/// The outcomes of the frames of a file: one row each, or one row for all with the same outcome. Of a file of any length
/// it keeps one copy of each outcome, and the numbers of its frames as ranges.
class CaptureTable
{
 public:
   /// Frames with equal keys have the same outcome, which `make` makes for the first of them.
   template<class Make>
   void add( U32 frame, const std::string& key, Make make )
   {
      const auto [ at, isNew ] = known_.try_emplace( key, outcomes_.size() );
      if( isNew )
         outcomes_.push_back( { make(), {}, 0 } );
      Frames& frames = outcomes_[ at->second ];
      if( frames.ranges.empty() || frames.ranges.back().second + 1 != frame )
         frames.ranges.emplace_back( frame, frame );
      frames.ranges.back().second = frame;
      ++frames.count;
      ++count_;
   }
   U32 count() const { return count_; }

   Table each() const
   {
      std::map<U32, std::pair<U32, const FrameOutcome*>>
         rows; // by the first frame of a range: the last one
      for( const Frames& frames : outcomes_ )
         for( const auto& [ first, last ] : frames.ranges )
            rows.emplace( first, std::pair( last, &frames.outcome ) );
      Table table( { { "Frame", Align::right }, { "Outcome" } } );
      for( const auto& [ first, rest ] : rows )
         for( U32 frame = first; frame <= rest.first; ++frame ) {
            ordered_json row{ { "frame", frame } };
            row.update( rest.second->json );
            table.row( { std::to_string( frame ), rest.second->text }, std::move( row ) );
         }
      return table;
   }
   Table summary() const
   {
      Table table( { { "Times", Align::right }, { "Frames" }, { "What became of them" } } );
      for( const Frames& frames : outcomes_ )
         table.row( { std::to_string( frames.count ), framesText( frames ), frames.outcome.text } );
      return table;
   }
   /// The rows of the summary for programs, with the number of each frame.
   ordered_json summaryRows() const
   {
      auto rows = ordered_json::array();
      for( const Frames& frames : outcomes_ ) {
         ordered_json row{ { "times", frames.count }, { "frames", ordered_json::array() } };
         for( const auto& [ first, last ] : frames.ranges )
            for( U32 frame = first; frame <= last; ++frame )
               row[ "frames" ].push_back( frame );
         row.update( frames.outcome.json );
         rows.push_back( std::move( row ) );
      }
      return rows;
   }

 private:
   struct Frames
   {
      FrameOutcome outcome;
      std::vector<std::pair<U32, U32>> ranges; // ascending; first and last frame
      U32 count;
   };

   /// All frames if there are few, otherwise their range.
   static std::string framesText( const Frames& frames )
   {
      constexpr std::size_t longest = 24;
      std::string text;
      for( const auto& [ first, last ] : frames.ranges ) {
         text += ( text.empty() ? "" : "," ) + std::to_string( first );
         if( last != first )
            text += ( last == first + 1 ? "," : "-" ) + std::to_string( last );
         if( text.size() > longest )
            return std::to_string( frames.ranges.front().first ) + ".." +
                   std::to_string( frames.ranges.back().second );
      }
      return text;
   }

   std::vector<Frames> outcomes_; // in order of their first frames
   std::unordered_map<std::string, std::size_t> known_;
   U32 count_ = 0;
};

/// Adds that the capture has cut the frame; a summary leaves the lengths out.
void addCut( FrameOutcome& outcome, const CapturedFrame& captured, bool summary )
{
   const std::size_t held = captured.bytes.size();
   outcome.json[ "cut" ] = held < captured.length;
   if( held >= captured.length )
      return;
   if( summary ) {
      outcome.text += "; the capture holds a part of it";
      return;
   }
   outcome.text += "; the capture holds " + std::to_string( held ) + " of " +
                   std::to_string( captured.length ) + " bytes";
   outcome.json[ "held" ] = held;
   outcome.json[ "length" ] = captured.length;
}

/// A key that verdicts share if summary() and verdictJson() do. It is made for every frame, so that these texts are not.
std::string outcomeKey( const Sim::Verdict& verdict )
{
   std::string key;
   const auto number = [ &key ]( std::size_t value ) {
      key.append( reinterpret_cast<const char*>( &value ), sizeof value );
   };
   const auto text = [ & ]( const std::string& value ) {
      number( value.size() );
      key += value;
   };
   number( verdict.passes.size() );
   for( const Sim::PassVerdict& pass : verdict.passes ) {
      number( pass.departures.size() );
      for( const Sim::Departure& departure : pass.departures ) {
         number( departure.port.unit );
         number( departure.port.port );
         text( departure.tunnel );
      }
      number( pass.cpu ? pass.cpu->reasons.size() + 1 : 0 );
      if( pass.cpu ) {
         number( pass.cpu->unit );
         number( pass.cpu->queue );
         for( const std::string& reason : pass.cpu->reasons )
            text( reason );
      }
      text( pass.drop );
   }
   return key;
}

/// Frames that a capture has cut in the same way, or not.
std::string cutKey( const CapturedFrame& captured, bool summary )
{
   const std::size_t held = captured.bytes.size();
   if( held >= captured.length )
      return "whole";
   return summary ? "cut" : std::to_string( held ) + "/" + std::to_string( captured.length );
}

/// Sends a frame of a file. A frame that cannot be sent does not stop the others.
void sendCaptured( Session& session, const Entrance& entrance, const CapturedFrame& captured,
   U32 number, bool summary, CaptureTable& table )
{
   PacketDesk& desk = session.packets();
   const auto add = [ & ]( const std::string& key, auto make ) {
      table.add( number, cutKey( captured, summary ) + key, [ & ] {
         FrameOutcome outcome = make();
         addCut( outcome, captured, summary );
         return outcome;
      } );
   };
   try {
      Sim::Arrival arrival{ entrance.port, checkedFrame( captured.frame() ), entrance.higig };
      if( RunListener* const listener = session.console().listener() )
         listener->frameComes( session, number, arrival );
      Sim::Verdict verdict = desk.engine().send( arrival );
      add( outcomeKey( verdict ), [ & ] {
         return FrameOutcome{ desk.engine().summary( verdict ),
            ordered_json::parse( desk.engine().verdictJson( verdict ) ) };
      } );
      desk.lastIs( { std::move( arrival ), std::move( verdict ) } );
   } catch( const Vormel::Error& error ) {
      add( error.what(), [ & ] {
         return FrameOutcome{
            std::string( "not sent: " ) + error.what(), { { "notSent", error.what() } } };
      } );
   }
}

/// Frames of a file to send. The words are those of the line.
struct CaptureWords
{
   const Word* file;
   Entrance entrance;
   U32 first = 1;
   U32 last = ~U32{ 0 };
   const Word* range = nullptr;
   bool summary = false;
};

/// An error in the file ends the command; the frames sent until then are nevertheless listed.
void replay( Session& session, const Words& words, const CaptureWords& asked )
{
   const std::string& file = asked.file->text;
   PacketDesk& desk = session.packets();
   CaptureTable table;
   std::string title;
   std::string problem;
   const Word* culprit = asked.file;
   try {
      CaptureReader reader( file );
      while( reader.number() < asked.last ) {
         const std::optional<CapturedFrame> captured = reader.next();
         if( !captured )
            break;
         if( interrupted() ) {
            title = ", interrupted before frame " + std::to_string( reader.number() );
            interruptDel(); // the table is wanted
            break;
         }
         if( reader.number() < asked.first )
            continue;
         sendCaptured( session, asked.entrance, *captured, reader.number(), asked.summary, table );
      }
      if( title.empty() && asked.range && reader.number() < asked.last )
         title = ", which ends with frame " + std::to_string( reader.number() );
      if( table.count() == 0 ) {
         culprit = asked.range ? asked.range : asked.file;
         problem = NoSuchFrame( file, asked.first, reader.number() ).what();
      }
   } catch( const Vormel::Error& error ) {
      problem = error.what();
   }
   if( table.count() > 0 ) {
      title = Desk::counted( table.count(), "frame" ) + " of " + file + title;
      if( asked.summary )
         session.console().table(
            title, [ & ] { return table.summary(); }, [ & ] { return table.summaryRows(); } );
      else
         session.console().table( title, table.each() );
   }
   if( !problem.empty() )
      words.failAt( *culprit, problem );
   checkCaptures( desk, words );
}

Act sendCapture( const Session& session, Words& words )
{
   CaptureWords asked;
   asked.file = &words.take( "a pcap file", "FILE" );
   asked.entrance = takeEntrance( session, words );
   Words::Taken taken;
   for( ;; ) {
      if( words.acceptOnce( "frames", taken ) ) {
         std::tie( asked.first, asked.last ) = takeFrameNumbers( words );
         asked.range = words.last();
      } else if( words.acceptOnce( "summary", taken ) )
         asked.summary = true;
      else
         break;
   }
   if( session.packets().isWriting( asked.file->text ) ) // reading a file that grows might not end
      words.failAt( *asked.file,
         "'" + asked.file->text + "' is being written; 'no capture' closes all files" );
   return [ asked, &words ]( Session& live ) { replay( live, words, asked ); };
}

/// Takes the name of a file to capture to.
std::string takeCaptureFile( Words& words )
{
   const std::string file = words.take( "a file's name", "FILE" ).text;
   if( file.empty() || file == "-" )
      words.fail( "'" + file + "' is not a file here; write ./" + ( file.empty() ? "NAME" : file ) +
                  " for a file of that name" );
   if( hasOtherContents( file ) )
      words.fail( "'" + file + "' exists and is not a capture; give the capture another name" );
   return file;
}

Act captureDrops( const Session& session, Words& words )
{
   if( session.packets().capturesDrops() )
      words.failAt( *words.last(),
         "dropped packets are being captured already; 'no capture' closes all files" );
   const std::string file = takeCaptureFile( words );
   if( !CaptureWriter::takesNotes( file ) )
      words.fail( "'" + file +
                  "' cannot say why a packet was dropped; write a name that ends with .pcapng" );
   return [ file ]( Session& live ) {
      if( !live.checking() ) // a check leaves files alone
         live.packets().captureDrops( file );
   };
}

Act capture( const Session& session, Words& words )
{
   if( words.accept( "drops" ) )
      return captureDrops( session, words );
   const Word* const portWord = words.peek();
   const bool cpu = portWord && portWord->text == "cpu";
   const Sim::PortRef port = takePort( session, words );
   const PacketDesk& desk = session.packets();
   if( cpu ? desk.capturesCpu( port.unit ) : desk.captures( port ) )
      words.failAt( *portWord, ( cpu ? "the CPU of unit " + std::to_string( port.unit )
                                     : desk.engine().portName( port ) ) +
                                  " is being captured already; 'no capture' closes all files" );
   const std::string file = takeCaptureFile( words );
   return [ = ]( Session& live ) {
      if( live.checking() )
         return; // a check leaves files alone
      if( cpu )
         live.packets().captureCpu( port.unit, file );
      else
         live.packets().capturePort( port, file );
   };
}

Act captureEnd( const Session& session, Words& words )
{
   if( words.done() )
      return []( Session& live ) { live.packets().captureEnd(); };
   if( words.accept( "drops" ) ) {
      if( !session.packets().capturesDrops() )
         words.failAt( *words.last(), "nothing is captured there; 'no capture' closes all files" );
      return []( Session& live ) { live.packets().captureDropsEnd(); };
   }
   const Word* const word = words.peek();
   const bool cpu = word && word->text == "cpu";
   const Sim::PortRef port = takePort( session, words );
   const PacketDesk& desk = session.packets();
   if( !( cpu ? desk.capturesCpu( port.unit ) : desk.captures( port ) ) )
      words.failAt( *word, "nothing is captured there; 'no capture' closes all files" );
   return [ cpu, port ]( Session& live ) {
      if( cpu )
         live.packets().captureCpuEnd( port.unit );
      else
         live.packets().capturePortEnd( port );
   };
}

} // namespace

std::vector<Command> captureCommands()
{
   return {
      { "pcap", "FILE in PORT [frames A-B] [summary]",
         "the frames of a file come in, and what became of each, or of those that fared alike",
         sendCapture },
      { "capture", "PORT|cpu [unit N]|drops FILE",
         "write departing packets to a pcap file, or with what became of each to a pcapng file, or those that are dropped",
         capture },
      { "no capture", "[PORT|cpu [unit N]|drops]", "close all files, or one", captureEnd },
   };
}

} // namespace Strata::Tool
