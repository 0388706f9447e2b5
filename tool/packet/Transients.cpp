#include "tool/packet/Transients.h"

#include "platform/runtime/Activity.h"
#include "tool/ChildProcess.h"
#include "tool/Session.h"
#include "tool/packet/EntryCover.h"
#include "tool/packet/TableTrial.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <set>

namespace Strata::Tool {

namespace {

constexpr char packetForm = 'P';
constexpr char changedForm = 'C'; // the command changes a chip

/// A packet that is evaluated again and again.
struct Watched
{
   std::string name;
   std::vector<std::string> commands;
   Scene scene;
   struct Moment
   {
      U64 record; // 0: before the first
      std::string call;
      Sim::Verdict verdict;
   };
   std::vector<Moment> moments{}; // each with another verdict than the one before
};

class Watch
{
 public:
   explicit Watch( Session& session ) : session_( session ) {}

   void add( const EntryPacket& packet )
   {
      if( !known_.insert( packet.commands() ).second )
         return;
      try {
         packets_.push_back(
            { packet.name, packet.commands(), sceneOf( session_, packet.rows, packet.packet ) } );
      } catch( const InputError& ) {
         // Before the command there is no such port or VLAN.
      }
   }
   void addProbes()
   {
      const Sim::Chips& chips = session_.agent().hardware().chips();
      for( const auto& [ name, probe ] : session_.probes() )
         if( const auto chip = chips.find( probe.arrival.port.unit );
             chip != chips.end() && chip->second.ports().contains( probe.arrival.port.port ) )
            packets_.push_back( { name, { "explain probe " + name },
               { session_.packets().tables(), probe.arrival } } );
   }

   void look( U64 record, const std::string& call )
   {
      for( Watched& packet : packets_ ) {
         Sim::Verdict verdict = verdictIn( session_, packet.scene );
         if( packet.moments.empty() ||
             !Cover::sameEffect( packet.moments.back().verdict, verdict ) )
            packet.moments.push_back( { record, call, std::move( verdict ) } );
      }
   }

   std::vector<Transient> transients() const
   {
      std::vector<Transient> all;
      for( const Watched& packet : packets_ )
         add( packet, all );
      return all;
   }

 private:
   /// Verdicts between the first and the last are neither the old nor the new one, or go back.
   void add( const Watched& packet, std::vector<Transient>& all ) const
   {
      const auto text = [ this ]( const Watched::Moment& moment ) {
         return session_.packets().engine().summary( moment.verdict );
      };
      const auto& moments = packet.moments;
      for( std::size_t at = 1; at + 1 < moments.size(); ++at )
         all.push_back( { packet.name, packet.commands, moments[ at ].record,
            moments[ at + 1 ].record, moments[ at ].call, moments[ at + 1 ].call,
            text( moments.front() ), text( moments[ at ] ), text( moments.back() ) } );
   }

   Session& session_;
   std::vector<Watched> packets_;
   std::set<std::vector<std::string>> known_;
};

/// Whether it is of a write that changes a chip.
bool isChange( const Sim::Record& record )
{
   return record.field( "write" ) == "changed";
}

/// What a copy of the process sends that runs the act: packets of afterwards, if it changes a chip; else nothing.
void runInCopy( Session& session, const Act& act, ChildChannel& channel )
{
   session.childOf( channel );
   bool changed = false;
   {
      const Listening listening(
         session, [ & ]( const Sim::Record& record ) { changed = changed || isChange( record ); } );
      act( session );
   }
   if( !changed )
      return;
   channel.send( changedForm, {} );
   for( const EntryPacket& packet : entryPackets( session ) )
      channel.send( packetForm, packet.line() );
}

} // namespace

std::vector<Transient> runWatched( Session& session, const Act& act, const Words& words )
{
   const ChildEnd copy =
      runInChild( [ & ]( ChildChannel& channel ) { runInCopy( session, act, channel ); } );
   if( copy.how != "ended with status 0" )
      words.failAt( words.line().words.front(),
         "in a copy of the process the command " + copy.how + ": " + copy.errorText );
   Watch watch( session );
   const auto has = [ & ]( char form ) {
      return std::ranges::find( copy.lines, form, &std::pair<char, std::string>::first ) !=
             copy.lines.end();
   };
   if( !has( changedForm ) ) {
      act( session );
      return {};
   }
   for( const EntryPacket& packet : entryPackets( session ) )
      watch.add( packet );
   for( const auto& [ form, line ] : copy.lines )
      if( form == packetForm )
         watch.add( EntryPacket::of( line ) );
   watch.addProbes();
   watch.look( 0, {} );
   {
      const Listening listening( session, [ & ]( const Sim::Record& record ) {
         if( !isChange( record ) )
            return;
         // It is released for the length of an SDK call.
         std::optional<Vormel::LockAnchor> lock;
         if( !Vormel::activityLock().heldByThisThread() )
            lock.emplace( Vormel::activityLock() );
         watch.look( record.number, record.text );
      } );
      act( session );
   }
   return watch.transients();
}

std::set<std::string> acceptedTransients( const std::string& scenario, const std::string& command )
{
   constexpr std::string_view arrow = " => ";
   std::set<std::string> packets;
   std::ifstream file( std::filesystem::path( scenario ).replace_extension( ".transients" ) );
   for( std::string line; std::getline( file, line ); ) {
      const std::size_t first = line.find( arrow );
      if( line.starts_with( '#' ) || first == line.npos )
         continue;
      const std::size_t behind = first + arrow.size();
      const std::string accepted = line.substr( 0, first );
      if( accepted == "*" || command == accepted )
         packets.insert( line.substr( behind, line.find( arrow, behind ) - behind ) );
   }
   return packets;
}

} // namespace Strata::Tool
