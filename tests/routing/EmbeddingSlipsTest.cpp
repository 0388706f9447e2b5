// Mistakes of an embedding agent, such as a missing object or a lock taken twice, end with a clear text.
#include "tests/routing/Fixture.h"

#include "platform/runtime/EntityType.h"
#include "platform/runtime/Trace.h"
#include "platform/sdk/ObservedTcamEntryManager.h"
#include "routing/reactors/L3PeerMacArpRedirectSm.h"
#include "routing/reactors/UnknownMacDropLoggingSm.h"

#include <functional>
#include <gmock/gmock.h>
#include <malloc.h>
#include <map>
#include <type_traits>

namespace Strata {
namespace {

using Sim::RecordKind;
using Vormel::Ref;

class EmbeddingSlipsTest : public SwitchTest
{
 protected:
   Ref<RoutingStatusHelper> bareHelper( const Ref<StrataCommonSmData>& scsd = nullptr )
   {
      return Vormel::make<RoutingStatusHelper>( "bare", scsd, nullptr, nullptr, false, nullptr,
         nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr );
   }

   /// Calls every operation by its name. Returns the number of operations by the assertion that ended them; "" without
   /// one.
   std::map<std::string, U32> endings( RoutingStatusHelper& of )
   {
      std::map<std::string, U32> all;
      testing::internal::CaptureStderr();
      for( const auto& operation : of.entityType().operations() ) {
         std::vector<Vormel::Value> arguments;
         for( const Vormel::Parameter& parameter : operation->parameters() )
            arguments.push_back( argumentFor( parameter ) );
         std::string ending;
         try {
            operation->call( of, arguments );
         } catch( const Died& died ) {
            ending = died.text;
         }
         ++all[ ending ];
      }
      testing::internal::GetCapturedStderr();
      return all;
   }

