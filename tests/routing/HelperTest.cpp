#include "tests/routing/Fixture.h"

#include "platform/runtime/Trace.h"
#include "sim/SdkCodes.h"

#include <thread>

namespace Strata {
namespace {

using Sim::RecordKind;
using Vormel::Ref;

class HelperTest : public SwitchTest
{
};

TEST_F( HelperTest, AHelperWithoutInputsHoldsItsState )
{
   const auto bare = Vormel::make<RoutingStatusHelper>( "bare", nullptr, nullptr, nullptr, false,
      nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr );
   EXPECT_EQ( bare->routerMacIndex(), 0xFFFFu );
   EXPECT_EQ( bare->l3IntfFull(), 0xFFFFFFFFu );
   EXPECT_EQ( bare->ipOptionsProfile(), -1 );
   EXPECT_EQ( bare->reprogramVlanFloodRequiredInc( 0xFFFFFFFF ), 0xFFFFFFFFu );
   EXPECT_EQ( bare->reprogramVlanFloodRequiredInc( 2 ), 1u ); // wraps
}

TEST_F( HelperTest, DestructionPublishesNothingAndTouchesNoHardware )
{
   make( "hsdk" );
   Ref<RoutingStatusHelper> second = agent->newHelper();
   second->tcamManagerIs( agent->hardware().tcamManager() );
   second->init( true, true );
   agent->hardware().record( second, "second" );
   const U64 before = transcript().size();
   agent->hardware().forget( *second );
   second = nullptr;
   EXPECT_EQ( transcript().size(), before );
}

TEST_F( HelperTest, TheCounterReprogramsBeforeItIsPublishedAndOncePerChange )
{
   make( "hsdk", { 0 } );
   helper().init( true, true );
   const U64 before = transcript().records().back().number;
   EXPECT_EQ( helper().reprogramVlanFloodRequiredInc( 0 ), 0u );
   helper().reprogramVlanFloodRequiredIs( 0 );
   EXPECT_EQ( transcript().records().back().number, before );
   EXPECT_EQ( helper().reprogramVlanFloodRequiredInc( 1 ), 1u );
   EXPECT_EQ(
      transcript().records().back().text, "helper.reprogramVlanFloodRequired (150): 0 -> 1" );
   EXPECT_NE(
      texts( RecordKind::call, before ).find( "bcm_field_action_ports_add" ), std::string::npos );
}

TEST_F( HelperTest, WithoutUnitsNothingIsProgrammedAndNothingCrashes )
{
   make( "register", { 0 } );
   agent->hardware().scsd()->units().unitDel( 0 );
   helper().init( true, true );
   helper().handleRouting( true, true );
   helper().handleVlanRoutingState( 10, {} );
   helper().reprogramVlanFloodRequiredInc( 1 );
   EXPECT_EQ( transcript().count( RecordKind::call ), 0u );
   EXPECT_TRUE( helper().routing4Enabled() );
   EXPECT_FALSE( helper().useLb() ); // no chip, no capability
}

TEST_F( HelperTest, AUnitWithoutTheVlanIsPassedOver )
{
   make( "hsdk" );
   agent->hardware().vlanIs( 10 );
   agent->hardware().chip( 0 ).vlanDel( 10 );
   const U64 before = transcript().records().back().number;
   helper().enableVlanRouting( 10, true );
   helper().handlePerVlanRouting( true );
   helper().handleIpAddressState( 10, true, false );
   helper().handleVlanCpuPort( 10, true );
   const std::string calls = texts( RecordKind::call, before );
   EXPECT_EQ( calls.find( "unit 0" ), std::string::npos ) << calls;
   EXPECT_NE( calls.find( "bcm_vlan_port_remove( unit 1" ), std::string::npos ) << calls;
   EXPECT_NE( calls.find( "bcm_vlan_control_vlan_set( unit 1" ), std::string::npos ) << calls;
}

TEST_F( HelperTest, AnUnknownMacDropClaimIsTracedBeforeItIsQualified )
{
   make( "hsdk", { 0 } );
   Vormel::traceLevelsIs( "StrataRoutingStatus=2" );
   agent->hardware().faults().inject(
      { .call = "bcm_field_qualify_PacketRes", .code = Sim::SdkCode::Fail } );
   EXPECT_THROW( helper().handleTcamEntryVlanFloodDrop( 3, true ), Died );
   Vormel::traceLevelsIs( "StrataRoutingStatus=off" );
   const std::string traces = texts( RecordKind::trace );
   EXPECT_NE( traces.find( "Allocated L3 unknown mac  tcam entry (ID: 1011), traffic-class: 3" ),
      std::string::npos );
   EXPECT_NE( traces.find( "Allocated L2 unknown mac  tcam entry (ID: 1012), traffic-class: 3" ),
      std::string::npos );
}

TEST_F( HelperTest, OthersMayLookWhileTheSdkWorks )
{
   make( "hsdk", { 0 } );
   U64 looks = 0;
   transcript().listenerIs( [ & ]( const Sim::Record& record ) {
      if( record.kind != RecordKind::call )
         return;
      // Deadlocks if the slice held the lock across the call.
      std::thread( [ & ] {
         const Vormel::LockAnchor looking( Vormel::activityLock() );
         looks += helper().tcamEntryVlanFlood() == 0 || helper().tcamEntryVlanFlood() > 1 ? 1 : 0;
      } ).join();
   } );
   helper().init( true, true );
   transcript().listenerIs( {} );
   EXPECT_EQ( looks, transcript().count( RecordKind::call ) );
}

} // namespace
} // namespace Strata
