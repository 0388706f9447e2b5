// The lifetimes of the reactors, the polls of the logging reactor, and the number of calls for an event.
#include "tests/routing/ReactorsFixture.h"

#include "platform/runtime/Errors.h"
#include "platform/runtime/Trace.h"
#include "routing/reactors/NestedReactors.h"

#include <gmock/gmock.h>
#include <memory>

namespace Strata {
namespace {

class ReactorsTest : public ReactorsFixture
{
};

TEST_F( ReactorsTest, AMarkedReactorHandlesNothing )
{
   hw().miscConfig()->syslogTimeoutIs( 1.0 );
   hw().miscConfig()->unknownMacDropTrafficClassIs( 3, true );
   agent->bringUp();
   raiseHits( 3 );
   agent->reactor()->markForDeletion();
   agent->reactor()->unknownMacDropLoggingSm()->markForDeletion();
   const U64 before = calls();
   status( one )->forwardingModelIs( ForwardingModel::routed );
   hw().lagIs( lag, { one, two } );
   hw().scsd()->strataIntfToPortDel( two );
   hw().scsd()->vxlanEnabledIs( false );
   hw().miscConfig()->l3DualHashIs( true );
   hw().miscConfig()->unknownMacDropTrafficClassIs( 1, true );
   hw().pbrInfo()->pbrEnabledIs( true );
   hw().sourceIpLookup()->l2TrafficRoutingIs( true );
   hw().nexthopIs( "flows", true, true );
   hw().removeInterface( two );
   agent->clock().advanceBy( 5.0 );
   EXPECT_EQ( calls(), before );
   EXPECT_EQ( helper().unknownMacCountersPerTc().size(), 1u );
   EXPECT_EQ( helper().unknownMacCountersPerTc( 3 ), 0u );
   EXPECT_EQ( agent->clock().nextExpiry(), Timer::never );
   EXPECT_FALSE( helper().ofFxSupported() );
}

TEST_F( ReactorsTest, AStatusThatReplacesAnotherGetsItsNestedReactor )
{
   agent->bringUp();
   const Ref<EthIntfStatus> old = status( one );
   const auto fresh = Vormel::make<EthIntfStatus>( one );
   fresh->forwardingModelIs( ForwardingModel::routed );
   hw().ethIntfStatusDir()->intfStatusIs( one, fresh );
   EXPECT_EQ( agent->reactor()->intfStatus().size(), 2u );
   EXPECT_TRUE( helper().routedPortsAndRoutedLagMember( one ) );
   const U64 before = calls();
   old->forwardingModelIs( ForwardingModel::unknown );
   EXPECT_EQ( calls(), before );
   fresh->forwardingModelIs( ForwardingModel::bridged );
   EXPECT_FALSE( helper().routedPortsAndRoutedLagMember( one ) );
   EXPECT_THROW( agent->reactor()->intfStatusIs( nullptr ), Vormel::NullArgumentError );
   const Ref<NestedSm_IntfStatus> removed = *agent->reactor()->intfStatus().find( one );
   hw().ethIntfStatusDir()->intfStatusDel( one );
   EXPECT_TRUE( removed->zombie() ); // although there is a reference to it
}

TEST_F( ReactorsTest, TheLoggingReactorIsKeptForTheSameInputsAndReplacedForOthers )
{
   agent->bringUp();
   const Ref<RoutingStatusSm> sm = agent->reactor();
   const Ref<UnknownMacDropLoggingSm> logging = sm->unknownMacDropLoggingSm();
   EXPECT_EQ( sm->unknownMacDropLoggingSmIs( hw().miscConfig(), agent->helper() ), logging );
   const auto other = Vormel::make<StrataMiscConfig>();
   other->syslogTimeoutIs( 2.0 );
   const auto replaced = sm->unknownMacDropLoggingSmIs( other, agent->helper() );
   EXPECT_NE( replaced, logging );
   EXPECT_FALSE( logging->hasNotificationActive() );
   EXPECT_EQ( replaced->pollingInterval(), 2.0 );
   // Only one reactor polls, although a subscriber makes another one during its construction. Its timer moves to
   // another clock.
   hw().miscConfig()->syslogTimeoutIs( 1.0 );
   Ref<UnknownMacDropLoggingSm> inner;
   sm->unknownMacDropLoggingSmIs( hw().miscConfig(), agent->helper() );
   other->unknownMacDropTrafficClassIs( 6, true );
   const Meddler meddler( agent->helper(), RoutingStatusHelper::unknownMacCountersPerTcNumber,
      [ & ] { inner = sm->unknownMacDropLoggingSmIs( hw().miscConfig(), agent->helper() ); } );
   const auto outer = sm->unknownMacDropLoggingSmIs( other, agent->helper() );
   EXPECT_EQ( sm->unknownMacDropLoggingSm(), outer );
   EXPECT_FALSE( inner->hasNotificationActive() );
   EXPECT_EQ( agent->clock().nextExpiry(), 2.0 );
   const auto clock = std::make_shared<Vormel::ManualClock>();
   clock->advanceTo( 50.0 );
   Vormel::activityManager().clockIs( clock );
   EXPECT_EQ( agent->clock().nextExpiry(), Timer::never );
   clock->advanceTo( 52.0 );
   EXPECT_EQ( clock->nextExpiry(), 54.0 );
   EXPECT_EQ( sm->unknownMacDropLoggingSmDel(), outer );
   EXPECT_EQ( clock->nextExpiry(), Timer::never );
   EXPECT_EQ( sm->unknownMacDropLoggingSm(), nullptr );
   EXPECT_EQ( agent->clock().nextExpiry(), Timer::never );
}

TEST_F( ReactorsTest, NullInputs )
{
   const auto start = [ & ]( const Ref<StrataCommonSmData>& scsd,
                         const Ref<StrataMiscConfig>& miscConfig ) {
      return RoutingStatusSmIs(
         scsd, nullptr, miscConfig, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr );
   };
   const U64 before = calls();
   hw().miscConfig()->unknownMacDropTrafficClassIs( 3, true );
   const auto sm = start( hw().scsd(), hw().miscConfig() );
   EXPECT_TRUE( sm->initialized() );
   hw().miscConfig()->l2DualHashIs( true );
   hw().scsd()->vxlanEnabledIs( false );
   hw().scsd()->strataIntfToPortDel( one );
   hw().lagIs( lag, { two } );
   EXPECT_EQ( calls(), before );
   EXPECT_THAT( [ & ] { sm->handleStrataPbrEnabled(); },
      testing::Throws<Died>( testing::Field( &Died::text, "strataPbrInfo()" ) ) );
   EXPECT_THAT( [ & ] { start( hw().scsd(), nullptr ); },
      testing::Throws<Died>( testing::Field( &Died::text, "miscConfig()" ) ) );
   EXPECT_THAT( [ & ] { start( nullptr, hw().miscConfig() ); },
      testing::Throws<Died>( testing::Field( &Died::text, "scsd()" ) ) );
   sm->handleNexthopStatus( "absent" );
   hw().nexthopIs( "flows", true, true );
   helper().init( true, true );
   hw().miscConfig()->l2DualHashIs( false );
   hw().miscConfig()->unknownMacDropTrafficClassDel( 3 );
   const auto alone = RoutingStatusSmIs( hw().scsd(), nullptr, hw().miscConfig(), agent->helper(),
      nullptr, nullptr, hw().sourceIpLookup(), nullptr, hw().nexthopStatusDir() );
   EXPECT_TRUE( helper().ofFxSupported() );
   const Sim::Chip& chip = hw().chip( 0 );
   for( const bool on : { true, false } ) {
      // Without a hardware status to read, the reactor remembers the state of the chips itself.
      hw().miscConfig()->l3DualHashIs( on );
      hw().sourceIpLookup()->l2TrafficRoutingIs( on );
      hw().miscConfig()->l2DualHashIs( on );
      EXPECT_EQ( chip.control( SwitchControl::HashL3Dual ), on );
      EXPECT_EQ( chip.control( SwitchControl::L2TrafficSrcIpLookup ), on );
      EXPECT_EQ( chip.control( SwitchControl::HashL2Dual ), on );
   }
   const auto redirect =
      l3PeerMacArpRedirectSmFactory( nullptr, nullptr, nullptr, agent->helper() );
   EXPECT_EQ( helper().peerMacArpRedirect(), 0u );
   const auto deaf =
      l3PeerMacArpRedirectSmFactory( hw().scsd(), hw().mlagStatus(), hw().mlagHwStatus(), nullptr );
   // Without a peer link, no port concerns it.
   const auto without =
      l3PeerMacArpRedirectSmFactory( hw().scsd(), nullptr, hw().mlagHwStatus(), agent->helper() );
   Vormel::traceLevelsIs( "StrataRoutingStatus=8" );
   hw().lagIs( lag, { one } );
   Vormel::traceLevelsIs( "StrataRoutingStatus=off" );
   EXPECT_THAT( texts( RecordKind::trace ),
      testing::AllOf( testing::HasSubstr( "LagPortFlood" ),
         testing::Not( testing::HasSubstr( "handlePeerMacArpRedirect" ) ) ) );
   hw().mlagStatus()->peerLinkIntfIs( two );
   EXPECT_EQ( helper().peerMacArpRedirect(), 0u );
}

TEST_F( ReactorsTest, WithoutUnitsTheReactorsRunAndProgramNothing )
{
   hw().scsd()->units().unitDel( 0 );
   hw().miscConfig()->unknownMacDropTrafficClassIs( 3, true );
   hw().miscConfig()->syslogTimeoutIs( 1.0 );
   U64 before = calls();
   agent->bringUp();
   EXPECT_EQ( calls() - before, 2u * 13 ); // the controls of two ports, on the unit of their rows
   before = calls();
   status( one )->forwardingModelIs( ForwardingModel::routed );
   hw().miscConfig()->l2DualHashIs( true );
   agent->clock().advanceBy( 2.0 );
   EXPECT_TRUE( helper().routedPortsAndRoutedLagMember( one ) );
   hw().scsd()->strataIntfToPortDel( one );
   EXPECT_EQ( calls(), before );
}

// Events call the handler of one interface; an agent may call the handler of all LAG members.
TEST_F( ReactorsTest, AllLagMembersCanBeHandledAgain )
{
   agent->bringUp();
   hw().lagIs( lag, { one, two } );
   status( lag )->forwardingModelIs( ForwardingModel::routed );
   helper().routedPortsAndRoutedLagMemberDelAll();
   EXPECT_TRUE( helper().vlanFloodPbmp().contains( 1 ) );
   agent->reactor()->doAddOrRemoveLagPortFlood();
   EXPECT_FALSE( helper().vlanFloodPbmp().contains( 1 ) || helper().vlanFloodPbmp().contains( 2 ) );
}

TEST_F( ReactorsTest, ALoggingReactorPollsWhileItsNotificationsAreOn )
{
   auto& config = *hw().miscConfig();
   config.syslogTimeoutIs( 1.0 );
   const auto logging = UnknownMacDropLoggingSmIs( hw().miscConfig(), agent->helper() );
   EXPECT_EQ( logging->nextPoll(), 1.0 );
   logging->hasNotificationActiveIs( false );
   EXPECT_EQ( logging->nextPoll(), Timer::never );
   config.syslogTimeoutIs( 3.0 );
   agent->clock().advanceBy( 10.0 );
   logging->hasNotificationActiveIs( true );
   EXPECT_EQ( logging->nextPoll(), 13.0 );
   {
      Vormel::ManualClock gone;
      logging->pollingTimerIs( gone );
   }
   logging->setTimer(); // the timer's clock was destroyed, so the agent's is used
   EXPECT_EQ( agent->clock().nextExpiry(), 13.0 );
   logging->pollingTimerDel();
   EXPECT_EQ( agent->clock().nextExpiry(), Timer::never );
}

TEST_F( ReactorsTest, PollsAreDueOneIntervalFromTheEndOfTheLast )
{
   auto& config = *hw().miscConfig();
   agent->bringUp();
   EXPECT_EQ( nextPoll(), Timer::never );
   config.syslogTimeoutIs( 0.1 );
   EXPECT_EQ( nextPoll(), 0.1 );
   config.unknownMacDropTrafficClassIs( 3, true ); // a class does not move the timer
   EXPECT_EQ( nextPoll(), 0.1 );

   // A poll that takes 30 ms: the next is an interval from its end.
   int polls = 0;
   transcript().listenerIs( [ & ]( const Sim::Record& record ) {
      if( record.kind != RecordKind::entry ||
          record.text.find( "hitsForEntry" ) == record.text.npos )
         return;
      if( ++polls % 2 == 0 ) // after the second entry of the pair
         agent->clock().advanceBy( 0.03 );
   } );
   agent->clock().advanceTo( 0.1 );
   transcript().listenerIs( {} );
   EXPECT_EQ( polls, 2 );
   EXPECT_EQ( agent->clock().now(), 0.13 );
   EXPECT_EQ( nextPoll(), 0.13 + 0.1 );

   // A thousand polls, each exactly one interval after the one before.
   double due = nextPoll();
   for( int i = 0; i < 1000; ++i ) {
      agent->clock().advanceTo( due );
      due += 0.1;
      ASSERT_EQ( nextPoll(), due );
   }
   config.syslogTimeoutIs( 0.0 );
   EXPECT_EQ( nextPoll(), Timer::never );
}

TEST_F( ReactorsTest, AnEventCostsTheSameCallsAmongFewAndManyInterfaces )
{
   agent->bringUp();
   StrataCommonSmData& scsd = *hw().scsd();
   const auto costs = [ & ] {
      std::vector<U64> each;
      auto cost = [ &, before = calls() ]() mutable {
         each.push_back( calls() - before );
         before = calls();
      };
      status( one )->forwardingModelIs( ForwardingModel::routed ), cost();
      scsd.strataIntfToPortDel( two ), cost();
      scsd.strataIntfToPortIs( two, StrataPort( 0, 2, 2 ) ), cost();
      scsd.lagOfMemberIs( two, lag ), cost();
      scsd.lagOfMemberDel( two ), cost();
      status( one )->forwardingModelIs( ForwardingModel::bridged ), cost();
      return each;
   };
   const std::vector<U64> amongFew = costs();
   for( U32 i = 0; i < 8192; ++i ) {
      const IntfId more = IntfId::ethernet( 100 + i );
      const U32 port = 3 + i % 8;
      scsd.intfToLogicalPortIs( more, port );
      scsd.strataIntfToPortIs( more, StrataPort( 0, static_cast<int>( port ), port ) );
      hw().ethIntfStatusDir()->intfStatusIs( more, Vormel::make<EthIntfStatus>( more ) );
   }
   EXPECT_EQ( costs(), amongFew );
   EXPECT_THAT(
      amongFew, testing::Each( testing::AllOf( testing::Ge( 4u ), testing::Le( 30u ) ) ) );
}

} // namespace
} // namespace Strata
