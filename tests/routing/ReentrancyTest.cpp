// Subscribers that act from within a notification: they drop the reactor that made the change, or change the objects
// that it is handling. In the sanitizer builds these tests find uses after destruction.
#include "tests/routing/ReactorsFixture.h"

#include "platform/runtime/Syslog.h"

#include <gmock/gmock.h>
#include <memory>
#include <tuple>

namespace Strata {
namespace {

class ReentrancyTest : public ReactorsFixture
{
};

TEST_F( ReentrancyTest, ASubscriberMayDropTheReactorThatMadeTheChange )
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
   // The running handler completed; no reactor handles the next change.
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

TEST_F( ReentrancyTest, ASubscriberMayDropTheReactorsDuringAPoll )
{
   hw().miscConfig()->unknownMacDropTrafficClassIs( 3, true );
   hw().miscConfig()->unknownMacDropTrafficClassIs( 4, true );
   hw().miscConfig()->syslogTimeoutIs( 1.0 );
   agent->bringUp();
   raiseHits( 3 );
   Ref<UnknownMacDropLoggingSm> kept;
   {
      // Detached but still referenced: it does not poll.
      const Meddler meddler( agent->helper(), RoutingStatusHelper::unknownMacCountersPerTcNumber,
         [ & ] { kept = agent->reactor()->unknownMacDropLoggingSmDel(); } );
      agent->clock().advanceBy( 1.0 );
      kept->setTimer();
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

TEST_F( ReentrancyTest, APollMayRunDuringTheConstructionOfItsReactor )
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

// A subscriber of any attribute that a handler publishes may drop the reactor: the handler still completes.
TEST_F( ReentrancyTest, EveryDispatcherOutlivesItsReactor )
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

TEST_F( ReentrancyTest, APortMayBeRemovedWhileItIsHandled )
{
   agent->bringUp();
   const Meddler meddler( agent->helper(), RoutingStatusHelper::reprogramVlanFloodRequiredNumber,
      [ this ] { hw().scsd()->strataIntfToPortDel( one ); } );
   hw().scsd()->strataIntfToPortIs( one, StrataPort( 0, 7, 1 ) );
   EXPECT_FALSE( hw().scsd()->strataIntfToPort( one ) );
   EXPECT_FALSE( helper().vlanFloodPbmp().contains( 1 ) );
}

TEST_F( ReentrancyTest, ALagThatIsSwitchedWhileItIsHandledEndsAsSwitched )
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

TEST_F( ReentrancyTest, AMemberThatLeavesItsLagMeanwhileIsHandledByItsOwnEvent )
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

TEST_F( ReentrancyTest, APeerLinkMayMoveWhileItsReactorIsMade )
{
   helper().init( true, true );
   hw().mlagHwStatus()->peerMacRoutingSupportedIs( true );
   Mlag::Status& mlag = *hw().mlagStatus();
   mlag.peerMacRoutingEnabledIs( true );
   mlag.peerMacAddrIs( *EthAddr::parse( "02:00:a1:00:00:02" ) );
   mlag.peerLinkIntfIs( one );
   const Meddler meddler( agent->helper(), RoutingStatusHelper::peerMacArpRedirectNumber,
      [ & ] { mlag.peerLinkIntfIs( two ); } );
   agent->startReactors();
   const U32 id = helper().peerMacArpRedirect();
   const Sim::FieldRule& rule = *hw().chip( 0 ).groupOf( id )->find( id )->hardware;
   EXPECT_EQ( rule.actions.front().parameter1, 2u );
}

// Changes during the construction of the reactor, before it has subscribed.
TEST_F( ReentrancyTest, ASubscriberMayChangeInputsDuringTheConstructionOfTheReactor )
{
   const IntfId three( "Ethernet3" );
   StrataMiscConfig& config = *hw().miscConfig();
   config.unknownMacDropTrafficClassIs( 3, true );
   config.l2DualHashIs( true );
   helper().init( true, true );
   helper().handleTcamEntryVlanFloodDrop(
      5, true ); // made by a direct call, so the reactor does not remove it
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

TEST_F( ReentrancyTest, ASubscriberMayChangeRowsDuringTheConstructionOfTheReactor )
{
   const IntfId three( "Ethernet3" );
   hw().miscConfig()->l2DualHashIs( true );
   hw().lagIs( lag, { two } );
   status( lag )->forwardingModelIs( ForwardingModel::routed );
   hw().addInterface( three, 0, 3, ForwardingModel::bridged );
   const Meddler veto( hw().hwStatus(), HwStatus::l2DualHashNumber,
      [ & ] { hw().miscConfig()->l2DualHashIs( false ); } );
   const Meddler move(
      agent->helper(), RoutingStatusHelper::reprogramVlanFloodRequiredNumber, [ & ] {
         if( helper().reprogramVlanFloodRequired() != 3 )
            return; // each interface has been handled now
         hw().lagIs( lag, { one } );
         hw().scsd()->strataIntfToPortDel( three );
      } );
   agent->bringUp();
   EXPECT_FALSE( hw().hwStatus()->l2DualHash() );
   EXPECT_EQ( hw().chip( 0 ).control( SwitchControl::HashL2Dual ), 0 );
   EXPECT_TRUE( helper().routedPortsAndRoutedLagMember( one ) );
   EXPECT_FALSE( helper().routedPortsAndRoutedLagMember( two ) );
   EXPECT_FALSE( helper().vlanFloodPbmp().contains( 1 ) );
   EXPECT_TRUE( helper().vlanFloodPbmp().contains( 2 ) );
   EXPECT_FALSE( helper().vlanFloodPbmp().contains( 3 ) );
   EXPECT_EQ( floodPorts(), helper().vlanFloodPbmp().toString() );
}

TEST_F( ReentrancyTest, AMacThatChangesBetweenItsEntriesIsInAllOfThemAfterTheNextCall )
{
   using Helper = RoutingStatusHelper;
   const EthAddr after( 2, 0, 0, 0, 0, 0xB );
   helper().init( true, true );
   for( const auto& [ macType, set, handle ] :
      { std::tuple( MacType::bridgeMac, &Helper::routerMacAddrIs, &Helper::handleTcamEntryL2ToCpu ),
         std::tuple( MacType::fennicMac, &Helper::virtualRouterMacAddrIs,
            &Helper::handleTcamEntryL2FennicToCpu ) } ) {
      ( helper().*set )( EthAddr( 2, 0, 0, 0, 0, 0xA ) );
      {
         const Meddler meddler( agent->helper(), Helper::tcamEntryL3VxlanNumber,
            [ & ] { ( helper().*set )( after ); } );
         ( helper().*handle )();
      }
      ( helper().*handle )();
      const U32 id = helper().tcamEntryL3Vxlan( macType );
      EXPECT_THAT( hw().chip( 0 ).groupOf( id )->find( id )->hardware->text(),
         testing::HasSubstr( "DstMac " + after.toString() ) );
   }
}

TEST_F( ReentrancyTest, AClassMayComeBackWhileItIsReplaced )
{
   StrataMiscConfig& config = *hw().miscConfig();
   agent->bringUp();
   config.unknownMacDropTrafficClassIs( 3, true );
   bool back = false;
   const Meddler meddler(
      hw().miscConfig(), StrataMiscConfig::unknownMacDropTrafficClassNumber, [ & ] {
         if( !std::exchange( back, true ) )
            config.unknownMacDropTrafficClassIs( 3, true );
      } );
   config.unknownMacDropTrafficClassIs( 3, false );
   EXPECT_NE( helper().tcamEntryVlanFloodDrop( 3 ), 0u );
}

TEST_F( ReentrancyTest, ASubscriberMayCallTheOppositeOfAnOperation )
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
      slice.handleTcamEntryMplsTrafficDrop( false );
      const Meddler off( agent->helper(), Helper::tcamEntryMplsPktNumber, [ & ] {
         if( slice.tcamEntryMplsPkt() != 0 )
            slice.handleTcamEntryMplsTrafficDrop( false );
      } );
      slice.handleTcamEntryMplsTrafficDrop( true );
      EXPECT_EQ( slice.tcamEntryMplsPkt(), 0u );
      EXPECT_FALSE( slice.tcamEntryMplsActionDrop() );
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

TEST_F( ReentrancyTest, InterfacesAndLagsMayBeRemovedWhileTheyAreHandled )
{
   agent->bringUp();
   hw().lagIs( lag, { one, two } );
   {
      // The status is removed while it changes, and its nested reactor with it.
      const Meddler meddler( agent->helper(), RoutingStatusHelper::reprogramVlanFloodRequiredNumber,
         [ this ] { hw().ethIntfStatusDir()->intfStatusDel( one ); } );
      status( one )->forwardingModelIs( ForwardingModel::routed );
   }
   EXPECT_EQ( agent->reactor()->intfStatus().size(), 2u );
   hw().addInterface( one, 0, 1, ForwardingModel::bridged );
   EXPECT_EQ( agent->reactor()->intfStatus().size(), 3u );
   {
      // The LAG loses its members one after the other while they are handled.
      const Meddler meddler( agent->helper(),
         RoutingStatusHelper::routedPortsAndRoutedLagMemberNumber,
         [ this ] { hw().lagDel( lag ); } );
      status( lag )->forwardingModelIs( ForwardingModel::routed );
   }
   EXPECT_EQ( agent->reactor()->intfStatus().size(), 2u );
   EXPECT_EQ( helper().vlanFloodPbmp().toString(), floodPorts() );
}

TEST_F( ReentrancyTest, AChangeWithinAChangeIsHandledAndTheLastOneApplies )
{
   agent->bringUp();
   const Meddler flap( agent->helper(), RoutingStatusHelper::routedPortsAndRoutedLagMemberNumber,
      [ this ] { status( one )->forwardingModelIs( ForwardingModel::bridged ); } );
   status( one )->forwardingModelIs( ForwardingModel::routed );
   EXPECT_EQ( flap.told, 2 ); // inserted, and removed again
   EXPECT_TRUE( helper().routedPortsAndRoutedLagMember().empty() );
   EXPECT_EQ( floodPorts(), helper().vlanFloodPbmp().toString() );
   EXPECT_TRUE( helper().vlanFloodPbmp().contains( 1 ) );

   // A subscriber of the hardware status changes the configuration back.
   const Meddler veto( hw().hwStatus(), HwStatus::l2DualHashNumber,
      [ this ] { hw().miscConfig()->l2DualHashIs( false ); } );
   hw().miscConfig()->l2DualHashIs( true );
   EXPECT_EQ( hw().chip( 0 ).control( SwitchControl::HashL2Dual ), 0 );
   EXPECT_FALSE( hw().hwStatus()->l2DualHash() );
}

TEST_F( ReentrancyTest, TheLogSinkMayWithdrawTheClass )
{
   hw().miscConfig()->unknownMacDropTrafficClassIs( 3, true );
   hw().miscConfig()->syslogTimeoutIs( 1.0 );
   agent->bringUp();
   agent->clock().advanceBy( 1000.0 ); // so that no message of another test suppresses this one
   raiseHits( 3 );
   const auto sink = Vormel::syslogSinkIs( [ & ]( const Vormel::SyslogRecord& ) {
      hw().miscConfig()->unknownMacDropTrafficClassDel( 3 );
   } );
   agent->clock().advanceBy( 1.0 );
   Vormel::syslogSinkIs( sink );
   EXPECT_EQ( helper().tcamEntryVlanFloodDrop().size(), 0u );
   EXPECT_EQ( helper().unknownMacCountersPerTc( 3 ), 0u );
}

} // namespace
} // namespace Strata
