// Expectations about the last packet that was sent or explained.
#include "desk/Texts.h"
#include "tool/Session.h"
#include "tool/packet/PacketWords.h"
#include "tool/words/Command.h"
#include "tool/words/EntryChoice.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace Strata::Tool {

namespace {

void needPacket( const Session& session, const Words& words )
{
   if( !session.packets().last() )
      words.failAt( words.line().words.front(), "no packet was sent or explained yet" );
}

std::string found( const Session& session )
{
   return session.packets().engine().summary( session.packets().last()->verdict );
}

Act expectDeparts( const Session& session, Words& words )
{
   needPacket( session, words );
   std::vector<Sim::PortRef> wanted;
   std::string part;
   const bool none = words.accept( "none" );
   if( !none )
      do {
         std::ranges::copy( takePorts( session, words ), std::back_inserter( wanted ) );
      } while( !words.done() && !( words.peek() && words.peek()->text == "with" ) );
   if( !none && words.accept( "with" ) )
      part = words.text( "a part of what leaves" );
   std::string expected = "the packet to leave on ";
   expected += wanted.empty() ? "no port" : session.packets().engine().portNames( wanted );
   expected += part.empty() ? "" : " with " + part;
   return [ = ]( Session& live ) {
      std::vector<Sim::PortRef> leaves;
      std::vector<std::string> frames;
      for( const Sim::Departure* const departure : live.packets().last()->verdict.departures() ) {
         leaves.push_back( departure->port );
         frames.push_back( departure->frame.text() );
      }
      const bool fits = std::ranges::all_of(
         frames, [ & ]( const std::string& frame ) { return frame.find( part ) != frame.npos; } );
      frames.erase( std::ranges::unique( frames ).begin(), frames.end() );
      std::string shown;
      for( const std::string& frame : frames )
         shown += "; " + frame;
      live.expect( std::ranges::is_permutation( leaves, wanted ) && fits, expected,
         found( live ) + ( part.empty() ? "" : shown ) );
   };
}

Act expectCpu( const Session& session, Words& words )
{
   needPacket( session, words );
   std::size_t times = 1;
   std::optional<U32> queue;
   std::string reason;
   if( words.accept( "none" ) )
      times = 0;
   else if( words.accept( "times" ) )
      times = words.number( "a number of copies", 0, Sim::maxPasses );
   if( times > 0 && words.accept( "queue" ) )
      queue = words.number( "a CPU queue", 0, session.agent().hardware().profile().cpuQueues - 1 );
   if( times > 0 && words.accept( "because" ) )
      reason = words.text( "a part of the reason" );
   std::string expected = "the CPU to get it " + Desk::counted( times, "time" );
   if( queue )
      expected += " on queue " + std::to_string( *queue );
   if( !reason.empty() )
      expected += " because of " + reason;
   return [ = ]( Session& live ) {
      const auto copies = live.packets().last()->verdict.cpuCopies();
      const bool fits = std::ranges::all_of( copies, [ & ]( const Sim::CpuCopy* copy ) {
         const bool because = std::ranges::any_of( copy->reasons,
            [ & ]( const std::string& text ) { return text.find( reason ) != text.npos; } );
         return ( !queue || copy->queue == *queue ) && because;
      } );
      live.expect( copies.size() == times && fits, expected, found( live ) );
   };
}

Act expectDropped( const Session& session, Words& words )
{
   needPacket( session, words );
   const std::string reason = words.done() ? "" : words.text( "a part of the reason" );
   return [ reason ]( Session& live ) {
      const std::string drop = live.packets().last()->verdict.drop();
      live.expect( !drop.empty() && drop.find( reason ) != drop.npos,
         "the packet to be dropped" + ( reason.empty() ? "" : ": " + reason ), found( live ) );
   };
}

Act expectPasses( const Session& session, Words& words )
{
   needPacket( session, words );
   const U64 wanted = words.number( "a number of passes", 1, Sim::maxPasses );
   return [ wanted ]( Session& live ) {
      const std::size_t passes = live.packets().last()->verdict.passes.size();
      live.expect( passes == wanted,
         std::to_string( wanted ) + ( wanted == 1 ? " pass" : " passes" ),
         std::to_string( passes ) + ": " + found( live ) );
   };
}

/// "main 7, main 12": the entries that won in the group, or in any.
std::string winnersText( const Sim::Verdict& verdict, const std::string& group )
{
   std::string winners;
   for( const Sim::PassVerdict& pass : verdict.passes )
      for( const Sim::Winner& winner : pass.winners )
         if( group.empty() || winner.group == group )
            winners +=
               ( winners.empty() ? "" : ", " ) + winner.group + " " + std::to_string( winner.id );
   return winners;
}

bool hasWon( Sim::SimSwitch& hardware, const Sim::Verdict& verdict, const EntryChoice& choice )
{
   for( const Sim::PassVerdict& pass : verdict.passes ) {
      Sim::Chip& chip = hardware.chip( pass.arrival.unit );
      for( const Sim::Winner& winner : pass.winners )
         if( chip.group( winner.group )->find( winner.id ) == findEntry( chip, choice ) )
            return true;
   }
   return false;
}

Act expectWinner( const Session& session, Words& words )
{
   needPacket( session, words );
   // "none" without a range means all ranges.
   const Word* const behind = words.peek( 1 );
   const bool ofGroup = behind && behind->text == "none";
   const std::string group = ofGroup ? words.take( "a range of entries" ).text : std::string();
   if( ofGroup && !session.agent().hardware().tcamManager( group ) )
      words.fail( "there is no range '" + group + "'; write 'none' alone for all ranges" );
   if( words.accept( "none" ) )
      return [ group ]( Session& live ) {
         const std::string winners = winnersText( live.packets().last()->verdict, group );
         live.expect(
            winners.empty(), "no entry to win" + ( group.empty() ? "" : " in " + group ), winners );
      };
   return [ choice = takeEntry( session, words ) ]( Session& live ) {
      const Sim::Verdict& verdict = live.packets().last()->verdict;
      const std::string winners = winnersText( verdict, {} );
      live.expect( hasWon( live.agent().hardware(), verdict, choice ), choice.text + " to win",
         winners.empty() ? "no winner" : winners );
   };
}

} // namespace

std::vector<Command> expectPacketCommands()
{
   return {
      { "expect departs", "PORTS|none [with TEXT]",
         "the last packet leaves on just these ports, with TEXT in it", expectDeparts, false },
      { "expect cpu", "[none|times N] [queue N] [because TEXT]",
         "the CPU gets the last packet, once unless said otherwise", expectCpu, false },
      { "expect dropped", "[TEXT]",
         "the last packet leaves on no port, for this reason; the CPU may have a copy",
         expectDropped, false },
      { "expect passes", "N", "the last packet makes this number of passes", expectPasses, false },
      { "expect winner", "[GROUP] ENTRY|none", "the entry acts on the last packet", expectWinner,
         false },
   };
}

} // namespace Strata::Tool