 private:
   static std::string argumentFor( const Vormel::Parameter& parameter )
   {
      if( !parameter.choices.empty() )
         return parameter.choices.front();
      for( const auto& [ expected, value ] : { std::pair{ "an interface", "Ethernet1" },
              { "a MAC", "02:00:00:00:00:01" }, { "a list", "ip4" } } )
         if( parameter.expected.find( expected ) != std::string::npos )
            return value;
      return "1";
   }
};

TEST_F( EmbeddingSlipsTest, WithoutSharedDataOrShimAnOperationEndsWithAClearAssertion )
{
   make( "hsdk" ).hardware().critic().collect(); // entry 0 is outside every range
   const auto bare = bareHelper();
   bare->tcamManagerIs( agent->hardware().tcamManager() );
   const auto withoutData = endings( *bare );
   EXPECT_GT( withoutData.at( "scsd()" ), 25u );
   for( const auto& [ text, count ] : withoutData )
      EXPECT_THAT( text, testing::AnyOf( "", "scsd()", "!!sp", "!!sucd", "0",
                            testing::HasSubstr( "entryValid" ) ) );

   const U64 calls = transcript().count( RecordKind::call );
   sdkShimIs( nullptr );
   EXPECT_EQ( sdkShim(), nullptr );
   const auto withoutShim = endings( helper() );
   sdkShimIs( &agent->hardware().observedShim() );
   EXPECT_EQ( transcript().count( RecordKind::call ), calls );
   U32 named = 0;
   for( const auto& [ text, count ] : withoutShim )
      named += text.starts_with( "sdkShim() && " ) ? count : 0;
   EXPECT_GT( named, 25u );
}

TEST_F( EmbeddingSlipsTest, ObjectsHaveTheSizeOfTheLibraryNotOfTheCallersHeaders )
{
   const auto check = []<class T>( std::type_identity<T> ) {
      void* const object = T::operator new( 1 );
      EXPECT_GE( ::malloc_usable_size( object ), sizeof( T ) );
      T::operator delete( object );
   };
   check( std::type_identity<RoutingStatusHelper>() );
   check( std::type_identity<UnknownMacDropLoggingSm>() );
   check( std::type_identity<L3PeerMacArpRedirectSm>() );
   check( std::type_identity<ObservedTcamEntryManager>() );
}

TEST_F( EmbeddingSlipsTest, AnUnknownChipModelIsTracedOnceAtTheFirstLook )
{
   make( "hsdk", { 0 } );
   Vormel::traceHandle( "StrataRoutingStatus" )->levelIs( 1 );
   const auto scsd = Vormel::make<StrataCommonSmData>( &agent->hardware().observedShim() );
   const auto late = bareHelper( scsd ); // no unit yet
   StrataUnit unit;
   unit.chipInfo.model = "unheard of";
   scsd->units().unitIs( 0, unit );
   const auto early = bareHelper( scsd );
   late->init( true, true );
   early->init( true, true );
   early->l3Init( true );
   Vormel::traceHandle( "StrataRoutingStatus" )->levelsOff();
   std::vector<std::string> traces;
   for( const Sim::Record& record : transcript().records() )
      if( record.field( "text" ).find( "unheard of" ) != std::string::npos )
         traces.push_back( record.field( "function" ) );
   EXPECT_THAT( traces, testing::ElementsAre( "RoutingStatusHelper", "init" ) );
}

#if VORMEL_CHECKING
// Operations that do not use an attribute, whose accessor would check the lock.
TEST_F( EmbeddingSlipsTest, CheckingBuildsDemandTheLockWhereNoAttributeIsRead )
{
   make( "register", { 0 } );
   struct Deaf final : Vormel::Subscriber
   {
      void onChange( const Vormel::Change& ) noexcept override {}
   } deaf;
   const EthAddr mac;
   const std::vector<std::pair<std::string, std::function<void()>>> touches{
      { "addMyStationTcamEntry",
         [ & ] {
            RoutingStatusHelper::addMyStationTcamEntry( 0, 1, mac, false, 0, false, false, true );
         } },
      { "removeMyStationTcamEntry", [] { RoutingStatusHelper::removeMyStationTcamEntry( 0, 1 ); } },
      { "verifyMyStationTcamEntry",
         [ & ] {
            RoutingStatusHelper::verifyMyStationTcamEntry(
               0, 1, false, mac, false, 0, false, false, false );
         } },
      { "doNotCopyPacketFromCpuToCpu", [ & ] { helper().doNotCopyPacketFromCpuToCpu(); } },
      { "subscriberAdd", [ & ] { helper().subscriberAdd( deaf ); } } };
   testing::internal::CaptureStderr();
   for( const auto& [ name, touch ] : touches ) {
      const Vormel::UnlockAnchor unlocked( Vormel::activityLock() );
      EXPECT_THROW( touch(), Died ) << name;
   }
   const std::string report = testing::internal::GetCapturedStderr();
   for( const auto& [ name, touch ] : touches )
      EXPECT_THAT(
         report, testing::HasSubstr( name + ": Assertion 'the activity lock is held' failed." ) );
   EXPECT_EQ( transcript().count( RecordKind::call ), 0u );
   const auto unsubscribeUnlocked = [ & ] {
      Vormel::assertionHookIs( nullptr );
      const Vormel::UnlockAnchor unlocked( Vormel::activityLock() );
      helper().subscriberDel( deaf );
   };
   EXPECT_DEATH( unsubscribeUnlocked(), "subscriberDel: Assertion 'the activity lock is held'" );
}
#endif

TEST_F( EmbeddingSlipsTest, TakingTheLockTwiceFailsAClearAssertion )
{
   try {
      testing::internal::CaptureStderr();
      const Vormel::LockAnchor again( Vormel::activityLock() );
      FAIL();
   } catch( const Died& died ) {
      EXPECT_THAT( died.text, testing::HasSubstr( "this thread holds the activity lock already" ) );
   }
   testing::internal::GetCapturedStderr();
   EXPECT_TRUE( Vormel::activityLock().heldByThisThread() );
}

TEST_F( EmbeddingSlipsTest, AnActivityWithoutAClockFailsAClearAssertion )
{
   testing::internal::CaptureStderr();
   EXPECT_THROW( Vormel::activityManager().clockIs( nullptr ), Died );
   EXPECT_THAT( testing::internal::GetCapturedStderr(), testing::HasSubstr( "a clock is needed" ) );
}

} // namespace
} // namespace Strata
