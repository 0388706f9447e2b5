#include "tool/Plan.h"

#include "tool/ChildProcess.h"
#include "tool/Interrupt.h"
#include "tool/Session.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
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

/// The verdicts of the probes, and their texts.
struct Verdicts
{
   explicit Verdicts( Session& session )
   {
      const Sim::PacketEngine& engine = session.packets().engine();
      for( const auto& [ name, probe ] : session.probes() ) {
         const Desk::ProbeVerdict verdict( engine, probe.arrival );
         all.try_emplace( name, verdict, verdict.text( engine ) );
      }
   }

   std::map<std::string, std::pair<Desk::ProbeVerdict, std::string>> all;
};

/// The text with the frames that leave, for verdicts that differ in these alone.
std::string withFrames( const Desk::ProbeVerdict& verdict, std::string text )
{
   if( verdict.verdict() )
      for( const Sim::Departure* const departure : verdict.verdict()->departures() )
         text += ", as " + departure->frame.text();
   return text;
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
   Copy( Session& session, ChildChannel& channel ) : session_( session ), channel_( channel ) {}

   void run( const Line& line, const Act& act, bool unlimited )
   {
      const Desk::SwitchState before( hardware() );
      const Verdicts verdicts( session_ );
      for( auto& [ unit, chip ] : hardware().chips() )
         for( Sim::FieldGroup& group : chip.groups() )
            if( unlimited )
               group.roomIs( group.profile().size );
      peak_ = usedRoom( hardware() );
      session_.childOf( none_, [ this ]( const Sim::Record& record ) { heard( record ); } );
      hardware().causeIs( commandText( line ) );
      try {
         act( session_ );
      } catch( const InputError& error ) {
         channel_.send( refusalForm,
            error.file() + ":" + std::to_string( error.line() ) + ": " + error.problem() );
         return;
      }
      if( session_.hasAgent() )
         send( before, verdicts );
   }

 private:
   Sim::SimSwitch& hardware() { return session_.agent().hardware(); }

   void heard( const Sim::Record& record )
   {
      if( record.kind == Sim::RecordKind::claim )
         channel_.send( claimForm, record.text );
      if( record.kind != Sim::RecordKind::call && record.kind != Sim::RecordKind::entry )
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

   void send( const Desk::SwitchState& before, const Verdicts& verdicts )
   {
      Json outcome{
         { "changes", Json::array() }, { "used", Json::array() }, { "probes", Json::array() } };
      for( const Desk::Difference& row :
         Desk::differences( before, Desk::SwitchState( hardware() ) ) )
         outcome[ "changes" ].push_back(
            { static_cast<U32>( row.key.kind ), row.key.number, row.key.port, row.key.unit,
               row.part, row.field, textOrNull( row.before ), textOrNull( row.after ) } );
      for( const auto& [ place, used ] : usedRoom( hardware() ) )
         outcome[ "used" ].push_back(
            { place.first, place.second, std::max( used, peak_[ place ] ), used } );
      const Verdicts after( session_ );
      for( const auto& [ name, was ] : verdicts.all )
         if( const auto& is = after.all.at( name ); !( was.first == is.first ) ) {
            const bool same = was.second == is.second;
            outcome[ "probes" ].push_back(
               { name, same ? withFrames( was.first, was.second ) : was.second,
                  same ? withFrames( is.first, is.second ) : is.second } );
         }
      channel_.send( outcomeForm, outcome.dump( -1, ' ', false, Json::error_handler_t::replace ) );
   }

   Session& session_;
   ChildChannel& channel_;
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
   for( const Json& row : outcome.at( "probes" ) )
      plan.probes.push_back( { row[ 0 ], row[ 1 ], row[ 2 ] } );
   const std::map<UnitRange, U32> before = usedRoom( hardware );
   for( const auto& [ unit, chip ] : hardware.chips() )
      for( const Sim::FieldGroup& group : chip.groups() )
         for( const Json& row : outcome.at( "used" ) )
            if( row[ 0 ] == unit && row[ 1 ] == group.profile().name ) {
               const U32 used = group.room() - group.roomLeft();
               const U32 peak = row[ 2 ];
               const U32 after = row[ 3 ];
               plan.rooms.push_back( { unit, group.profile().name, group.room(), group.roomLeft(),
                  peak - std::min( used, peak ), group.room() - std::min( after, group.room() ) } );
            }
}

/// The line of the last words of a process that says why it died: the call that failed, or else the last one.
std::string whyItDied( const std::string& words )
{
   std::istringstream lines( words );
   std::string why;
   for( std::string line; std::getline( lines, line ) && why.find( "API ERROR:" ) == why.npos; )
      why = line;
   return why;
}

Plan planIn( Session& session, const Line& line, const Act& act, bool unlimited )
{
   const ChildEnd end = runInChild(
      [ & ]( ChildChannel& channel ) { Copy( session, channel ).run( line, act, unlimited ); } );
   safePoint( [] { return "in the copy of the process, which has ended"; } );
   Plan plan;
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
         readOutcome( plan, Json::parse( text ), session.agent().hardware() );
         complete = true;
         break;
      default:
         break;
      }
   if( !complete && plan.end.empty() && end.how != "ended with status 0" )
      plan.end =
         "it would die: " + ( end.errorText.empty() ? end.how : whyItDied( end.errorText ) );
   return plan;
}

} // namespace

Plan planOf( Session& session, const Line& line, const Act& act )
{
   Plan plan = planIn( session, line, act, false );
   if( !plan.refusedClaim.empty() ) // how much room would it need?
      plan.rooms = planIn( session, line, act, true ).rooms;
   return plan;
}

} // namespace Strata::Tool
