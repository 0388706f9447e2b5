// The reactors' lives: who is told what while objects come and go, and when polls are due. The sanitizer builds
// look for what is used after it went.
#include "tests/routing/Fixture.h"

#include "platform/runtime/Errors.h"
#include "platform/runtime/Syslog.h"
#include "routing/UnknownMacDropLoggingSm.h"

#include <functional>
#include <gmock/gmock.h>
#include <memory>
#include <utility>

namespace Strata {
namespace {

using Interface::EthIntfStatus;
using Interface::ForwardingModel;
using Sim::RecordKind;
using Vormel::make;
using Vormel::Ref;
using Vormel::Timer;

/// Does something at each change of an attribute.
class Meddler final : public Vormel::Subscriber
{
 public:
   Meddler(
      Ref<const Vormel::Entity> entity, Vormel::AttributeNumber number, std::function<void()> act )
      : entity_( std::move( entity ) ),
        number_( number ),
        act_( std::move( act ) )
   {
      entity_->subscriberAdd( *this );
   }
   Meddler( const Meddler& ) = delete;
   Meddler& operator=( const Meddler& ) = delete;
   ~Meddler() { entity_->subscriberDel( *this ); }

   int told = 0;

 private:
   void onChange( const Vormel::Change& change ) noexcept override
   {
      if( change.number == number_ && ++told < 20 )
         act_();
   }

   Ref<const Vormel::Entity> entity_;
   Vormel::AttributeNumber number_;
   std::function<void()> act_;
};

const IntfId one( "Ethernet1" );
const IntfId two( "Ethernet2" );
const IntfId lag( "Port-Channel1" );

class ReactorsTest : public SwitchTest
{
 protected:
   ReactorsTest()
   {
      make( "hsdk", { 0 } );
      hw().addInterface( one, 0, 1, ForwardingModel::bridged );
      hw().addInterface( two, 0, 2, ForwardingModel::bridged );
   }

   using SwitchTest::make;
   Sim::SimSwitch& hw() { return agent->hardware(); }
   Ref<EthIntfStatus> status( IntfId intf ) { return hw().intfStatus( intf ); }
   U64 calls() { return transcript().count( RecordKind::call ); }

