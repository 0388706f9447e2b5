#include "platform/state/Mlag.h"
#include "tests/runtime/Lamp.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <gtest/gtest.h>
#include <new>

namespace Lamps {

using Vormel::Change;
using Vormel::make;
using Vormel::Value;
using Vormel::ValueTraits;

VORMEL_ENTITY_TYPE( Lamp, LAMP_ATTRIBUTES, [] {
   Vormel::EntityType::Operations all;
   all.push_back( Vormel::operation<Lamp, &Lamp::dim>( "dim", { "percent", "slowly" }, "dims" ) );
   return all;
}() )

namespace {

struct Recorder : Vormel::Subscriber
{
   explicit Recorder( std::vector<std::string>& log, std::string name = "" )
      : log_( log ),
        name_( std::move( name ) )
   {}
   void onChange( const Change& change ) noexcept override
   {
      log_.push_back( name_ + changeText( change ) );
      if( also )
         also();
   }
   void onPublisherGone() noexcept override { log_.push_back( name_ + "gone" ); }

   std::function<void()> also;

 private:
   std::vector<std::string>& log_;
   std::string name_;
};

class EntityTest : public testing::Test
{
 protected:
   using Log = std::vector<std::string>;

   Vormel::LockAnchor lock{ Vormel::activityLock() };
   Ref<Lamp> lamp = make<Lamp>( "hall" );
   Log log;

