// An evaluation of packets behind each write, to compare with that of the command.
#pragma once

#include "tool/Session.h"
#include "tool/packet/TableTrial.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace Strata::Tool {

using Lines = std::vector<std::string>;

/// What becomes of packets, looked at behind each write.
class Onlooker
{
 public:
   struct Fate
   {
      std::vector<Sim::Departure> departures;
      std::vector<std::tuple<U32, U32, Sim::Frame>> copies;
      std::vector<Sim::Learning> learned;

      bool operator==( const Fate& ) const = default;
   };
   explicit Onlooker( Session& session ) : session_( session ) {}

   void add( const Lines& commands, const std::function<Scene()>& scene )
   {
      if( known_.insert( commands ).second )
         packets_.push_back( { commands.back(), scene(), {} } );
   }
   void look()
   {
      if( session_.isCopy() )
         return;
      std::optional<Vormel::LockAnchor> lock; // which an SDK call releases
      if( !Vormel::activityLock().heldByThisThread() )
         lock.emplace( Vormel::activityLock() );
      const auto& records = session_.agent().hardware().transcript().records();
      const auto call = std::find_if( records.rbegin(), records.rend(), isCall );
      for( Packet& packet : packets_ ) {
         const Sim::Verdict verdict = verdictIn( session_, packet.scene );
         Fate fate = fateOf( verdict );
         if( packet.seen.empty() || !( packet.seen.back().fate == fate ) )
            packet.seen.push_back( { std::move( fate ), call->number,
               session_.packets().engine().summary( verdict ) } );
      }
   }
   /// "explain ...: what becomes of it" where that is neither the first nor the last of the packet, or the first again after
   /// the last; with the records between which it was.
   std::multiset<std::string> meanwhile( bool withRecords ) const
   {
      std::multiset<std::string> all;
      for( const Packet& packet : packets_ ) {
         const std::vector<Seen>& seen = packet.seen;
         const auto arrived = std::ranges::find( seen, seen.back().fate, &Seen::fate );
         for( auto now = seen.begin(); now != seen.end(); ++now )
            if( now->fate != seen.back().fate &&
                ( now->fate != seen.front().fate || now > arrived ) )
               all.insert( text( packet.command, now->summary, withRecords ? now->record : 0,
                  withRecords ? std::next( now )->record : 0 ) );
      }
      return all;
   }
   std::vector<Fate> last() const
   {
      std::vector<Fate> all;
      for( const Packet& packet : packets_ )
         all.push_back( packet.seen.back().fate );
      return all;
   }
   static std::string text(
      const std::string& command, const std::string& summary, U64 from, U64 to )
   {
      return command + ": " + summary.substr( 0, summary.find( ", as " ) ) + " " +
             std::to_string( from ) + "-" +
             std::to_string( to ); // frames are told where texts are alike
   }

 private:
   static Fate fateOf( const Sim::Verdict& verdict )
   {
      Fate fate;
      for( const Sim::PassVerdict& pass : verdict.passes ) {
         std::ranges::copy( pass.departures, std::back_inserter( fate.departures ) );
         if( pass.cpu )
            fate.copies.emplace_back( pass.cpu->unit, pass.cpu->queue, pass.cpu->frame );
         if( pass.learning )
            fate.learned.push_back( *pass.learning );
      }
      return fate;
   }

   struct Seen
   {
      Fate fate;
      U64 record;
      std::string summary;
   };
   struct Packet
   {
      std::string command;
      Scene scene;
      std::vector<Seen> seen; // each with another fate than the one before
   };
   Session& session_;
   std::vector<Packet> packets_;
   std::set<Lines> known_;
};

} // namespace Strata::Tool
