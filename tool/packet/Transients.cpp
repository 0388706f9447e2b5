#include "tool/packet/Transients.h"

#include "cover/Solver.h"
#include "platform/runtime/Activity.h"
#include "tool/ChildProcess.h"
#include "tool/RunListener.h"
#include "tool/Session.h"
#include "tool/packet/AcceptedTransients.h"
#include "tool/packet/EntryCover.h"
#include "tool/packet/ExplanationView.h"
#include "tool/packet/TableTrial.h"

#include <algorithm>
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
   std::string range; // empty for a probe
   U32 unit;
   std::vector<std::string> commands;
   Scene scene;
   struct Moment
   {
      U64 record; // 0: before the first
      std::string call;
      Sim::Verdict verdict;
      std::string text; // with the names of then
   };
   std::vector<Moment> moments{}; // each with another effect than the one before
   std::string latest{};          // the text of the last look
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
         packet.latest = session_.packets().engine().summary( verdict );
         if( packet.moments.empty() ||
             !Cover::sameEffect( packet.moments.back().verdict, verdict ) )
            packet.moments.push_back( { record, call, std::move( verdict ), packet.latest } );
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
   /// A verdict is a transient unless it is the new one, or the old one before it was the new one for the first time.
   void add( const Watched& packet, std::vector<Transient>& all ) const
   {
      const auto& moments = packet.moments;
      const Sim::Verdict& before = moments.front().verdict;
      const Sim::Verdict& after = moments.back().verdict;
      bool wasNew = Cover::sameEffect( before, after );
      for( std::size_t at = 1; at + 1 < moments.size(); ++at ) {
         const Sim::Verdict& now = moments[ at ].verdict;
         const bool isOld = Cover::sameEffect( now, before );
         const bool isNew = Cover::sameEffect( now, after );
         wasNew = wasNew || isNew;
         if( isNew || ( isOld && !wasNew ) )
            continue;
         const std::string& meanwhile = moments[ at ].text;
         const bool alike =
            ( !isOld && meanwhile == moments.front().text ) || meanwhile == packet.latest;
         const auto text = [ alike ]( const Sim::Verdict& verdict, const std::string& words ) {
            return alike ? withFrames( verdict, words ) : words;
         };
         all.push_back( { .packet = packet.name,
            .range = packet.range,
            .unit = packet.unit,
            .place = packet.range.empty() ? "" : rangeText( session_, packet.range, packet.unit ),
            .commands = packet.commands,
            .from = moments[ at ].record,
            .to = moments[ at + 1 ].record,
            .call = moments[ at ].call,
            .endedBy = moments[ at + 1 ].call,
            .before = text( before, moments.front().text ),
            .meanwhile = text( now, meanwhile ),
            .after = text( after, packet.latest ) } );
      }
   }

   Session& session_;
   std::vector<Watched> packets_;
   std::set<std::vector<std::string>> known_;
};

/// Whether it is of a write that changes a chip, or of what the switch itself does to its chips.
bool isChange( const Sim::Record& record )
{
   return record.field( "write" ) == "changed" || record.kind == Sim::RecordKind::note;
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
   const Line& line, const std::string& command )
{
   AcceptedTransients& accepted = session.acceptedTransients();
   std::vector<AcceptedTransients::Rule> rules;
   try {
      rules = accepted.rulesFor( line, command );
   } catch( const InputError& ) {
      if( session.passesRefused() )
         act( session ); // for the lines behind it
      throw;
   }
   std::vector<Transient> all = watched( session, act, copy );
   accepted.accept( all, rules );
   if( RunListener* const listener = session.console().listener() )
      listener->watched( all );
   return all;
}

} // namespace

std::vector<Transient> runWatched(
   Session& session, const Act& act, const Words& words, const std::string& command )
{
   const ChildEnd copy = rehearsed( session, act );
   if( copy.wasRefused() ) {
      act( session ); // says why, at the word
      return {};
   }
   if( !copy.gotThrough() )
      words.failAt( words.line().words.front(), "the command " + copy.obstacle() );
   return judged( session, act, copy, words.line(), command );
}

void runWatchedForListener( Session& session, const Act& act, const Line& line )
{
   if( const ChildEnd copy = rehearsed( session, act ); copy.gotThrough() )
      judged( session, act, copy, line, commandText( line ) );
   else
      act( session );
}

} // namespace Strata::Tool
