#include "tool/packet/Transients.h"

#include "cover/Solver.h"
#include "platform/runtime/Activity.h"
#include "tool/ChildProcess.h"
#include "tool/RunListener.h"
#include "tool/Session.h"
#include "tool/packet/EntryCover.h"
#include "tool/packet/TableTrial.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
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
   std::string range; // empty for a probe
   U32 unit;
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
         packets_.push_back( { packet.name, packet.range, packet.unit, packet.commands(),
            sceneOf( session_, packet.rows, packet.packet ) } );
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
            packets_.push_back( { name, {}, 0, { "explain probe " + name },
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
         all.push_back( { .packet = packet.name,
            .range = packet.range,
            .unit = packet.unit,
            .place = packet.range.empty() ? "" : rangeText( session_, packet.range, packet.unit ),
            .commands = packet.commands,
            .from = moments[ at ].record,
            .to = moments[ at + 1 ].record,
            .call = moments[ at ].call,
            .endedBy = moments[ at + 1 ].call,
            .before = text( moments.front() ),
            .meanwhile = text( moments[ at ] ),
            .after = text( moments.back() ) } );
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

std::vector<EntryPacket> packetsOf( Session& session )
{
   return Cover::Solver::available() ? entryPackets( session ) : std::vector<EntryPacket>();
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
   for( const EntryPacket& packet : packetsOf( session ) )
      channel.send( packetForm, packet.line() );
}

ChildEnd rehearsed( Session& session, const Act& act )
{
   return runInChild( [ & ]( ChildChannel& channel ) { runInCopy( session, act, channel ); } );
}

/// Why the file beside the scenario accepts each packet, by its name or "*". InputError at a line that accepts nothing.
std::map<std::string, std::string> acceptedReasons(
   const std::string& scenario, const std::string& command )
{
   constexpr std::string_view arrow = " => ";
   std::map<std::string, std::string> reasons;
   const auto path = std::filesystem::path( scenario ).replace_extension( ".transients" );
   std::ifstream file( path );
   U32 number = 0;
   for( std::string line; std::getline( file, line ); ) {
      ++number;
      if( line.empty() || line.starts_with( '#' ) )
         continue;
      const std::size_t first = line.find( arrow );
      const std::size_t second = first == line.npos ? first : line.find( arrow, first + 1 );
      if( second == line.npos )
         throw InputError( { .file = path, .number = number, .text = line, .words = {} }, 1,
            static_cast<U32>( line.size() ),
            "a line is 'COMMAND => PACKET => REASON', or starts with '#'" );
      const std::string accepted = line.substr( 0, first );
      const std::size_t packet = first + arrow.size();
      if( accepted == "*" || command == accepted )
         reasons.emplace(
            line.substr( packet, second - packet ), line.substr( second + arrow.size() ) );
   }
   return reasons;
}

/// Runs the act, which has been rehearsed and got through.
std::vector<Transient> watched( Session& session, const Act& act, const ChildEnd& copy )
{
   Watch watch( session );
   const auto has = [ & ]( char form ) {
      return std::ranges::find( copy.lines, form, &std::pair<char, std::string>::first ) !=
             copy.lines.end();
   };
   if( !has( changedForm ) ) {
      act( session );
      return {};
   }
   for( const EntryPacket& packet : packetsOf( session ) )
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

std::vector<Transient> judged( Session& session, const Act& act, const ChildEnd& copy,
   const std::string& scenario, const std::string& command )
{
   const std::map<std::string, std::string> reasons = acceptedReasons( scenario, command );
   std::vector<Transient> all = watched( session, act, copy );
   for( Transient& transient : all )
      for( const std::string& packet : { transient.packet, std::string( "*" ) } )
         if( const auto at = reasons.find( packet ); at != reasons.end() && !transient.reason )
            transient.reason = at->second;
   if( RunListener* const listener = session.console().listener() )
      listener->watched( all );
   return all;
}

} // namespace

std::vector<Transient> runWatched(
   Session& session, const Act& act, const Words& words, const std::string& command )
{
   const ChildEnd copy = rehearsed( session, act );
   if( !copy.gotThrough() )
      words.failAt( words.line().words.front(), "the command " + copy.obstacle() );
   return judged( session, act, copy, words.line().file, command );
}

void runWatchedForListener( Session& session, const Act& act, const Line& line )
{
   if( const ChildEnd copy = rehearsed( session, act ); copy.gotThrough() )
      judged( session, act, copy, line.file, commandText( line ) );
   else
      act( session );
}

} // namespace Strata::Tool
