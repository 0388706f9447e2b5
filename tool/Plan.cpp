#include "tool/Plan.h"

#include "tool/ChildProcess.h"
#include "tool/Interrupt.h"
#include "tool/Session.h"
#include "tool/packet/EntryCover.h"
#include "tool/packet/ExplanationView.h"
#include "tool/packet/TableTrial.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <utility>

namespace Strata::Tool {

namespace {

using Json = nlohmann::ordered_json;

/// What the copy sends: a line for each call and for the first refused claim, and one for the outcome.
enum Form : char
{
   callForm = 'C',
   changingForm = 'W',
   redundantForm = 'R',
   claimForm = 'F',
   refusalForm = 'I',
   outcomeForm = 'O',
};

/// Output of the copy that is not wanted.
class NoChannel : public ChildChannel
{
 public:
   void send( char, std::string_view ) override {}
};

using UnitRange = std::pair<U32, std::string>;

/// How many entries of each range are used.
std::map<UnitRange, U32> usedRoom( const Sim::SimSwitch& hardware )
{
   std::map<UnitRange, U32> used;
   for( const auto& [ unit, chip ] : hardware.chips() )
      for( const Sim::FieldGroup& group : chip.groups() )
         used[ { unit, group.profile().name } ] = group.room() - group.roomLeft();
   return used;
}

/// A verdict and its text. None of a packet that cannot be.
using Seen = std::optional<std::pair<Desk::ProbeVerdict, std::string>>;

/// Of the probes, in the order of their names, then of the packets.
std::vector<Seen> verdictsOf(
   Session& session, const Desk::Probes& probes, const std::vector<EntryPacket>& packets )
{
   const Sim::PacketEngine& engine = session.packets().engine();
   std::vector<Seen> all;
   const auto add = [ & ]( const std::optional<Desk::ProbeVerdict>& verdict ) {
      all.push_back( verdict ? Seen( { *verdict, verdict->text( engine ) } ) : std::nullopt );
   };
   for( const auto& [ name, probe ] : probes )
      add( Desk::ProbeVerdict( engine, probe.arrival ) );
   for( const EntryPacket& packet : packets )
      add( probeAfter( session, packet.rows, packet.packet ) );
   return all;
}

/// The texts of both; none if they are equal, or one is not there.
std::optional<std::pair<std::string, std::string>> change( const Seen& before, const Seen& after )
{
   if( !before || !after || before->first == after->first )
      return std::nullopt;
   const bool same = before->second == after->second;
   const auto text = [ same ]( const auto& seen ) {
      const auto& [ verdict, words ] = *seen;
      return same && verdict.verdict() ? withFrames( *verdict.verdict(), words ) : words;
   };
   return std::pair( text( before ), text( after ) );
}

Json textOrNull( const std::optional<std::string>& text )
{
   return text ? Json( *text ) : Json();
}

std::optional<std::string> orNone( const Json& text )
{
   return text.is_null() ? std::nullopt : std::optional( text.get<std::string>() );
}

/// Runs the command in the copy.
class Copy
{
 public:
   Copy( Session& session, ChildChannel& channel, const std::vector<EntryPacket>& packets )
      : session_( session ),
        channel_( channel ),
        packets_( packets )
   {}

   void run( const Line& line, const Act& act, bool unlimited )
   {
      const Desk::SwitchState before( hardware() );
      const Desk::Probes probes = session_.probes(); // the command may change them
      const std::vector<Seen> verdicts = verdictsOf( session_, probes, packets_ );
      for( auto& [ unit, chip ] : hardware().chips() )
         for( Sim::FieldGroup& group : chip.groups() )
            if( unlimited )
               group.roomIs( group.profile().size );
      peak_ = usedRoom( hardware() );
      session_.childOf( none_ );
      session_.listenerIs(
         [ this ]( const Session&, const Sim::Record& record ) { heard( record ); } );
      hardware().causeIs( commandText( line ) );
      try {
         act( session_ );
      } catch( const InputError& error ) {
         channel_.send( refusalForm,
            error.file() + ":" + std::to_string( error.line() ) + ": " + error.problem() );
         return;
      }
      if( session_.hasAgent() )
         send( before, verdicts, verdictsOf( session_, probes, packets_ ) );
   }

