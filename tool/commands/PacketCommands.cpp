// Packets: sending and explaining them, what is expected of the last one, and files of what leaves.
#include "tool/Command.h"
#include "tool/EntryChoice.h"
#include "tool/Session.h"
#include "tool/packet/ExplanationView.h"
#include "tool/packet/PacketWords.h"

#include <algorithm>
#include <set>

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
}

void capture( Session& session, Words& words )
{
   const bool cpu = words.peek() && words.peek()->text == "cpu";
   const Sim::PortRef port = takePort( session, words );
   const std::string file = words.take( "a file's name" ).text;
   words.end();
   if( cpu )
      session.packets( words ).captureCpu( port.unit, file );
   else
      session.packets( words ).capturePort( port, file );
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
      { "capture", "PORT|cpu [unit N] FILE", "write what leaves there to a pcap file", capture },
      { "no capture", "", "close the files", captureEnd },
      { "expect departs", "PORTS|none [with TEXT]",
         "the last packet leaves on just these ports, with TEXT in it", expectDeparts, false },
      { "expect cpu", "[none|times N] [queue N] [because TEXT]",
         "the CPU gets the last packet, once unless said otherwise", expectCpu, false },
      { "expect dropped", "[TEXT]", "the last packet leaves on no port, for this reason",
         expectDropped, false },
      { "expect passes", "N", "the last packet goes through chips as often", expectPasses, false },
      { "expect winner", "[GROUP] ENTRY|none", "the entry acts on the last packet", expectWinner,
         false },
   };
}

} // namespace Strata::Tool
