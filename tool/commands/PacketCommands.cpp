// Packets: sending and explaining them, what is expected of the last one, and files of what leaves.
#include "platform/runtime/Errors.h"
#include "tool/ByUnit.h"
#include "tool/Command.h"
#include "tool/EntryChoice.h"
#include "tool/Session.h"
#include "tool/packet/ExplanationView.h"
#include "tool/packet/PacketWords.h"

#include <algorithm>
#include <map>
#include <set>
#include <unordered_map>

namespace Strata::Tool {

namespace {

std::string arrivalText( Sim::PacketEngine& engine, const Sim::Arrival& arrival )
{
   const std::string from = arrival.higig
                               ? "the stack link of unit " + std::to_string( arrival.port.unit )
                               : engine.portName( arrival.port );
   return "In by " + from + ": " + arrival.frame.text();
}

void showExplanation( Session& session, Sim::PacketEngine& engine, const Sim::Arrival& arrival,
   const Sim::Verdict& verdict, const Sim::Explanation& explanation, bool all )
{
   session.console().table( arrivalText( engine, arrival ),
      explanationTable( engine, verdict, explanation, all ),
      explanationJson( engine, verdict, explanation ) );
}

void explainPacket( Session& session, Words& words )
{
   const bool all = words.accept( "-v" );
   const Sim::Arrival arrival = takeArrival( session, words );
   PacketDesk& desk = session.packets( words );
   Sim::Explanation explanation;
   const Sim::Verdict verdict = desk.engine().explain( arrival, &explanation );
   showExplanation( session, desk.engine(), arrival, verdict, explanation, all );
   desk.lastIs( { arrival, verdict } );
}

/// Reports once that a file could not be written; the packets were sent all the same.
void checkCaptures( PacketDesk& desk, const Words& words )
{
   if( const std::string problem = desk.takeProblem(); !problem.empty() )
      words.failAt( words.line().words.front(), problem );
}

void sendPacket( Session& session, Words& words )
{
   const bool all = words.accept( "-v" );
   const Sim::Arrival arrival = takeArrival( session, words );
   PacketDesk& desk = session.packets( words );
   Sim::Explanation explanation;
   if( all )
      desk.engine().explain( arrival, &explanation );
   const Sim::Verdict verdict = desk.engine().send( arrival );
   if( all )
      showExplanation( session, desk.engine(), arrival, verdict, explanation, true );
   desk.lastIs( { arrival, verdict } );
   if( verdict.loops )
      words.failAt( words.line().words.front(),
         "the packet loops: " + Sim::PacketEngine::loopText() + "; 'explain' shows each" );
   checkCaptures( desk, words );
}

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

/// What became of the frames of a file, one row each or one for those that fared alike.
class CaptureTable
{
 public:
   void add( U32 frame, const std::string& outcome )
   {
      const auto [ at, isNew ] = known_.try_emplace( outcome, outcomes_.size() );
      if( isNew )
         outcomes_.push_back( { outcome, {} } );
      outcomes_[ at->second ].frames.push_back( frame );
      ++count_;
   }
   U32 count() const { return count_; }

   Table each() const
   {
      std::map<U32, const std::string*> rows;
      for( const Outcome& outcome : outcomes_ )
         for( const U32 frame : outcome.frames )
            rows.emplace( frame, &outcome.text );
      Table table( { { "Frame", Align::right }, { "What became of it" } } );
      for( const auto& [ frame, text ] : rows )
         table.row( { std::to_string( frame ), *text } );
      return table;
   }
   Table summary() const
   {
      Table table( { { "Times", Align::right }, { "Frames" }, { "What became of them" } } );
      for( const Outcome& outcome : outcomes_ )
         table.row( { std::to_string( outcome.frames.size() ), framesText( outcome.frames ),
            outcome.text } );
      return table;
   }

 private:
   struct Outcome
   {
      std::string text;
      std::vector<U32> frames; // ascending
   };

   /// All of a few, else where to look.
   static std::string framesText( const std::vector<U32>& frames )
   {
      constexpr std::size_t longest = 24;
      const std::string text = numberRanges( frames );
      return text.size() <= longest
                ? text
                : std::to_string( frames.front() ) + ".." + std::to_string( frames.back() );
   }