 private:
   Sim::SimSwitch& hardware() { return session_.agent().hardware(); }

   void heard( const Sim::Record& record )
   {
      if( record.kind == Sim::RecordKind::claim )
         channel_.send( claimForm, record.text );
      if( !isCall( record ) )
         return;
      const std::string effect = record.field( "write" );
      channel_.send( effect.empty()        ? callForm
                     : effect == "changed" ? changingForm
                                           : redundantForm,
         record.text );
      if( record.field( "call" ) == "getEntry" && session_.hasAgent() )
         for( const auto& [ place, used ] : usedRoom( hardware() ) )
            peak_[ place ] = std::max( peak_[ place ], used );
   }

   void send( const Desk::SwitchState& before, const std::vector<Seen>& verdicts,
      const std::vector<Seen>& after )
   {
      Json outcome{
         { "changes", Json::array() }, { "used", Json::array() }, { "packets", Json::array() } };
      for( const Desk::Difference& row :
         Desk::differences( before, Desk::SwitchState( hardware() ) ) )
         outcome[ "changes" ].push_back(
            { static_cast<U32>( row.key.kind ), row.key.number, row.key.port, row.key.unit,
               row.part, row.field, textOrNull( row.before ), textOrNull( row.after ) } );
      for( const auto& [ place, used ] : usedRoom( hardware() ) )
         outcome[ "used" ].push_back(
            { place.first, place.second, std::max( used, peak_[ place ] ), used } );
      for( std::size_t at = 0; at < verdicts.size(); ++at )
         if( const auto texts = change( verdicts[ at ], after[ at ] ) )
            outcome[ "packets" ].push_back( { at, texts->first, texts->second } );
      channel_.send( outcomeForm, outcome.dump( -1, ' ', false, Json::error_handler_t::replace ) );
   }