   /// What the flood entry sends to.
   std::string floodPorts()
   {
      const Sim::FieldEntry* const entry = hw()
                                              .chip( 0 )
                                              .groupOf( helper().tcamEntryVlanFlood() )
                                              ->find( helper().tcamEntryVlanFlood() );
      return entry->hardware->actions.front().ports.toString();
   }
   void raiseHits( U16 trafficClass )
   {
      const U32 id = helper().tcamEntryVlanFloodDrop( trafficClass );
      hw().chip( 0 ).groupOf( id )->find( id )->hits += 5;
   }
   double nextPoll() { return agent->reactor()->unknownMacDropLoggingSm()->nextPoll(); }
};

TEST_F( ReactorsTest, WhoHearsAChangeMayDropTheReactorThatMadeIt )
{
   using Attributes = RoutingStatusHelper;
   agent->bringUp();
   const Ref<EthIntfStatus> kept = status( one );
   {
      const Meddler meddler( agent->helper(), Attributes::routedPortsAndRoutedLagMemberNumber,
         [ this ] { agent->stop(); } );
      kept->forwardingModelIs( ForwardingModel::routed );
      EXPECT_EQ( meddler.told, 1 );
      EXPECT_EQ( agent->reactor(), nullptr );
   }
   // The handler that was under way came to its end; the next change meets nobody.
   EXPECT_EQ( helper().reprogramVlanFloodRequired(), 3u );
   const U64 before = calls();
   kept->forwardingModelIs( ForwardingModel::bridged );
   hw().scsd()->strataIntfToPortDel( two );
   hw().miscConfig()->l2DualHashIs( true );
   EXPECT_EQ( calls(), before );

   agent->startReactors();
   hw().miscConfig()->unknownMacDropTrafficClassIs( 3, true );
   hw().miscConfig()->syslogTimeoutIs( 1.0 );
   const Meddler meddler(
      agent->helper(), Attributes::tcamEntryVlanFloodDropNumber, [ this ] { agent->stop(); } );
   hw().miscConfig()->unknownMacDropTrafficClassDel( 3 );
   EXPECT_EQ( agent->reactor(), nullptr );
   EXPECT_EQ( agent->clock().nextExpiry(), Timer::never );
}

TEST_F( ReactorsTest, WhoHearsAPollMayDropTheReactors )
{
   hw().miscConfig()->unknownMacDropTrafficClassIs( 3, true );
   hw().miscConfig()->unknownMacDropTrafficClassIs( 4, true );
   hw().miscConfig()->syslogTimeoutIs( 1.0 );
   agent->bringUp();
   raiseHits( 3 );
   Ref<UnknownMacDropLoggingSm> kept;
   {
      // Detached, but still held by somebody: it polls no more.
      const Meddler meddler( agent->helper(), RoutingStatusHelper::unknownMacCountersPerTcNumber,
         [ & ] { kept = agent->reactor()->unknownMacDropLoggingSmDel(); } );
      agent->clock().advanceBy( 1.0 );
      EXPECT_EQ( agent->clock().nextExpiry(), Timer::never );
   }
   agent->reactor()->unknownMacDropLoggingSmIs( hw().miscConfig(), agent->helper() );
   raiseHits( 3 );
   const Meddler meddler( agent->helper(), RoutingStatusHelper::unknownMacCountersPerTcNumber,
      [ this ] { agent->stop(); } );
   agent->clock().advanceBy( 1.0 );
   EXPECT_EQ( meddler.told, 1 );
   EXPECT_EQ( agent->clock().nextExpiry(), Timer::never );
   agent->clock().advanceBy( 100.0 );
   EXPECT_EQ( meddler.told, 1 );
}

TEST_F( ReactorsTest, APollMayFallIntoTheMakingOfItsReactor )
{
   hw().miscConfig()->unknownMacDropTrafficClassIs( 3, true );
   const Meddler meddler(
      agent->helper(), RoutingStatusHelper::unknownMacCountersPerTcNumber, [ this ] {
         hw().miscConfig()->syslogTimeoutIs( 1.0 );
         agent->clock().advanceBy( 1.0 );
      } );
   agent->bringUp();
   EXPECT_EQ( nextPoll(), agent->clock().now() + 1.0 );
}

// Whatever a handler publishes, who hears it may drop the reactor: the handler still comes to its end.
TEST_F( ReactorsTest, EveryDispatcherOutlivesItsReactor )
{
   struct Drop
   {
      Ref<const Vormel::Entity> entity;
      Vormel::AttributeNumber number;
      std::function<void()> event;
   };
   const Drop drops[] = {
      { agent->helper(), RoutingStatusHelper::reprogramVlanFloodRequiredNumber,
         [ this ] {
            hw().scsd()->strataIntfToPortDel( one );
            hw().scsd()->strataIntfToPortIs( one, StrataPort( 0, 1, 1 ) );
         } },
      { agent->helper(), RoutingStatusHelper::reprogramVlanFloodRequiredNumber,
         [ this ] { hw().lagIs( lag, { one } ); } },
      { hw().hwStatus(), HwStatus::l2DualHashNumber,
         [ this ] {
            hw().miscConfig()->l3DualHashIs( true );
            hw().miscConfig()->l2DualHashIs( !hw().miscConfig()->l2DualHash() );
         } },
      { hw().hwStatus(), HwStatus::nexthopsProgrammedNumber,
         [ this ] { hw().nexthopIs( "flows", true, true ); } },
      { hw().hwStatus(), HwStatus::l2TrafficRoutingNumber,
         [ this ] { hw().sourceIpLookup()->l2TrafficRoutingIs( true ); } },
      { agent->helper(), RoutingStatusHelper::peerMacArpRedirectNumber,
         [ this ] {
            hw().mlagHwStatus()->peerMacRoutingSupportedIs( true );
            hw().mlagStatus()->peerMacRoutingEnabledIs( true );
            hw().mlagStatus()->peerMacAddrIs( *EthAddr::parse( "02:00:a1:00:00:02" ) );
            hw().mlagStatus()->peerLinkIntfIs( two );
         } },
   };
   helper().init( true, true );
   for( const Drop& drop : drops ) {
      agent->startReactors();
      const Meddler meddler( drop.entity, drop.number, [ this ] { agent->stop(); } );
      drop.event();
      EXPECT_EQ( agent->reactor(), nullptr ) << drop.number;
   }
}

TEST_F( ReactorsTest, APortMayGoWhileItIsHandled )
{
   agent->bringUp();
   const Meddler meddler( agent->helper(), RoutingStatusHelper::reprogramVlanFloodRequiredNumber,
      [ this ] { hw().scsd()->strataIntfToPortDel( one ); } );
   hw().scsd()->strataIntfToPortIs( one, StrataPort( 0, 7, 1 ) );
   EXPECT_FALSE( hw().scsd()->strataIntfToPort( one ) );
   EXPECT_FALSE( helper().vlanFloodPbmp().contains( 1 ) );
}

TEST_F( ReactorsTest, ALagThatIsSwitchedWhileItIsHandledEndsAsItIs )
{
   agent->bringUp();
   hw().lagIs( lag, { one, two } );
   const Meddler flap( agent->helper(), RoutingStatusHelper::routedPortsAndRoutedLagMemberNumber,
      [ this ] { status( lag )->forwardingModelIs( ForwardingModel::bridged ); } );
   status( lag )->forwardingModelIs( ForwardingModel::routed );
   EXPECT_TRUE( helper().routedPortsAndRoutedLagMember().empty() );
   EXPECT_TRUE( helper().vlanFloodPbmp().contains( 1 ) && helper().vlanFloodPbmp().contains( 2 ) );
   EXPECT_EQ( floodPorts(), helper().vlanFloodPbmp().toString() );
}

TEST_F( ReactorsTest, AMemberThatLeavesItsLagMeanwhileIsJudgedByItsOwnEvent )
{
   const IntfId other( "Port-Channel2" );
   agent->bringUp();
   hw().lagIs( lag, { one, two } );
   {
      const Meddler out( agent->helper(), RoutingStatusHelper::routedPortsAndRoutedLagMemberNumber,
         [ this ] { hw().lagIs( lag, { one } ); } );
      status( lag )->forwardingModelIs( ForwardingModel::routed );
   }
   EXPECT_FALSE( helper().routedPortsAndRoutedLagMember( two ) );
   EXPECT_EQ( helper().vlanFloodPbmp().contains( 1 ), false );
   EXPECT_TRUE( helper().vlanFloodPbmp().contains( 2 ) );

   hw().lagIs( lag, { one, two } );
   status( other )->forwardingModelIs( ForwardingModel::routed );
   {
      const Meddler over( agent->helper(), RoutingStatusHelper::routedPortsAndRoutedLagMemberNumber,
         [ & ] { hw().lagIs( other, { two } ); } );
      status( lag )->forwardingModelIs( ForwardingModel::bridged );
   }
   EXPECT_TRUE( helper().routedPortsAndRoutedLagMember( two ) );
   EXPECT_TRUE( helper().vlanFloodPbmp().contains( 1 ) );
   EXPECT_FALSE( helper().vlanFloodPbmp().contains( 2 ) );
}

// What comes or goes while the reactor is made, and has not subscribed yet.
TEST_F( ReactorsTest, WhoHearsTheReactorBeingMadeMayChangeWhatItWalks )
{
   const IntfId three( "Ethernet3" );
   StrataMiscConfig& config = *hw().miscConfig();
   config.unknownMacDropTrafficClassIs( 3, true );
   config.l2DualHashIs( true );
   helper().init( true, true );
   helper().handleTcamEntryVlanFloodDrop( 5, true ); // by hand, and nobody's business
   const auto fresh = Vormel::make<EthIntfStatus>( one );
   const Meddler early( hw().hwStatus(), HwStatus::l2DualHashNumber, [ & ] {
      hw().addInterface( three, 0, 3, ForwardingModel::routed );
      hw().removeInterface( two );
      hw().ethIntfStatusDir()->intfStatusIs( one, fresh );
   } );
   const Meddler late( agent->helper(), RoutingStatusHelper::unknownMacCountersPerTcNumber, [ & ] {
      config.unknownMacDropTrafficClassIs( 4, true );
      config.unknownMacDropTrafficClassDel( 3 );
   } );
   agent->startReactors();
   EXPECT_EQ( agent->reactor()->intfStatus().size(), 2u );
   EXPECT_TRUE( helper().routedPortsAndRoutedLagMember( three ) );
   fresh->forwardingModelIs( ForwardingModel::routed );
   EXPECT_TRUE( helper().routedPortsAndRoutedLagMember( one ) );
   EXPECT_EQ( helper().tcamEntryVlanFloodDrop( 3 ), 0u );
   EXPECT_NE( helper().tcamEntryVlanFloodDrop( 4 ), 0u );
   EXPECT_NE( helper().tcamEntryVlanFloodDrop( 5 ), 0u );
}

TEST_F( ReactorsTest, WhoHearsAnOperationMayAskForItsOpposite )
{
   using Helper = RoutingStatusHelper;
   RoutingStatusHelper& slice = helper();
   slice.init( true, true );
   slice.handleTcamEntryMplsTrafficDrop( false );
   {
      const Meddler on( agent->helper(), Helper::tcamEntryMplsPktNumber,
         [ & ] { slice.handleMplsRouting( true ); } );
      slice.handleTcamEntryMplsTrafficDrop( true );
      EXPECT_FALSE( slice.tcamEntryMplsActionDrop() );
   }
   {
      const Meddler on( agent->helper(), Helper::mplsRoutingEnabledNumber,
         [ & ] { slice.handleMplsRouting( true ); } );
      slice.handleMplsRouting( false );
      EXPECT_FALSE( slice.tcamEntryMplsActionDrop() );
      EXPECT_NE( slice.vfpEntryPhpLspPing(), 0u );
   }
   {
      slice.handleMplsRouting( false );
      const Meddler on( agent->helper(), Helper::tcamEntryMplsActionDropNumber,
         [ & ] { slice.handleMplsRouting( false ); } );
      slice.handleMplsRouting( true );
      EXPECT_TRUE( slice.tcamEntryMplsActionDrop() );
      EXPECT_EQ( slice.vfpEntryPhpLspPing(), 0u );
   }
   {
      const Meddler again( agent->helper(), Helper::tcamEntryMplsPktNumber,
         [ & ] { slice.handleTcamEntryMplsTrafficDrop( true ); } );
      slice.handleTcamEntryMplsTrafficDrop( false );
      EXPECT_TRUE( slice.tcamEntryMplsActionDrop() );
   }
   {
      const Meddler off( hw().urpfCommonData(), StrataUrpfCommonData::tcamEntryUrpf4Number,
         [ & ] { slice.doUrpfHwInitStage1( false ); } );
      slice.doUrpfHwInitStage1( true );
      EXPECT_EQ( hw().urpfCommonData()->tcamEntryUrpf6(), 0u );
   }
   const EthAddr first = *EthAddr::parse( "02:00:a1:00:00:01" );
   const EthAddr second = *EthAddr::parse( "02:00:a1:00:00:02" );
   slice.routerMacAddrIs( first );
   slice.handleTcamEntryL2ToCpu();
   const Meddler set( agent->helper(), Helper::tcamEntryArpReqUnicastNumber, [ & ] {
      slice.routerMacAddrIs( second );
      slice.handleTcamEntryL2ToCpu();
   } );
   slice.routerMacAddrIs( EthAddr() );
   slice.handleTcamEntryL2ToCpu();
   EXPECT_EQ( slice.tcamEntryRouterMac(), second );
   EXPECT_NE( slice.tcamEntryTrapCpuForL2Only( MacType::bridgeMac ), 0u );
   EXPECT_NE( slice.tcamEntryL2Vxlan( MacType::bridgeMac ), 0u );
}

TEST_F( ReactorsTest, InterfacesAndLagsMayGoWhileTheyAreHandled )
{
   agent->bringUp();
   hw().lagIs( lag, { one, two } );
   {
      // The status that changes goes, and its nested reactor with it.
      const Meddler meddler( agent->helper(), RoutingStatusHelper::reprogramVlanFloodRequiredNumber,
         [ this ] { hw().ethIntfStatusDir()->intfStatusDel( one ); } );
      status( one )->forwardingModelIs( ForwardingModel::routed );
   }
   EXPECT_EQ( agent->reactor()->intfStatus().size(), 2u );
   hw().addInterface( one, 0, 1, ForwardingModel::bridged );
   EXPECT_EQ( agent->reactor()->intfStatus().size(), 3u );
   {
      // The LAG loses its members one after the other while they are walked.
      const Meddler meddler( agent->helper(),
         RoutingStatusHelper::routedPortsAndRoutedLagMemberNumber,
         [ this ] { hw().lagDel( lag ); } );
      status( lag )->forwardingModelIs( ForwardingModel::routed );
   }
   EXPECT_EQ( agent->reactor()->intfStatus().size(), 2u );
   EXPECT_EQ( helper().vlanFloodPbmp().toString(), floodPorts() );
}

TEST_F( ReactorsTest, AChangeWithinAChangeIsHandledWholeAndTheLastOneHolds )
{
   agent->bringUp();
   const Meddler flap( agent->helper(), RoutingStatusHelper::routedPortsAndRoutedLagMemberNumber,
      [ this ] { status( one )->forwardingModelIs( ForwardingModel::bridged ); } );
   status( one )->forwardingModelIs( ForwardingModel::routed );
   EXPECT_EQ( flap.told, 2 ); // in, and out again
   EXPECT_TRUE( helper().routedPortsAndRoutedLagMember().empty() );
   EXPECT_EQ( floodPorts(), helper().vlanFloodPbmp().toString() );
   EXPECT_TRUE( helper().vlanFloodPbmp().contains( 1 ) );

   // Who does not like the report changes the configuration back.
   const Meddler veto( hw().hwStatus(), HwStatus::l2DualHashNumber,
      [ this ] { hw().miscConfig()->l2DualHashIs( false ); } );
   hw().miscConfig()->l2DualHashIs( true );
   EXPECT_EQ( hw().chip( 0 ).control( SwitchControl::HashL2Dual ), 0 );
   EXPECT_FALSE( hw().hwStatus()->l2DualHash() );
}

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

TEST_F( ReactorsTest, AStatusThatReplacesAnotherTakesItsReactorOver )
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
   // One poller, though who hears of its making asks for another; and it goes along to another clock.
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
   sm->handleNexthopStatus( "nobody" );
   hw().nexthopIs( "flows", true, true );
   helper().init( true, true );
   hw().miscConfig()->l2DualHashIs( false );
   hw().miscConfig()->unknownMacDropTrafficClassDel( 3 );
   const auto alone = RoutingStatusSmIs( hw().scsd(), nullptr, hw().miscConfig(), agent->helper(),
      nullptr, nullptr, hw().sourceIpLookup(), nullptr, hw().nexthopStatusDir() );
   EXPECT_TRUE( helper().ofFxSupported() );
   const Sim::Chip& chip = hw().chip( 0 );
   for( const bool on : { true, false } ) {
      // Without a report to write to, the reactor itself knows what the chips do.
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
}

TEST_F( ReactorsTest, WithoutUnitsTheReactorsRunAndProgramNothing )
{
   hw().scsd()->units().unitDel( 0 );
   hw().miscConfig()->unknownMacDropTrafficClassIs( 3, true );
   hw().miscConfig()->syslogTimeoutIs( 1.0 );
   U64 before = calls();
   agent->bringUp();
   EXPECT_EQ( calls() - before, 2u * 13 ); // the controls of two ports, whose rows name the unit
   before = calls();
   status( one )->forwardingModelIs( ForwardingModel::routed );
   hw().miscConfig()->l2DualHashIs( true );
   agent->clock().advanceBy( 2.0 );
   EXPECT_TRUE( helper().routedPortsAndRoutedLagMember( one ) );
   hw().scsd()->strataIntfToPortDel( one );
   EXPECT_EQ( calls(), before );
}

// The keyed handler is what events run; an agent may ask for all members at once.
TEST_F( ReactorsTest, AllLagMembersCanBeLookedAtAgain )
{
   agent->bringUp();
   hw().lagIs( lag, { one, two } );
   status( lag )->forwardingModelIs( ForwardingModel::routed );
   helper().routedPortsAndRoutedLagMemberDelAll();
   EXPECT_TRUE( helper().vlanFloodPbmp().contains( 1 ) );
   agent->reactor()->doAddOrRemoveLagPortFlood();
   EXPECT_FALSE( helper().vlanFloodPbmp().contains( 1 ) || helper().vlanFloodPbmp().contains( 2 ) );
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
      if( ++polls % 2 == 0 ) // both entries of the pair
         agent->clock().advanceBy( 0.03 );
   } );
   agent->clock().advanceTo( 0.1 );
   transcript().listenerIs( {} );
   EXPECT_EQ( polls, 2 );
   EXPECT_EQ( agent->clock().now(), 0.13 );
   EXPECT_EQ( nextPoll(), 0.13 + 0.1 );