   std::vector<Outcome> outcomes_; // in order of their first frames
   std::unordered_map<std::string, std::size_t> known_;
   U32 count_ = 0;
};

/// That the capture has cut the frame. Frames of a summary fare alike, however much of each there is.
std::string cutText( const CapturedFrame& captured, bool summary )
{
   const std::size_t held = captured.bytes.size();
   if( held >= captured.length )
      return {};
   return summary ? "; the capture holds a part of it"
                  : "; the capture holds " + std::to_string( held ) + " of " +
                       std::to_string( captured.length ) + " bytes";
}

/// Sends a frame of a file and says what became of it. A frame that cannot be sent does not end the others.
std::string sendCaptured(
   PacketDesk& desk, const Entrance& entrance, const CapturedFrame& captured )
{
   try {
      const Sim::Arrival arrival{ entrance.port, checkedFrame( captured.frame() ), entrance.higig };
      const Sim::Verdict verdict = desk.engine().send( arrival );
      desk.lastIs( { arrival, verdict } );
      return desk.engine().summary( verdict );
   } catch( const Vormel::Error& error ) {
      return std::string( "not sent: " ) + error.what();
   }
}

void sendCapture( Session& session, Words& words )
{
   const Word& name = words.take( "a pcap file", "FILE" );
   const Entrance entrance = takeEntrance( session, words );
   std::pair<U32, U32> range( 1, ~U32{ 0 } );
   const Word* rangeWord = nullptr;
   bool summary = false;
   Words::Taken taken;
   for( ;; ) {
      if( words.acceptOnce( "frames", taken ) ) {
         range = takeFrameNumbers( words );
         rangeWord = words.last();
      } else if( words.acceptOnce( "summary", taken ) )
         summary = true;
      else
         break;
   }
   words.end();
   const auto [ first, last ] = range;
   PacketDesk& desk = session.packets( words );
   if( desk.isWriting( name.text ) ) // it might never end
      words.failAt( name, "'" + name.text + "' is being written; 'no capture' closes all files" );
   CaptureTable table;
   std::string title;
   std::string problem; // the frames that were sent are listed all the same
   const Word* culprit = &name;
   try {
      CaptureReader reader( name.text );
      while( reader.number() < last ) {
         const std::optional<CapturedFrame> captured = reader.next();
         if( !captured )
            break;
         if( reader.number() >= first )
            table.add( reader.number(),
               sendCaptured( desk, entrance, *captured ) + cutText( *captured, summary ) );
      }
      if( rangeWord && reader.number() < last )
         title = ", which ends with frame " + std::to_string( reader.number() );
      if( table.count() == 0 ) {
         culprit = rangeWord ? rangeWord : &name;
         problem = NoSuchFrame( name.text, first, reader.number() ).what();
      }
   } catch( const Vormel::Error& error ) {
      problem = error.what();
   }
   if( table.count() > 0 )
      session.console().table( std::to_string( table.count() ) +
                                  ( table.count() == 1 ? " frame of " : " frames of " ) +
                                  name.text + title,
         summary ? table.summary() : table.each() );
   if( !problem.empty() )
      words.failAt( *culprit, problem );
   checkCaptures( desk, words );
}

void capture( Session& session, Words& words )
{
   const Word* const portWord = words.peek();
   const bool cpu = portWord && portWord->text == "cpu";
   const Sim::PortRef port = takePort( session, words );
   PacketDesk& desk = session.packets( words );
   if( cpu ? desk.capturesCpu( port.unit ) : desk.captures( port ) )
      words.failAt( *portWord, ( cpu ? "the CPU of unit " + std::to_string( port.unit )
                                     : desk.engine().portName( port ) ) +
                                  " is being captured already; 'no capture' closes all files" );
   const std::string file = words.take( "a file's name", "FILE" ).text;
   if( file == "-" )
      words.fail( "'-' is no file here; write ./- for a file of that name" );
   words.end();
   if( cpu )
      desk.captureCpu( port.unit, file );
   else
      desk.capturePort( port, file );
}

void captureEnd( Session& session, Words& words )
{
   words.end();
   session.packets( words ).captureEnd();
}

const LastPacket& lastPacket( Session& session, Words& words )
{
   const LastPacket* const last = session.packets( words ).last();
   if( !last )
      words.failAt( words.line().words.front(), "no packet was sent or explained yet" );
   return *last;
}

std::string found( Session& session, Words& words, const LastPacket& last )
{
   return session.packets( words ).engine().summary( last.verdict );
}

void expectDeparts( Session& session, Words& words )
{
   const LastPacket& last = lastPacket( session, words );
   Sim::PacketEngine& engine = session.packets( words ).engine();
   std::multiset<std::string> wanted;
   std::string part;
   if( !words.accept( "none" ) )
      do {
         for( const Sim::PortRef port : takePorts( session, words ) )
            wanted.insert( engine.portName( port ) );
      } while( !words.done() && words.peek()->text != "with" );
   if( words.accept( "with" ) )
      part = words.take( "a part of what leaves" ).text;
   words.end();
   std::multiset<std::string> leaves;
   bool fits = true;
   std::string frames;
   for( const Sim::Departure* const departure : last.verdict.departures() ) {
      leaves.insert( engine.portName( departure->port ) );
      fits = fits && departure->frame.text().find( part ) != std::string::npos;
      frames += "; " + departure->frame.text();
   }
   std::string expected = "the packet to leave on";
   for( const std::string& name : wanted )
      expected += " " + name;
   expected += wanted.empty() ? " no port" : part.empty() ? "" : " with " + part;
   session.expect( leaves == wanted && fits, expected,
      found( session, words, last ) + ( part.empty() ? "" : frames ) );
}

void expectCpu( Session& session, Words& words )
{
   const LastPacket& last = lastPacket( session, words );
   const auto copies = last.verdict.cpuCopies();
   std::size_t times = 1;
   std::optional<U32> queue;
   std::string reason;
   if( words.accept( "none" ) )
      times = 0;
   else if( words.accept( "times" ) )
      times = words.value<U32>( "how often" );
   if( words.accept( "queue" ) )
      queue = words.value<U32>( "a queue" );
   if( words.accept( "because" ) )
      reason = words.take( "a part of the reason" ).text;
   words.end();
   const bool fits = std::ranges::all_of( copies, [ & ]( const Sim::CpuCopy* copy ) {
      const bool because = std::ranges::any_of( copy->reasons,
         [ & ]( const std::string& text ) { return text.find( reason ) != text.npos; } );
      return ( !queue || copy->queue == *queue ) && because;
   } );
   std::string expected = "the CPU to get it " + std::to_string( times ) + " times";
   if( queue )
      expected += " on queue " + std::to_string( *queue );
   if( !reason.empty() )
      expected += " because of " + reason;
   session.expect( copies.size() == times && fits, expected, found( session, words, last ) );
}

void expectDropped( Session& session, Words& words )
{
   const LastPacket& last = lastPacket( session, words );
   const std::string reason = words.done() ? "" : words.take( "a part of the reason" ).text;
   words.end();
   const std::string drop = last.verdict.drop();
   session.expect( !drop.empty() && drop.find( reason ) != drop.npos,
      "the packet to be dropped" + ( reason.empty() ? "" : ": " + reason ),
      found( session, words, last ) );
}

void expectPasses( Session& session, Words& words )
{
   const LastPacket& last = lastPacket( session, words );
   const U32 wanted = words.value<U32>( "how many passes" );
   words.end();
   const std::size_t passes = last.verdict.passes.size();
   session.expect( passes == wanted, std::to_string( wanted ) + " passes",
      std::to_string( passes ) + ": " + found( session, words, last ) );
}

void expectWinner( Session& session, Words& words )
{
   const LastPacket& last = lastPacket( session, words );
   Sim::SimSwitch& hardware = session.agent( words ).hardware();
   // "none" alone is of all groups.
   const Word* const behind = words.peek( 1 );
   const bool ofGroup = behind && behind->text == "none";
   const std::string group = ofGroup ? words.take( "an entry group" ).text : std::string();
   if( ofGroup && !hardware.tcamManager( group ) )
      words.fail( "there is no entry group '" + group + "'" );
   std::string winners;
   for( const Sim::PassVerdict& pass : last.verdict.passes )
      for( const Sim::Winner& winner : pass.winners )
         if( group.empty() || winner.group == group )
            winners +=
               ( winners.empty() ? "" : ", " ) + winner.group + " " + std::to_string( winner.id );
   if( words.accept( "none" ) ) {
      words.end();
      return session.expect(
         winners.empty(), "no entry to win" + ( ofGroup ? " in " + group : "" ), winners );
   }
   const EntryChoice choice = takeEntry( session, words );
   words.end();
   bool won = false;
   for( const Sim::PassVerdict& pass : last.verdict.passes ) {
      Sim::Chip& chip = hardware.chip( pass.arrival.unit );
      for( const Sim::Winner& winner : pass.winners )
         won = won || chip.group( winner.group )->find( winner.id ) == findEntry( chip, choice );
   }
   session.expect( won, choice.text + " to win", winners.empty() ? "no winner" : winners );
}

} // namespace

std::vector<Command> packetCommands()
{
   return {
      { "packet", "[-v] in PORT FRAME", "a packet comes in", sendPacket },
      { "explain", "[-v] in PORT FRAME", "what would become of a packet, and why; moves nothing",
         explainPacket },
      { "pcap", "FILE in PORT [frames A-B] [summary]",
         "the frames of a file come in, and what became of each, or of those that fared alike",
         sendCapture },
      { "capture", "PORT|cpu [unit N] FILE", "write what leaves there to a pcap file", capture },
      { "no capture", "", "close the files", captureEnd },
      { "expect departs", "PORTS|none [with TEXT]",
         "the last packet leaves on just these ports, with TEXT in it", expectDeparts, false },
      { "expect cpu", "[none|times N] [queue N] [because TEXT]",
         "the CPU gets the last packet, once unless said otherwise", expectCpu, false },
      { "expect dropped", "[TEXT]",
         "the last packet leaves on no port, for this reason; the CPU may have a copy",
         expectDropped, false },
      { "expect passes", "N", "the last packet goes through chips as often", expectPasses, false },
      { "expect winner", "[GROUP] ENTRY|none", "the entry acts on the last packet", expectWinner,
         false },
   };
}

} // namespace Strata::Tool