   Session& session_;
   ChildChannel& channel_;
   const std::vector<EntryPacket>& packets_;
   NoChannel none_;
   std::map<UnitRange, U32> peak_;
};

void readOutcome( Plan& plan, const Json& outcome, const Sim::SimSwitch& hardware )
{
   for( const Json& row : outcome.at( "changes" ) )
      plan.changes.push_back( { .key = { static_cast<Desk::PartKind>( row[ 0 ].get<U32>() ),
                                   row[ 1 ], row[ 2 ], row[ 3 ] },
         .part = row[ 4 ],
         .field = row[ 5 ],
         .before = orNone( row[ 6 ] ),
         .after = orNone( row[ 7 ] ) } );
   const std::map<UnitRange, U32> before = usedRoom( hardware );
   for( const auto& [ unit, chip ] : hardware.chips() )
      for( const Sim::FieldGroup& group : chip.groups() )
         for( const Json& row : outcome.at( "used" ) )
            if( row[ 0 ] == unit && row[ 1 ] == group.profile().name ) {
               const U32 used = group.room() - group.roomLeft();
               const U32 peak = row[ 2 ];
               const U32 after = row[ 3 ];
               const U32 most = group.capacity();
               plan.rooms.push_back(
                  { unit, group.profile().name, most, most - std::min( used, most ),
                     peak - std::min( used, peak ), most - std::min( after, most ) } );
            }
}

void readPackets( Plan& plan, const Json& outcome, const Desk::Probes& probes,
   const std::vector<EntryPacket>& packets )
{
   for( const Json& row : outcome.at( "packets" ) ) {
      const std::size_t at = row[ 0 ];
      if( at < probes.size() ) {
         plan.probes.push_back(
            { std::next( probes.begin(), static_cast<std::ptrdiff_t>( at ) )->first, {}, row[ 1 ],
               row[ 2 ] } );
         continue;
      }
      const EntryPacket& packet = packets[ at - probes.size() ];
      plan.packets.push_back(
         { packet.name, packet.commands(), row[ 1 ], row[ 2 ], packet.range, packet.unit } );
   }
}

Plan planIn( Session& session, const Line& line, const Act& act, bool unlimited,
   const std::vector<EntryPacket>& packets )
{
   const ChildEnd end = runInChild( [ & ]( ChildChannel& channel ) {
      Copy( session, channel, packets ).run( line, act, unlimited );
   } );
   safePoint( [] { return "in the copy of the process, which has ended"; } );
   Plan plan;
   Json outcome;
   bool complete = false;
   for( const auto& [ form, text ] : end.lines )
      switch( form ) {
      case redundantForm:
         ++plan.redundant;
         [[fallthrough]];
      case changingForm:
         ++plan.writes;
         [[fallthrough]];
      case callForm:
         plan.calls.push_back( text );
         break;
      case claimForm:
         if( plan.refusedClaim.empty() )
            plan.refusedClaim = text;
         break;
      case refusalForm:
         plan.end = "it would be refused: " + text;
         break;
      case outcomeForm:
         outcome = Json::parse( text );
         readOutcome( plan, outcome, session.agent().hardware() );
         readPackets( plan, outcome, session.probes(), packets );
         complete = true;
         break;
      default:
         break;
      }
   if( !complete && plan.end.empty() && !end.gotThrough() )
      plan.end = "it " + end.obstacle();
   return plan;
}

/// Packets for the entries of before the command and of after it, each once.
std::vector<EntryPacket> packetsAround( Session& session, const Planned& planned )
{
   std::vector<EntryPacket> all;
   std::set<std::vector<std::string>> known;
   const auto add = [ & ]( EntryPacket packet ) {
      if( known.insert( packet.commands() ).second )
         all.push_back( std::move( packet ) );
   };
   for( EntryPacket& packet : entryPackets( session ) )
      add( std::move( packet ) );
   const Look later = lookAfter( session, planned, [ & ]( ChildChannel& channel ) {
      if( session.hasAgent() )
         for( const EntryPacket& packet : entryPackets( session ) )
            channel.send( {}, packet.line() );
   } );
   for( const auto& [ form, line ] : later.lines )
      add( EntryPacket::of( line ) );
   return all;
}

} // namespace

Plan planOf( Session& session, const Line& line, const Act& act, bool withPackets )
{
   std::vector<EntryPacket> packets;
   if( withPackets )
      packets = packetsAround( session, { line, act } );
   Plan plan = planIn( session, line, act, false, packets );
   if( !plan.refusedClaim.empty() ) // how much room would it need?
      plan.rooms = planIn( session, line, act, true, {} ).rooms;
   return plan;
}

Planned takePlanned( const Session& session, Words& words )
{
   if( words.done() )
      words.failAtEnd( "expected a command" );
   Line line = words.line();
   if( const Word* const last = words.last() )
      line.words.erase(
         line.words.begin(), line.words.begin() + ( last - words.line().words.data() ) + 1 );
   const Word* const first = words.peek();
   const Command& command = takeCommand( words );
   if( command.shows() || command.name.starts_with( "expect " ) || command.name == "transient" )
      words.failAt( *first, "only what changes something is planned; run '" +
                               std::string( command.name ) + "' itself" );
   session.checkPossible( words, command );
   return { std::move( line ), command.act( session, words ) };
}

Look lookAfter( Session& session, const Planned& planned,
   const std::function<void( ChildChannel& channel )>& look )
{
   const ChildEnd end = runInChild( [ & ]( ChildChannel& channel ) {
      NoChannel none;
      session.childOf( none );
      session.agent().hardware().causeIs( commandText( planned.line ) );
      planned.act( session );
      look( channel );
   } );
   safePoint( [] { return "in the copy of the process, which has ended"; } );
   return end.gotThrough() ? Look{ end.lines, {} } : Look{ {}, end.obstacle() };
}

} // namespace Strata::Tool
