#include "tests/routing/Fixture.h"

#include "platform/runtime/ChangeWatcher.h"
#include "platform/runtime/EntityType.h"
#include "platform/runtime/Trace.h"
#include "sim/sdk/SdkCodes.h"

#include <fstream>
#include <gmock/gmock.h>
#include <regex>
#include <set>
#include <sstream>

namespace Strata {
namespace {

using Sim::RecordKind;
using Vormel::Ref;

class HelperTest : public SwitchTest
{
 protected:
   void levelsAre( const std::string& levels )
   {
      Vormel::traceLevelsIs( "StrataRoutingStatus=" + levels );
   }
};

struct CallByName
{
   const char* call;
   const char* first; // a part of its first record or of its result; $ stands for "NAME: NAME"
};

// In an order in which each operation has something to do.
constexpr CallByName callsByName[] = {
   { "init true false", "2 $, enable: 1, initHw: 0" },
   { "l3Init false", "2 init: init, enable: 0, initHw: 1" },
   { "initCpuControlM", "soc_reg32_get( unit 0, reg CPU_CONTROL_Mr" },
   { "doWriteIngConfig", "control L3InterfaceUrpfEnable, value 1" },
   { "doNotCopyPacketFromCpuToCpu", "2 doNotCopyPacketFromCpuToCpu: set DO_NOT_COPY" },
   { "initializeNextHopToCpuTcam", "\"NextHop to Cpu\"" },
   { "handleTcamEntryLb", "2 $" },
   { "handleTcamEntryVlanFlood true", "2 $, create: 1" },
   { "handleTcamEntryVlanFloodPbr true", "2 $, create: 1" },
   { "handleEnableTcamEntryVlanFloodPbr true", "2 $, create: 1" },
   { "handleTcamEntryL3Recirc true", "2 $, create: 1" },
   { "handleTcamEntryVlanFloodVxlan false", "2 $, create: 0" },
   { "handleTcamEntryVxlanEncapFlood true", "2 $, create: 1" },
   { "reprogramVlanFloodRequiredInc 5", "= 5" },
   { "reprogramVlanFloodEntries", "2 updateVlanFloodTcamEntryPbmp: updateVlanFloodTcamEntryPbmp" },
   { "updateVlanFloodPbmp Ethernet1", "2 $ intf: Ethernet1 remove: 0" },
   { "updateVlanFloodTcamEntryPbmp 0 true", "2 $" },
   { "handleTcamEntryL2McastCpu true", "2 $, create: 1" },
   { "programSkipL2McastPktFromCoreToCpu true", "2 $, create: 1" },
   { "handleTcamEntryMplsTrafficDrop true", "2 $, create: 1" },
   { "handleMplsRouting true", "2 $, create: 1" },
   { "handleTcamEntryMplsPhpLspPing true", "2 $, create: 1" },
   { "handleRouting true false", "2 $, enable: 1, enable6: 0" },
   { "programSwitchCtrlPortSet Ethernet2", "9 $intfEthernet2" },
   { "handleVlanRoutingState 10 ip6", "4 $, Vlan: 10, routing: 0, routing6: 1, mcastRouting: 0" },
   { "handlePerVlanRouting true", "2 $, create: 1" },
   { "enableVlanRouting 10 true", "2 $, Vlan: 10, enable: 1" },
   { "handleIpAddressState 10 true false", "2 $, Vlan: 10, ip4: 1, ip6: 0" },
   { "handleVlanCpuPort 10 true", "2 $, Vlan: 10, block: 1" },
   { "addMyStationTcamEntry 0 1 02:00:a1:00:00:07 true 10 false true true",
      "9 $, Unit:0, Index:1, Mac:02:00:a1:00:00:07, vlanId:10, vlanIdValid:1, ingressPortCpu:0Routing (IPv4, IPv6, MPLS)" },
   { "verifyMyStationTcamEntry 0 1 true 02:00:a1:00:00:07 true 10 false true true",
      "9 $, valid:1, Mac:02:00:a1:00:00:07, vlanId:10, vlanIdValid:1" },
   { "removeMyStationTcamEntry 0 1", "9 $, Unit:0, Index:1" },
   { "verifyPeerMacRoutingStatus",
      "2 verifyPeerMacRoutingStatus: Testing for peer mac routing to be disabled." },
   { "handlePeerMacRouting 02:00:a1:00:00:02 true", "2 $ Add , mac: 02:00:a1:00:00:02" },
   { "handleTcamEntryL2ToCpu", "2 $" },
   { "handleTcamEntryL2FennicToCpu", "2 $" },
   { "installTcamEntryForNonRoutableToCpu fennicMac", "2 $, macType: fennicMac" },
   { "installTcamEntryForL3Vxlan bridgeMac", "2 $, macType: bridgeMac" },
   { "programL2VxlanTcam fennicMac", "2 $, macType: fennicMac" },
   { "handleTcamEntryArpReplyToCpu bridgeMac", "9 $, macType: bridgeMac" },
   { "handleTcamEntryArpReqUnicastDrop", "9 $" },
   { "getUrpfTcamEntryManager", "7 getUrpfTcamEntryManager: uRPF Feature is in single wide mode" },
   { "doUrpfHwInitStage1 true", "7 $, enable: 1" },
   { "handleTcamEntryUrpf false true", "2 handleTcamEntryUrpf: uRPF tcam entry enable 0, ipv4: 1" },
   { "handleTcamEntryVlanFloodDrop 3 true", "2 $, tc: 3, create: 1" },
   { "createTcamEntryVlanFloodTc 4", "= 1013" },
   { "deleteTcamEntryVlanFloodTc 4 1013",
      "2 deleteTcamEntryVlanFloodTc: Deleting tcam entry (ID: 0x3f5), traffic-class: 4" },
   { "updateVlanFloodTcamEntriesOnSpeedChange Ethernet2 true", "2 $ intf: Ethernet2 active: 1" },
   { "updateVlanFloodIgnoreIntf Ethernet1", "2 $ intf: Ethernet1" },
   { "routedIntf Ethernet1", "2 $ intf: Ethernet1 = true" },
   { "routedLagMember Ethernet3", "2 routedIntf: routedIntf intf: Port-Channel1 = true" },
   { "updateUnknownMacDropCounters 3",
      "5 updateUnknownMacDropCounters: RoutingStatusHelper::updateUnknownMacDropCounters TC 3" },
   { "resetUnknownMacDropCounters 3",
      "5 resetUnknownMacDropCounters: RoutingStatusHelper::resetUnknownMacDropCounters TC 3" },
   { "handlePeerMacArpRedirect 02:00:a1:00:00:02 Ethernet3 true", "2 $, create: 1" },
};

TEST_F( HelperTest, EveryOperationCalledByNameDoesWhatTheNameSays )
{
   make( "register", { 0 } );
   Sim::SimSwitch& hardware = agent->hardware();
   hardware.vlanIs( 10 );
   for( const int port : { 1, 2, 3 } )
      hardware.addInterface( IntfId( "Ethernet" + std::to_string( port ) ), 0, port,
         Interface::ForwardingModel::routed );
   helper().routerMacAddrIs( *EthAddr::parse( "02:00:a1:00:00:01" ) );
   helper().virtualRouterMacAddrIs( *EthAddr::parse( "02:00:a1:00:00:99" ) );
   hardware.mlagHwStatus()->peerMacRoutingSupportedIs( true );
   const IntfId lag( "Port-Channel1" );
   hardware.lagIs( lag, { IntfId( "Ethernet3" ) } );
   hardware.intfStatus( lag )->forwardingModelIs( Interface::ForwardingModel::routed );
   std::set<std::string_view> untried;
   for( const auto& operation : helper().entityType().operations() )
      untried.insert( operation->name() );
   levelsAre( "9" );
   for( const auto& [ call, first ] : callsByName ) {
      std::istringstream words( call );
      std::string name;
      words >> name;
      std::vector<Vormel::Value> arguments;
      for( std::string word; words >> word; )
         arguments.emplace_back( word );
      const std::string expected =
         std::regex_replace( std::string( first ), std::regex( "\\$" ), name + ": " + name );
      const std::size_t before = transcript().records().size();
      const Vormel::Value result =
         helper().entityType().operation( name ).call( helper(), arguments );
      ASSERT_GT( transcript().records().size(), before ) << call;
      EXPECT_THAT( transcript().records()[ before ].text + " = " + toText( result ),
         testing::HasSubstr( expected ) )
         << call;
      untried.erase( name );
   }
   levelsAre( "off" );
   EXPECT_THAT( untried, testing::IsEmpty() );
}

TEST_F( HelperTest, TheParametersOfOperationsAreNamedAsInTheHeader )
{
   make( "hsdk", { 0 } );
   std::ostringstream text;
   text << std::ifstream( "routing/RoutingStatusHelper.h" ).rdbuf();
   const std::string header = std::regex_replace( text.str(), std::regex( "\\s+" ), " " );
   for( const auto& operation : helper().entityType().operations() ) {
      std::string pattern;
      for( const Vormel::Parameter& parameter : operation->parameters() )
         pattern += ( pattern.empty() ? " [^,;]*" : ", [^,;]*" ) + parameter.name;
      pattern = " " + std::string( operation->name() ) + "\\(" + pattern + " ?\\);";
      EXPECT_TRUE( std::regex_search( header, std::regex( pattern, std::regex::icase ) ) )
         << pattern;
   }
}

TEST_F( HelperTest, AMissingInputIsTracedAndItsStepIsSkipped )
{
   make( "register", { 0 } );
   Sim::SimSwitch& hardware = agent->hardware();
   hardware.addInterface( IntfId( "Ethernet1" ), 0, 1 );
   hardware.scsd()->vfiForwardingIs( true );
   const auto helperWith = [ & ]( Ref<const Mlag::Status> mlag,
                              Ref<const Mlag::Hardware::Status> mlagHardware ) {
      return Vormel::make<RoutingStatusHelper>( "bare", hardware.scsd(), nullptr, nullptr, false,
         mlag, mlagHardware, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr );
   };
   const auto bare = helperWith( nullptr, nullptr );
   levelsAre( "1" );
   bare->programSwitchCtrlPortSet( IntfId( "Ethernet1" ) );
   EXPECT_THAT( texts( RecordKind::call ),
      testing::EndsWith( "bcm_port_control_set( unit 0, port 1, control IP4, value 1 )\n"
                         "bcm_port_control_set( unit 0, port 1, control IP6, value 1 )\n" ) );
   bare->init( true, true );
   for( const auto& helper : { helperWith( nullptr, Vormel::make<Mlag::Hardware::Status>() ),
           helperWith( Vormel::make<Mlag::Status>(), nullptr ) } ) {
      helper->handlePeerMacRouting( EthAddr(), true );
      helper->verifyPeerMacRoutingStatus();
   }
   bare->handleTcamEntryVlanFloodDrop( 3, true );
   bare->handleTcamEntryArpReplyToCpu( MacType::bridgeMac );
   bare->handleTcamEntryArpReqUnicastDrop();
   levelsAre( "off" );
   EXPECT_EQ(
      std::regex_replace( texts( RecordKind::trace ), std::regex( "Strata.* 1 .*: (.*: )" ), "$1" ),
      "programSwitchCtrlPortSet: no software port table\n"
      "init: no entry manager for the TTL check\n"
      "initializeNextHopToCpuTcam: no entry manager\n"
      "init: no L2 multicast table allocation\n"
      "handleTcamEntryLb: no entry manager\n"
      "handleTcamEntryVlanFlood: no entry manager\n"
      "handleTcamEntryVxlanEncapFlood: no entry manager\n"
      "handleTcamEntryVlanFloodVxlan: no entry manager\n"
      "handleTcamEntryL3Recirc: no entry manager\n"
      "handleTcamEntryVlanFloodPbr: no entry manager\n"
      "handleTcamEntryL2McastCpu: no entry manager\n"
      "handleTcamEntryMplsTrafficDrop: no entry manager\n"
      "programSkipL2McastPktFromCoreToCpu: no entry manager\n"
      "verifyPeerMacRoutingStatus: no MLAG status\n"
      "handlePeerMacRouting: no MLAG hardware status\n"
      "handleTcamEntryVlanFloodDrop: no entry manager\n"
      "handleTcamEntryArpReplyToCpu: no entry manager\n"
      "handleTcamEntryArpReqUnicastDrop: no entry manager\n" );
   testing::internal::CaptureStderr();
   EXPECT_THAT( [ & ] { bare->handleTcamEntryUrpf( true, true ); },
      testing::Throws<Died>( testing::Field( &Died::text, "!!sucd" ) ) );
   EXPECT_THAT( [ & ] { bare->handleUrpf( IntfId(), 0, {}, {} ); },
      testing::Throws<Died>( testing::Field( &Died::text, "false" ) ) );
   testing::internal::GetCapturedStderr();
   bare->l2McastTableAllocationIs( hardware.l2McastTableAllocation() );
   for( const U32 size : { 5u, 0u } ) {
      hardware.l2McastTableAllocation()->sizeIs( size );
      bare->init( true, true );
      EXPECT_EQ( bare->allPortsL2Mc(), 4u ) << size; // without a group it keeps its value
   }
   bare->tcamManagerIs( hardware.tcamManager() );
   const U64 before = transcript().records().back().number;
   bare->handleTcamEntryVlanFloodPbr( true ); // policy routing counts as off
   EXPECT_THAT( texts( RecordKind::entry, before ),
      testing::EndsWith( "enableEntry unit 0 id 1021 disable\n" ) );
}

TEST_F( HelperTest, AUnitThatHasLostItsLoopbackPortReleasesTheEntriesThatUseIt )
{
   make( "register" );
   helper().init( true, true );
   UnitTable& units = agent->hardware().scsd()->units();
   StrataUnit unit = *units.find( 1 );
   unit.loopbackPort.reset();
   units.unitIs( 1, unit );
   const U64 before = transcript().records().back().number;
   helper().handleTcamEntryLb();
   helper().handleTcamEntryVlanFlood( true );
   helper().handleTcamEntryVlanFloodVxlan( true );
   helper().handleTcamEntryL3Recirc( true );
   std::string expected;
   for( const U32 id : { helper().tcamEntryLbRecircL2Uc(), helper().tcamEntryLbRecirc(),
           helper().tcamEntryVlanFlood(), helper().tcamEntryVlanFloodVxlan(),
           helper().tcamEntryL3RecircAfterDecap(), helper().tcamEntryL3RecircForEncap() } )
      expected += "main installEntry unit 0 id " + std::to_string( id ) +
                  "\nmain releaseEntry unit 1 id " + std::to_string( id ) + "\n";
   EXPECT_EQ( std::regex_replace(
                 texts( RecordKind::entry, before ), std::regex( "main (getEntry|add).*\n" ), "" ),
      expected );
}

TEST_F( HelperTest, AWalkOverTheUnitsGoesOnWhenUnitsComeAndGo )
{
   UnitTable units;
   for( const U16 number : std::vector<U16>{ 3, 1, 5, 7 } )
      units.unitIs( number, {} );
   std::vector<U16> walked;
   for( const auto& i : units ) {
      walked.push_back( i.key() );
      if( i.key() == 1 ) {
         units.unitDel( 1 );
         units.unitIs( 2, {} );
      } else if( i.key() == 3 ) {
         units.unitIs( 0, {} );
         units.unitIs( 0, {} );
      } else if( i.key() == 5 ) {
         units.unitDel( 7 );
      }
   }
   EXPECT_EQ( walked, ( std::vector<U16>{ 1, 2, 3, 5 } ) );
   EXPECT_EQ( units.size(), 4u );
}

TEST_F( HelperTest, AnUnlockThatFailsAfterAnotherFailureIsIgnored )
{
   make( "hsdk", { 0 } );
   for( const char* call : { "bcm_field_action_ports_add", "bcm_field_unlock" } )
      agent->hardware().faults().inject( { .call = call, .code = Sim::SdkCode::Fail } );
   testing::internal::CaptureStderr();
   EXPECT_THROW( helper().handleTcamEntryVlanFlood( true ), Died );
   const std::string report = testing::internal::GetCapturedStderr();
   EXPECT_LT( report.find( "bcm_field_action_ports_add" ), report.find( "bcm_field_unlock" ) );
   agent->hardware().critic().restart();
}

// Another thread may delete a VLAN during an SDK call.
TEST_F( HelperTest, AVlanThatIsDeletedMeanwhileIsNotWritten )
{
   make( "hsdk", { 0 } );
   agent->hardware().vlanIs( 10 );
   helper().handlePerVlanRouting( true );
   transcript().listenerIs( [ this ]( const Sim::Record& record ) {
      if( record.text.find( "bcm_vlan_port_remove" ) == std::string::npos )
         return;
      agent->hardware().chip( 0 ).vlanDel( 10 );
      const Vormel::LockAnchor anchor( Vormel::activityLock() );
      helper().enableVlanRouting( 10, true );
   } );
   const U64 before = transcript().records().back().number;
   helper().handleIpAddressState( 10, false, false );
   transcript().listenerIs( {} );
   const std::string calls = texts( RecordKind::call, before );
   EXPECT_THAT( calls, testing::StartsWith( "bcm_vlan_port_remove" ) );
   EXPECT_EQ( calls.find( "bcm_vlan_control" ), std::string::npos ) << calls;
}

TEST_F( HelperTest, AHelperWithoutInputsKeepsItsState )
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

TEST_F( HelperTest, AFloodEntryThatDoesNotExistIsNotRewritten )
{
   make( "hsdk" );
   levelsAre( "2" );
   helper().updateVlanFloodTcamEntryPbmp( 0, false );
   helper().updateVlanFloodTcamEntryPbmp( 0, true );
   levelsAre( "off" );
   EXPECT_EQ( transcript().count( RecordKind::call ), 0u );
   EXPECT_EQ( transcript().count( RecordKind::entry ), 0u );
   EXPECT_THAT( texts( RecordKind::trace ),
      testing::HasSubstr(
         "1 updateVlanFloodTcamEntryPbmp: updateVlanFloodTcamEntryPbmp: there is no such entry" ) );
}

TEST_F( HelperTest, WithoutUnitsNothingIsProgrammed )
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

TEST_F( HelperTest, AUnitWithoutTheVlanIsSkipped )
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

TEST_F( HelperTest, EachVlanHasItsOwnState )
{
   make( "hsdk", { 0 } );
   helper().handlePerVlanRouting( true );
   for( const U16 vlan : std::vector<U16>{ 10, 11, 12 } ) {
      agent->hardware().vlanIs( vlan );
      helper().handleIpAddressState( vlan, true, true );
      helper().enableVlanRouting( vlan, vlan == 11 );
   }
   const auto flags = [ & ]( U16 vlan ) { return agent->hardware().chip( 0 ).vlan( vlan )->flags; };
   EXPECT_EQ( flags( 10 ), flags( 12 ) );
   EXPECT_NE( flags( 10 ), flags( 11 ) );
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

TEST_F( HelperTest, AnUnknownMacDropPairIsReleasedFromTheLowerIdAndOnlyAClassHasOne )
{
   make( "hsdk", { 0 } );
   helper().handleTcamEntryVlanFloodDrop( 3, true );
   const U64 before = transcript().records().back().number;
   helper().handleTcamEntryVlanFloodDrop( 3, false );
   EXPECT_EQ( texts( RecordKind::entry, before ),
      "main releaseEntry unit 0 id 1011\nmain releaseEntry unit 0 id 1012\n" );
   EXPECT_EQ( transcript().records().back().text,
      "helper.tcamEntryVlanFloodDrop[3] (164): removed 1011" ); // when the entries are gone
   EXPECT_THROW( helper().handleTcamEntryVlanFloodDrop( 8, true ), Died );
   EXPECT_EQ( helper().tcamEntryVlanFloodDrop( 8 ), 0u );
}

// An agent may continue when its shim or assertion hook has thrown: the next call completes the interrupted operation.
TEST_F( HelperTest, AnInterruptedOperationIsProgrammedByTheNextCall )
{
   make( "hsdk", { 0 } );
   agent->hardware().addInterface( IntfId( "Ethernet1" ), 0, 1 );
   const auto interrupted = [ & ]( U64 nth, auto operation ) {
      agent->hardware().faults().inject(
         { .call = "bcm_field_qualify_DstMac", .nth = nth, .code = Sim::SdkCode::Fail } );
      testing::internal::CaptureStderr();
      EXPECT_THROW( operation(), Died );
      testing::internal::GetCapturedStderr();
      agent->hardware().critic().restart();
      const U64 before = transcript().count( RecordKind::call );
      operation();
      return transcript().count( RecordKind::call ) - before;
   };
   helper().routerMacAddrIs( *EthAddr::parse( "02:00:a1:00:00:01" ) );
   helper().handleTcamEntryL2ToCpu();
   helper().routerMacAddrIs( *EthAddr::parse( "02:00:a1:00:00:02" ) );
   EXPECT_GT( interrupted( 4, [ & ] { helper().handleTcamEntryL2ToCpu(); } ), 0u );
   EXPECT_EQ( helper().tcamEntryRouterMac(), helper().routerMacAddr() );
   const auto redirectTo = [ & ]( const char* mac ) {
      helper().handlePeerMacArpRedirect( *EthAddr::parse( mac ), IntfId( "Ethernet1" ), true );
   };
   redirectTo( "02:00:a1:00:00:03" );
   EXPECT_GT( interrupted( 1, [ & ] { redirectTo( "02:00:a1:00:00:04" ); } ), 0u );
}

TEST_F( HelperTest, AMacIsNotedOnlyWhileAllItsEntriesAreThere )
{
   make( "hsdk", { 0 } );
   agent->hardware().chip( 0 ).trapsTtlExceptionsIs( true ); // has the ARP replies
   const EthAddr mac = *EthAddr::parse( "02:00:a1:00:00:01" );
   const auto withdrawPart = [ & ]( MacType macType ) { // leaves the entries of tunnels
      helper().routerMacAddrIs( EthAddr() );
      helper().virtualRouterMacAddrIs( EthAddr() );
      helper().installTcamEntryForNonRoutableToCpu( macType );
      helper().routerMacAddrIs( mac );
      helper().virtualRouterMacAddrIs( mac );
   };
   const auto handle = [ & ]( MacType macType ) {
      macType == MacType::bridgeMac ? helper().handleTcamEntryL2ToCpu()
                                    : helper().handleTcamEntryL2FennicToCpu();
   };
   // Each fails at the installation of an ARP entry, which follows those of the two trap entries.
   for( const auto& [ macType, install ] : { std::pair( MacType::bridgeMac, 3u ),
           { MacType::bridgeMac, 4u }, { MacType::fennicMac, 3u } } ) {
      SCOPED_TRACE( Vormel::toText( macType ) + " " + std::to_string( install ) );
      withdrawPart( macType );
      handle( macType );
      withdrawPart( macType );
      if( macType == MacType::bridgeMac && install == 3 )
         helper().handleTcamEntryArpReplyToCpu( macType );
      agent->hardware().faults().inject(
         { .call = "installEntry", .nth = install, .code = Sim::SdkCode::Fail } );
      testing::internal::CaptureStderr();
      EXPECT_THROW( helper().installTcamEntryForNonRoutableToCpu( macType ), Died );
      testing::internal::GetCapturedStderr();
      agent->hardware().critic().restart();
      handle( macType );
      EXPECT_NE( helper().tcamEntryArpReply( macType ), 0u );
      EXPECT_NE( helper().tcamEntryArpReqUnicast(), 0u );
   }
   withdrawPart( MacType::bridgeMac );
   helper().handleTcamEntryArpReqUnicastDrop();
   helper().handleTcamEntryArpReplyToCpu( MacType::bridgeMac );
   EXPECT_TRUE( helper().tcamEntryRouterMac().isZero() ); // there is no trap
   for( const bool l3 : { true, false } ) {
      const auto tunnelEntry = [ & ]( bool ofL3 ) {
         ofL3 ? helper().installTcamEntryForL3Vxlan( MacType::bridgeMac )
              : helper().programL2VxlanTcam( MacType::bridgeMac );
      };
      handle( MacType::bridgeMac );
      EXPECT_EQ( helper().tcamEntryRouterMac(), mac );
      helper().routerMacAddrIs( EthAddr() );
      tunnelEntry( l3 );
      helper().routerMacAddrIs( mac );
      tunnelEntry( !l3 );
      EXPECT_TRUE( helper().tcamEntryRouterMac().isZero() ) << l3;
   }
}

TEST_F( HelperTest, UnitsUpTo255HaveTtlCheckEntries )
{
   make( "fabric-vfi", { 255 } );
   helper().init( true, true );
   EXPECT_THAT( texts( RecordKind::entry ), testing::HasSubstr( "installEntry unit 255 id 102" ) );
   make( "fabric-vfi", { 0, 256 } );
   EXPECT_THROW( helper().init( true, true ), Vormel::ValueError );
   EXPECT_EQ( transcript().count( RecordKind::call ), 0u );
   EXPECT_EQ( texts( RecordKind::entry ), "" ); // not even on unit 0
   agent->hardware().chip( 256 ).trapsTtlExceptionsIs( true );
   helper().init( true, true );
   EXPECT_THAT( texts( RecordKind::entry ), testing::HasSubstr( "installEntry unit 0 id 102" ) );
}

TEST_F( HelperTest, L3IsInitializingFromTheFirstMulticastEntryToTheLastControl )
{
   make( "hsdk" );
   // The published value, because the listener may not read the attribute without the lock.
   bool initializing = false;
   const Vormel::ChangeWatcher watcher(
      agent->helper(), {}, [ & ]( const Vormel::ChangeText& change ) {
         if( change.attribute == "l3Initializing" )
            initializing = change.newValue == "true";
      } );
   std::vector<std::string> calls; // made while it is true
   transcript().listenerIs( [ & ]( const Sim::Record& record ) {
      if( initializing && record.kind == RecordKind::call )
         calls.push_back( record.text );
   } );
   helper().init( true, true );
   transcript().listenerIs( {} );
   ASSERT_FALSE( calls.empty() );
   EXPECT_THAT( calls.front(), testing::HasSubstr( "_qualify_DstMac(" ) );
   EXPECT_THAT( calls.back(), testing::HasSubstr( "unit 1, control MplsTtlErrToCpu" ) );
}

} // namespace
} // namespace Strata