   Log taken() { return std::exchange( log, {} ); }
};

TEST_F( EntityTest, MutatorsPublishOnlyChanges )
{
   Recorder recorder( log );
   lamp->subscriberAdd( recorder );

   lamp->litIs( false );
   EXPECT_EQ( taken(), Log() );
   lamp->litIs( true );
   lamp->bulbIs( Side::right, 5 );
   lamp->bulbIs( Side::right, 5 );
   lamp->lumensIs( 3, 0 ); // an absent member is inserted even as 0
   lamp->lumensIs( 3, 0 );
   lamp->lumensIs( 3, 9 );
   EXPECT_EQ( taken(), Log( { "lit changed old false", "bulb changed [right] old 0",
                          "lumens inserted [3]", "lumens changed [3] old 0" } ) );
   EXPECT_EQ( lamp->lumensDel( 3 ), 9u );
   EXPECT_EQ( lamp->lumensDel( 3 ), 0u );
   EXPECT_EQ( lamp->bulbDel( Side::right ), 5u );
   EXPECT_EQ( lamp->bulbDel( Side::right ), 0u );
   EXPECT_EQ( taken(), Log( { "lumens removed [3] old 9", "bulb changed [right] old 5" } ) );
   lamp->subscriberDel( recorder );
   lamp->subscriberDel( recorder ); // has no effect
   EXPECT_FALSE( lamp->hasSubscribers() );
}

TEST_F( EntityTest, DelAllPublishesEachRemovalWhileThereAreSubscribers )
{
   Recorder recorder( log );
   lamp->subscriberAdd( recorder );
   lamp->lumensIs( 1, 10 );
   lamp->lumensIs( 2, 20 );
   lamp->guestIs( "ann", true );
   taken();
   lamp->lumensDelAll();
   EXPECT_EQ( taken(), Log( { "lumens removed [1] old 10", "lumens removed [2] old 20" } ) );

   lamp->subscriberDel( recorder );
   lamp->lumensIs( 1, 10 );
   lamp->steps.clear();
   lamp->lumensDelAll();
   lamp->guestDelAll(); // the step runs for every member, with and without a subscriber
   EXPECT_EQ( lamp->lumens().size(), 0u );
   EXPECT_EQ( lamp->steps, Log( { "guest ann" } ) );
   EXPECT_EQ( log, Log() );
}

TEST_F( EntityTest, StepsRunBetweenStoreAndPublication )
{
   Recorder recorder( log );
   recorder.also = [ & ] { log.push_back( "after " + lamp->steps.back() ); };
   lamp->subscriberAdd( recorder );
   lamp->generationIs( 4 );
   EXPECT_TRUE( lamp->guestDel( "bob" ) == false );
   lamp->guestIs( "bob", false );
   EXPECT_TRUE( lamp->guestDel( "bob" ) ); // whether it existed, not its value
   EXPECT_EQ(
      taken(), Log( { "generation changed old 0", "after generation 4", "guest inserted [bob]",
                  "after guest bob", "guest removed [bob] old false", "after guest bob" } ) );
   lamp->subscriberDel( recorder );
}

TEST_F( EntityTest, IndexesAndValuesAreChecked )
{
   const auto rangeText = [ & ]( auto act ) {
      try {
         act();
      } catch( const Vormel::RangeError& error ) {
         return std::string( error.what() );
      }
      return std::string( "no error" );
   };
   const Side outside = static_cast<Side>( 3 );
   const std::string text = "cannot access index 3 of an array with size 3";
   EXPECT_EQ( rangeText( [ & ] { lamp->bulbIs( outside, 1 ); } ), text );
   EXPECT_EQ( rangeText( [ & ] { lamp->bulbDel( outside ); } ), text );
   EXPECT_NO_THROW( lamp->bulbIs( static_cast<Side>( 2 ), 1 ) );
   EXPECT_THROW( lamp->wattsIs( 101 ), Vormel::ValueError );
   EXPECT_EQ( lamp->watts(), 10u );
}

TEST_F( EntityTest, SubscribersComeAndGoDuringANotification )
{
   Recorder first( log, "1 " ), second( log, "2 " ), third( log, "3 " ), late( log, "late " );
   for( Recorder* recorder : { &first, &second, &third } )
      lamp->subscriberAdd( *recorder );
   first.also = [ & ] {
      lamp->subscriberDel( first );
      lamp->subscriberDel( second );
      lamp->subscriberAdd( late );
   };
   lamp->litIs( true );
   EXPECT_EQ( taken(), Log( { "1 lit changed old false", "3 lit changed old false" } ) );
   lamp->litIs( false );
   EXPECT_EQ( taken(), Log( { "3 lit changed old true", "late lit changed old true" } ) );
   lamp->subscriberDel( third );
   lamp->subscriberDel( late );
   EXPECT_FALSE( lamp->hasSubscribers() );
}

TEST_F( EntityTest, ANotificationMayChangeThePublisherAgainOrDestroyIt )
{
   Recorder first( log, "1 " ), second( log, "2 " );
   lamp->subscriberAdd( first );
   lamp->subscriberAdd( second );
   first.also = [ & ] {
      if( lamp->watts() == 10 )
         lamp->wattsIs( 20 );
   };
   lamp->litIs( true );
   EXPECT_EQ( taken(), Log( { "1 lit changed old false", "1 watts changed old 10",
                          "2 watts changed old 10", "2 lit changed old false" } ) );

   first.also = [ & ] { lamp = nullptr; };
   Lamp& dying = *lamp;
   dying.litIs( false );
   EXPECT_EQ( taken(), Log( { "1 lit changed old true", "1 gone", "2 gone" } ) );
}

struct Bell : Vormel::Publisher
{
   using Publisher::publish;
};

/// Removes another subscriber when its own publisher goes.
struct Leaver : Recorder
{
   using Recorder::Recorder;
   void onPublisherGone() noexcept override
   {
      Recorder::onPublisherGone();
      leave();
   }
   std::function<void()> leave = [] {};
};

TEST_F( EntityTest, APublisherThatASubscriberDestroysIsNotTouchedAgain )
{
   constexpr std::byte foreign{ 0x5A };
   for( const bool alone : { true, false } ) {
      alignas( Bell ) std::array<std::byte, sizeof( Bell )> memory{};
      Bell* const bell = new( memory.data() ) Bell;
      Leaver first( log, "1 " );
      Recorder second( log, "2 " );
      bell->subscriberAdd( first );
      if( !alone )
         bell->subscriberAdd( second );
      first.leave = [ & ] { bell->subscriberDel( second ); };
      first.also = [ & ] {
         bell->~Bell();
         memory.fill( foreign );
      };
      bell->publish( { *lamp, Lamp::litNumber, Vormel::ChangeKind::Changed, {}, {} } );
      EXPECT_TRUE( std::ranges::all_of( memory, [ & ]( std::byte b ) { return b == foreign; } ) );
      EXPECT_EQ( taken(), Log( { "1 lit changed", "1 gone" } ) );
   }
}

TEST_F( EntityTest, EverythingIsReachableByName )
{
   const Vormel::EntityType& type = lamp->entityType();
   type.attribute( "watts" ).write( *lamp, std::string( "0x20" ) );
   type.attribute( 261 ).write( *lamp, std::string( "right" ), U64( 7 ) );
   type.attribute( "twin" ).write( *lamp, Ref<const Vormel::Entity>( make<Lamp>( "cellar" ) ) );
   EXPECT_EQ( lamp->watts(), 32u );
   EXPECT_EQ( toText( type.attribute( "bulb" ).read( *lamp, std::string( "right" ) ) ), "7" );
   EXPECT_EQ( toText( type.attribute( "twin" ).read( *lamp ) ), "cellar" );
   EXPECT_EQ( type.attribute( "bulb" ).members( *lamp ).size(), 3u );
   EXPECT_EQ( toText( type.attribute( "bulb" ).del( *lamp, U64( 1 ) ) ), "7" );

   const Value arguments[] = { std::string( "60" ), true };
   EXPECT_EQ( toText( type.operation( "dim" ).call( *lamp, arguments ) ), "30" );
}

TEST( ValueTest, TextsThatOnlyResembleValuesAreRefused )
{
   EXPECT_EQ( ValueTraits<S32>::from( std::string( "-5" ) ), -5 );
   EXPECT_EQ( ValueTraits<S32>::from( std::string( "0x-5" ) ), std::nullopt );
   EXPECT_EQ( ValueTraits<bool>::from( U64( 1 ) ), true );
   EXPECT_EQ( ValueTraits<bool>::from( 1.0 ), std::nullopt );
   EXPECT_EQ( ValueTraits<bool>::from( std::string( "yes" ) ), std::nullopt );
   for( const char* text : { "", "2x", " 2" } )
      EXPECT_EQ( ValueTraits<double>::from( std::string( text ) ), std::nullopt ) << text;
}

TEST( ValueTest, NumbersAreTakenFromEveryTypeThatHoldsThemExactly )
{
   EXPECT_EQ( ValueTraits<S32>::from( U64( 0x7FFFFFFF ) ), 0x7FFFFFFF );
   EXPECT_EQ( ValueTraits<S32>::from( U64( 0x80000000 ) ), std::nullopt );
   EXPECT_EQ( ValueTraits<S32>::from( S64( -0x80000000L ) ), -0x7FFFFFFF - 1 );
   EXPECT_EQ( ValueTraits<S32>::from( S64( -0x80000001L ) ), std::nullopt );
   EXPECT_EQ( ValueTraits<U8>::from( S64( 255 ) ), 255 );
   EXPECT_EQ( ValueTraits<U8>::from( S64( 0 ) ), 0 );
   EXPECT_EQ( ValueTraits<U8>::from( S64( -1 ) ), std::nullopt );
   EXPECT_EQ( ValueTraits<U8>::from( U64( 256 ) ), std::nullopt );
   EXPECT_EQ( ValueTraits<U8>::from( 1.0 ), std::nullopt );
   EXPECT_EQ( ValueTraits<double>::from( std::string( "2.5" ) ), 2.5 );
   EXPECT_EQ( ValueTraits<double>::from( 2.5 ), 2.5 );
   EXPECT_EQ( ValueTraits<double>::from( S64( -2 ) ), -2.0 );
   EXPECT_EQ( ValueTraits<std::string>::from( S64( -2 ) ), "-2" );
   EXPECT_EQ( ValueTraits<Side>::from( U64( 1 ) ), Side::right );
   EXPECT_EQ( toText( ValueTraits<double>::value( 0.25 ) ), "0.25" );
   EXPECT_EQ( toText( Value() ), "" );
   const auto stranger = Value( Ref<const Vormel::Counted>( make<Mlag::Status>() ) );
   EXPECT_EQ( ValueTraits<Ref<Lamp>>::from( stranger ), std::nullopt );
   EXPECT_EQ( ValueTraits<Ref<Lamp>>::from( std::string( "hall" ) ), std::nullopt );
   EXPECT_EQ( ValueTraits<Ref<Lamp>>::from( Value() ), Ref<Lamp>() );
}

TEST_F( EntityTest, WrongNamesAndArgumentsSayWhatWouldBeRight )
{
   const Vormel::EntityType& type = lamp->entityType();
   const auto errorOf = []( auto act ) {
      try {
         act();
      } catch( const Vormel::AccessError& error ) {
         return std::string( error.what() );
      }
      return std::string( "no error" );
   };
   EXPECT_EQ( errorOf( [ & ] { type.attribute( "wats" ); } ),
      "Lamp has no attribute 'wats'; did you mean 'watts'?" );
   EXPECT_EQ( errorOf( [ & ] { type.attribute( "voltage" ); } ),
      "Lamp has no attribute 'voltage'" ); // nothing is near
   EXPECT_EQ( errorOf( [ & ] { type.attribute( "watts" ).write( *lamp, std::string( "-1" ) ); } ),
      "watts: value '-1' is not a number from 0 to 4294967295" );
   EXPECT_EQ(
      errorOf( [ & ] { type.attribute( "bulb" ).write( *lamp, std::string( "top" ), U64( 1 ) ); } ),
      "bulb: key 'top' is not left or right" );
   EXPECT_EQ( errorOf( [ & ] { type.attribute( "lit" ).members( *lamp ); } ),
      "attribute 'lit' cannot be iterated: it is a single value" );
   EXPECT_EQ(
      errorOf( [ & ] { type.attribute( 999 ); } ), "Lamp has no attribute with number 999" );
   EXPECT_EQ( errorOf( [ & ] { type.operation( "dimm" ); } ),
      "Lamp has no operation 'dimm'; did you mean 'dim'?" );
   EXPECT_EQ( errorOf( [ & ] { type.attribute( "lumens" ).read( *lamp, U64( 9 ) ); } ),
      "attribute 'lumens' cannot be read at key 9: there is no such member" );
   const auto refused = [ & ]( const char* name, auto access ) {
      const auto& attribute = type.attribute( name );
      const std::string text = errorOf( [ & ] { access( attribute ); } );
      const std::string start = "attribute '" + std::string( name ) + "' cannot ";
      return text.starts_with( start ) ? text.substr( start.size() ) : text;
   };
   using A = Vormel::Attribute;
   const Value five = U64( 5 );
   EXPECT_EQ( refused( "name", [ & ]( const A& a ) { a.write( *lamp, five ); } ),
      "be written: it is set by the constructor" );
   EXPECT_EQ( refused( "lumens", [ & ]( const A& a ) { a.read( *lamp ); } ),
      "be read as a whole: it is a collection, give a key" );
   EXPECT_EQ( refused( "lumens", [ & ]( const A& a ) { a.write( *lamp, five ); } ),
      "be written as a whole: it is a collection, give a key" );
   EXPECT_EQ( refused( "lit", [ & ]( const A& a ) { a.convertedKey( five ); } ),
      "have a key: it is a single value" );
   EXPECT_EQ( refused( "lit", [ & ]( const A& a ) { a.read( *lamp, five ); } ),
      "be read by key: it is a single value" );
   EXPECT_EQ( refused( "lit", [ & ]( const A& a ) { a.write( *lamp, five, true ); } ),
      "be written by key: it is a single value" );
   EXPECT_EQ( refused( "lit", [ & ]( const A& a ) { a.del( *lamp, five ); } ),
      "be deleted by key: it is a single value" );
   EXPECT_EQ( refused( "lit", [ & ]( const A& a ) { a.delAll( *lamp ); } ),
      "be deleted: it is a single value" );
   const Value one[] = { U64( 5 ) };
   EXPECT_EQ( errorOf( [ & ] { type.operation( "dim" ).call( *lamp, one ); } ),
      "dim takes 2 arguments (percent: a number from 0 to 4294967295; slowly: true or false), not 1" );
   const Value wrong[] = { U64( 5 ), std::string( "maybe" ) };
   EXPECT_EQ( errorOf( [ & ] { type.operation( "dim" ).call( *lamp, wrong ); } ),
      "dim: argument 2 (slowly) 'maybe' is not true or false" );
   const auto stranger = Vormel::make<Mlag::Status>();
   EXPECT_EQ( errorOf( [ & ] { type.attribute( "watts" ).read( *stranger ); } ),
      "'watts' is not an attribute or operation of Mlag::Status" );
   const Value two[] = { U64( 5 ), true };
   EXPECT_EQ( errorOf( [ & ] { type.operation( "dim" ).call( *stranger, two ); } ),
      "'dim' is not an attribute or operation of Mlag::Status" );
}

} // namespace
} // namespace Lamps