   // A thousand polls: each exactly one interval after the one before, none lost, none twice.
   double due = nextPoll();
   for( int i = 0; i < 1000; ++i ) {
      agent->clock().advanceTo( due );
      due += 0.1;
      ASSERT_EQ( nextPoll(), due );
   }
   config.syslogTimeoutIs( 0.0 );
   EXPECT_EQ( nextPoll(), Timer::never );
}

TEST_F( ReactorsTest, WhoReadsTheLogMayWithdrawTheClass )
{
   hw().miscConfig()->unknownMacDropTrafficClassIs( 3, true );
   hw().miscConfig()->syslogTimeoutIs( 1.0 );
   agent->bringUp();
   agent->clock().advanceBy(
      1000.0 ); // no message of another test is so recent that it holds this one back
   raiseHits( 3 );
   const auto sink = Vormel::syslogSinkIs( [ & ]( const Vormel::SyslogRecord& ) {
      hw().miscConfig()->unknownMacDropTrafficClassDel( 3 );
   } );
   agent->clock().advanceBy( 1.0 );
   Vormel::syslogSinkIs( sink );
   EXPECT_EQ( helper().tcamEntryVlanFloodDrop().size(), 0u );
   EXPECT_EQ( helper().unknownMacCountersPerTc( 3 ), 0u );
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
