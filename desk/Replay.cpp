#include "desk/Replay.h"

#include "desk/RecordMeaning.h"
#include "desk/RecordedHardware.h"
#include "desk/RecordedObjects.h"
#include "desk/ReplayAnswers.h"
#include "platform/runtime/Activity.h"
#include "platform/runtime/Assert.h"
#include "platform/runtime/Clock.h"
#include "recording/Recorder.h"
#include "routing/reactors/L3PeerMacArpRedirectSm.h"
#include "routing/reactors/RoutingStatusSm.h"

#include <algorithm>
#include <array>
#include <deque>
#include <iostream>
#include <tuple>
#include <utility>

namespace Strata::Desk {

namespace {

using Kind = RecordedKind;

constexpr std::string_view mainReactor = "RoutingStatusSm";
constexpr std::string_view arpReactor = "L3PeerMacArpRedirectSm";

/// Nothing reads its transcript. The same numbers of the SDK in each replay, so that each finds the same.
Sim::SimSwitchConfig quiet( Sim::SimSwitchConfig config )
{
   config.record = false;
   config.seed = 17;
   return config;
}

/// One replay.
class Player final : public Answers
{
 public:
   Player( const RecordingFile& recording, const ReplayListener& listener, bool goesOn )
      : recording_( recording ),
        listener_( listener ),
        goesOn_( goesOn ),
        hardware_( quiet( hardwareOf( recording ) ) ),
        shim_( hardware_.shim(), *this ),
        recorder_( [ this ]( std::string_view record ) { did( record ); } ),
        objects_( recording, hardware_ )
   {
      hardware_.critic().collect(); // whether the agent keeps the conventions is not the question
      hardware_.transcript().keepIs( false );
      fatalSink_ = Vormel::fatalSinkIs( [ this ]( std::string_view line ) {
         std::cerr << line << std::endl;
         died( line );
      } );
      Vormel::activityManager().clockIs( clock_ );
      sdkShimIs( &recorder_.shim( shim_ ) );
      recorder_.clock( *clock_ );
      makeManagers();
   }
   Player( const Player& ) = delete;
   Player& operator=( const Player& ) = delete;
   ~Player() override
   {
      main_ = nullptr;
      arpRedirect_ = nullptr;
      sdkShimIs( &hardware_.observedShim() );
      Vormel::activityManager().clockIs( std::make_shared<Vormel::RealClock>() );
      Vormel::fatalSinkIs( std::move( fatalSink_ ) );
   }

   void run();

   std::optional<Json> endOfCall() override;
   std::optional<Json> answerTo( std::string_view question ) override;
   void fail( const std::string& what ) override
   {
      refuse( RecordingError( recording_.name(), at()->line, what ).what() );
   }

 private:
   /// The next record, with a number below the limit, that is compared; sets what the others before it tell. Null if
   /// there is none.
   const RecordedLine* next( U64 limit = ~U64() );
   template<class Work>
   void withLock( const Work& work );
   const RecordedLine* at() const
   {
      return position_ < recording_.records().size() ? &recording_.records()[ position_ ]
                                                     : &recording_.records().back();
   }
   /// What the slice, or the recorder for the agent, does at present.
   void did( std::string_view text );
   void compare( Kind kind, const Json& today );
   template<class Work>
   void unlessRefused( const Work& work );
   void same( const RecordedLine& record );
   void diverged( const RecordedLine* recorded, const Json* today );
   /// Searches what the slice did in the rest of the event.
   std::optional<std::size_t> findInEvent( const Json& today ) const;
   void deliver( const RecordedLine& record );
   void perform( const RecordedLine& record, const Json& json );
   void end( std::string why );
   void refuse( const std::string& what );
   void died( std::string_view line );
   ReplayEnd endHere( std::string why ) const { return { compared_, std::move( why ), at() }; }

   void makeManagers();
   void stateIs( const RecordedLine& record );
   void change( const RecordedLine& record, const Json& json );
   void call( const Json& json );
   void make( const RecordedLine& record, const Json& json );
   template<class Reactor, class... Parameters>
   Ref<Reactor> madeBy(
      Ref<Reactor> ( *factory )( Parameters... ), const RecordedLine& record, const Json& json );
   [[noreturn]] void failReactor( const RecordedLine& record, const std::string& what ) const;
   void drop( const RecordedLine& record, const std::string& what );
   void runHandler( const RecordedLine& record, const std::string& what );
   void expireTimer( const Json& json );

   const RecordingFile& recording_;
   const ReplayListener& listener_;
   const bool goesOn_;
   std::size_t position_ = 0;
   bool over_ = false;                     // nothing is compared any more
   const RecordedLine* calling_ = nullptr; // the recorded call that the slice makes
   std::vector<const RecordedLine*> open_; // calls by the agent that have not returned
   const RecordedLine* event_ = nullptr;
   std::deque<const RecordedLine*> before_;
   std::size_t compared_ = 0;

   const std::shared_ptr<Vormel::ManualClock> clock_ = std::make_shared<Vormel::ManualClock>();
   Sim::SimSwitch hardware_;
   Vormel::FatalSink fatalSink_;
   AnsweringShim shim_;
   RecordedManagers managers_;
   Recorder recorder_;
   RecordedObjects objects_;
   Ref<RoutingStatusSm> main_;
   Ref<L3PeerMacArpRedirectSm> arpRedirect_;
};

void Player::makeManagers()
{
   for( const RecordedLine& record : recording_.records() )
      if( record.kind == Kind::manager ) {
         const Json json = record.json();
         const std::string name = decodedText( json.at( "manager" ) );
         managers_.insert_or_assign(
            name, Vormel::make<AnsweringManager>( name, json.at( "baseEntryId" ).get<U32>(),
                     managerNamed( hardware_, name ), shim_, *this ) );
      }
   for( const auto& [ name, manager ] : managers_ )
      if( !groupNamed( name ) ) // the group manager's own are recorded when it is asked
         objects_.add( name, recorder_.manager( name, manager ) );
   objects_.groupManagerIs(
      recorder_.groupManager( Vormel::make<AnsweringGroupManager>( managers_, *this ) ) );
   objects_.portSwTableIs( recorder_.portSwTable( Vormel::make<AnsweringPortSwTable>( *this ) ) );
}

const RecordedLine* Player::next( U64 limit )
{
   const auto& records = recording_.records();
   for( ; position_ < records.size() && records[ position_ ].number < limit; ++position_ ) {
      const RecordedLine& record = records[ position_ ];
      if( isCompared( record.kind ) )
         return &record;
      if( record.kind == Kind::unit )
         withLock( [ & ] { setUnit( recording_, record, *hardware_.scsd() ); } );
      else if( record.kind == Kind::state )
         withLock( [ & ] { stateIs( record ); } );
   }
   return nullptr;
}

void Player::stateIs( const RecordedLine& record )
{
   const auto [ name, object ] = objects_.stateIs( record );
   if( auto* const helper = dynamic_cast<RoutingStatusHelper*>( object.get() ) ) {
      objects_.checkIsNew( record, *helper );
      recorder_.helper( Ref<RoutingStatusHelper>( helper ) );
   } else if( object == hardware_.scsd() )
      recorder_.sharedData( hardware_.scsd() );
   else if( !name.ends_with( ']' ) ) // members are watched with their collection
      recorder_.input( name, object );
}

/// Calls of the SDK run without the activity lock.
template<class Work>
void Player::withLock( const Work& work )
{
   if( Vormel::activityLock().heldByThisThread() )
      return work();
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   work();
}

void Player::run()
{
   const auto step = [ & ] {
      const RecordedLine* const record = next();
      if( !record )
         end( "" );
      else if( isInput( record->kind ) )
         deliver( *record );
      else if( record->json().value( "cause", U64( 1 ) ) == 0 )
         recording_.fail( *record,
            "has no cause: the agent has called the slice without the recorder, which cannot be replayed" );
      else
         diverged( record, nullptr );
   };
   while( !over_ )
      unlessRefused( step );
}

/// The slice may be in the middle of its work, so no exception may leave it.
template<class Work>
void Player::unlessRefused( const Work& work )
{
   try {
      work();
   } catch( const std::exception& error ) {
      refuse( error.what() );
   }
}

void Player::deliver( const RecordedLine& record )
{
   const Json json = record.json();
   try {
      perform( record, json );
   } catch( const Vormel::Error& error ) {
      if( !returns( record.kind ) || at() == &record ) // the end of a call has the text
         recording_.fail( record, error.what() );
   }
   if( !over_ && at() == &record )
      ++position_; // it has changed nothing
}

void Player::perform( const RecordedLine& record, const Json& json )
{
   const auto what = [ & ] { return decodedText( json.at( "what" ) ); };
   switch( record.kind ) {
   case Kind::input:
   case Kind::set:
   case Kind::del:
      return change( record, json );
   case Kind::call:
      return call( json );
   case Kind::make:
      return make( record, json );
   case Kind::drop:
      return drop( record, what() );
   case Kind::run:
      return runHandler( record, what() );
   case Kind::timer:
      return expireTimer( json );
   default:
      return;
   }
}

void Player::change( const RecordedLine& record, const Json& json )
{
   const RecordedObjects::Change change = objects_.changeOf( record, json );
   if( record.kind == Kind::set )
      recorder_.set( change.object, *change.attribute, change.key, change.value.value() );
   else if( record.kind == Kind::del )
      recorder_.del( change.object, *change.attribute, change.key );
   else
      change.apply();
}

void Player::call( const Json& json )
{
   std::vector<Vormel::Value> arguments;
   for( const Json& argument : json.at( "arguments" ) )
      arguments.push_back( plainValue( argument ) );
   recorder_.callWith( decodedText( json.at( "operation" ) ), arguments );
}

template<class Reactor, class... Parameters>
Ref<Reactor> Player::madeBy(
   Ref<Reactor> ( *factory )( Parameters... ), const RecordedLine& record, const Json& json )
{
   const Json& names = json.at( "inputs" );
   std::tuple<std::remove_cvref_t<Parameters>...> inputs;
   std::size_t index = 0;
   const auto take = [ & ]<class Type>( Ref<Type>& input ) {
      input = objects_.as<Type>( record, index < names.size() ? names[ index ] : Json() );
      ++index;
   };
   return std::apply(
      [ & ]( auto&... input ) {
         ( take( input ), ... );
         return recorder_.make( decodedText( json.at( "what" ) ), factory, input... );
      },
      inputs );
}

void Player::make( const RecordedLine& record, const Json& json )
{
   const std::string what = decodedText( json.at( "what" ) );
   if( what == mainReactor )
      main_ = madeBy( RoutingStatusSmIs, record, json );
   else if( what == arpReactor )
      arpRedirect_ = madeBy( l3PeerMacArpRedirectSmFactory, record, json );
   else
      failReactor( record, what );
}

void Player::failReactor( const RecordedLine& record, const std::string& what ) const
{
   recording_.fail( record, "has the reactor '" + what + "'; a replay knows " +
                               std::string( mainReactor ) + " and " + std::string( arpReactor ) );
}

void Player::drop( const RecordedLine& record, const std::string& what )
{
   if( what == mainReactor )
      recorder_.drop( what, main_ );
   else if( what == arpReactor )
      recorder_.drop( what, arpRedirect_ );
   else
      failReactor( record, what );
}

struct Handler
{
   std::string_view name;
   void ( *run )( RoutingStatusSm& );
};
// The handlers without arguments that an agent may call.
#define STRATA_HANDLER( name ) \
   Handler \
   { \
#name, []( RoutingStatusSm & reactor ) { reactor.name(); } \
   }
constexpr std::array handlers{ STRATA_HANDLER( handleInitialized ),
   STRATA_HANDLER( handleIntfFlood ), STRATA_HANDLER( doAddOrRemoveLagPortFlood ),
   STRATA_HANDLER( handleStrataIntfToPort ), STRATA_HANDLER( handleStrataPbrEnabled ),
   STRATA_HANDLER( handleVxlanEnabled ), STRATA_HANDLER( handleUnknownMacDrop ),
   STRATA_HANDLER( handleDualHash ), STRATA_HANDLER( handleL2TrafficRoutingStatus ) };
#undef STRATA_HANDLER

void Player::runHandler( const RecordedLine& record, const std::string& what )
{
   const auto known = std::ranges::find( handlers, what, &Handler::name );
   if( known == handlers.end() )
      recording_.fail( record, "calls '" + what + "', which a replay does not know" );
   const Ref<RoutingStatusSm> reactor = main_;
   if( !reactor )
      recording_.fail( record, "calls '" + what + "' before there is a RoutingStatusSm" );
   recorder_.run( what, [ & ] { known->run( *reactor ); } );
}

void Player::expireTimer( const Json& json )
{
   // The times of inputs are not recorded, so a timer may be due somewhat later here.
   const double due = clock_->nextExpiry();
   const double now = json.at( "now" ).get<double>();
   if( due < Vormel::Timer::never )
      clock_->advanceTo( std::max( { now, due, clock_->now() } ) );
   else if( const RecordedLine* const record = next() )
      diverged( record, nullptr );
}

std::optional<Json> Player::endOfCall()
{
   const RecordedLine* const call = std::exchange( calling_, nullptr );
   if( !call )
      return std::nullopt;
   const RecordedLine* const recorded = recording_.endOf( call->number );
   if( !recorded ) {
      const RecordedLine* const further = next();
      if( further )
         refuse( RecordingError(
            recording_.name(), call->line, "the call has no record 'end', and is not the last" )
                    .what() );
      else
         end( "the recording ends within " + recordText( call->json() ) );
      return std::nullopt;
   }
   // What other threads gave to the slice while the call ran with the activity lock released.
   unlessRefused( [ & ] {
      for( const RecordedLine* nested = next( recorded->number );
           nested && !over_ && isInput( nested->kind ); nested = next( recorded->number ) )
         withLock( [ & ] { deliver( *nested ); } );
   } );
   return recorded->json();
}

std::optional<Json> Player::answerTo( std::string_view question )
{
   const RecordedLine* record = nullptr;
   if( !over_ )
      unlessRefused( [ & ] { record = next(); } );
   if( !record || record->kind != Kind::question )
      return std::nullopt;
   const Json json = record->json();
   if( json.at( "question" ) != question )
      return std::nullopt;
   return json.at( "answer" );
}

void Player::did( std::string_view text )
{
   if( over_ )
      return;
   const Json today = Json::parse( text );
   const Kind kind =
      Vormel::enumParse<Kind>( today.at( "record" ).get<std::string>() ).value_or( Kind::unknown );
   if( !isCompared( kind ) )
      return;
   unlessRefused( [ & ] { compare( kind, today ); } );
}

void Player::compare( Kind kind, const Json& today )
{
   while( !over_ ) {
      const RecordedLine* const record = next();
      if( !record )
         return end( open_.empty()
                        ? ""
                        : "the recording ends within " + recordText( open_.back()->json() ) );
      if( isSame( record->json(), today ) )
         return same( *record );
      // Within a call of the agent, the agent may be called back, and change its inputs.
      if( open_.empty() || !isInput( record->kind ) || isInput( kind ) )
         return diverged( record, &today );
      deliver( *record );
   }
}

void Player::same( const RecordedLine& record )
{
   ++position_;
   ++compared_;
   before_.push_back( &record );
   if( before_.size() > 5 )
      before_.pop_front();
   if( isInput( record.kind ) )
      event_ = &record;
   if( returns( record.kind ) )
      open_.push_back( &record );
   if( record.kind == Kind::returned && !open_.empty() ) {
      open_.pop_back();
      event_ = open_.empty() ? nullptr : open_.back();
   }
   calling_ = record.kind == Kind::begin ? &record : nullptr;
}

std::optional<std::size_t> Player::findInEvent( const Json& today ) const
{
   const auto& records = recording_.records();
   for( std::size_t i = position_; i < records.size(); ++i ) {
      if( isCompared( records[ i ].kind ) && isSame( records[ i ].json(), today ) )
         return i;
      if( isInput( records[ i ].kind ) || records[ i ].kind == Kind::returned )
         break;
   }
   return std::nullopt;
}

void Player::diverged( const RecordedLine* recorded, const Json* today )
{
   const bool eventEnds =
      !recorded || isInput( recorded->kind ) || recorded->kind == Kind::returned;
   Divergence found{ eventEnds && today ? nullptr : recorded,
      today ? std::optional( *today ) : std::nullopt, 0, event_,
      { before_.begin(), before_.end() } };
   const std::optional<std::size_t> later = today ? findInEvent( *today ) : std::nullopt;
   const auto passOver = [ & ]( auto isEnd ) {
      ++position_;
      for( const RecordedLine* passed = next(); passed && !isEnd( *passed ); passed = next() ) {
         ++position_;
         ++found.missing;
      }
   };
   calling_ = nullptr;
   if( later )
      passOver( [ & ]( const RecordedLine& ) { return position_ >= *later; } );
   else if( !today )
      passOver( []( const RecordedLine& record ) {
         return isInput( record.kind ) || record.kind == Kind::returned;
      } );
   else if( recorded && isSimilar( recorded->json(), *today ) ) {
      found.recorded = recorded;
      ++position_;
      calling_ = recorded->kind == Kind::begin ? recorded : nullptr;
   }
   over_ = !goesOn_;
   listener_.diverged( found );
   if( later && !over_ )
      same( recording_.records()[ *later ] );
}

void Player::end( std::string why )
{
   if( std::exchange( over_, true ) )
      return;
   listener_.ended( endHere( std::move( why ) ) );
}

void Player::refuse( const std::string& what )
{
   if( std::exchange( over_, true ) )
      return;
   ReplayEnd refused = endHere( what );
   refused.refused = true;
   listener_.ended( refused );
}

void Player::died( std::string_view line )
{
   if( over_ )
      return;
   const RecordedLine* const record = next();
   // The line of a fatal code comes before the error hook, which is recorded.
   const bool asRecorded = !record || record->kind == Kind::fatal;
   listener_.died( line,
      endHere( asRecorded ? "" : "the slice ends the process, and the recorded one went on" ) );
   if( !asRecorded )
      diverged( record, nullptr );
   over_ = true;
}

} // namespace

void replay( const RecordingFile& recording, const ReplayListener& listener, bool goesOn )
{
   if( !recording.startsWithAgent() )
      throw RecordingError( recording.name(), 1,
         "continues an older file, so it does not start with the agent: a replay needs the first file" );
   Player( recording, listener, goesOn ).run();
}

} // namespace Strata::Desk
