// The switch as a whole: its transcript, its input objects, its construction and destruction.
#include "platform/runtime/Errors.h"
#include "platform/runtime/Syslog.h"
#include "platform/runtime/Trace.h"
#include "tests/sim/SimTest.h"

#include <nlohmann/json.hpp>

namespace Strata::Sim {

using Interface::ForwardingModel;
using testing::ElementsAre;
using testing::HasSubstr;
using Vormel::IntfId;

class SimSwitchTest : public SimTest
{
};

TEST_F( SimSwitchTest, TheTranscriptNamesWhatWasCalled )
{
   const Ref<SimTcamEntryManager> manager = hardware.tcamManager( "ttl-check" );
   SimShim& shim = hardware.shim();
   manager->getEntry( 4, 101, "VFI IP TTL 0", {} );
   call( &SdkShimInterface::fieldQualifyTtl, 4, 101, U8{ 0 }, U8{ 0xFF } );
   call( &SdkShimInterface::fieldQualifyPacketRes, 4, 101,
      shim.packetResult( PacketResult::L2UNKNOWN ), shim.exactMatchMask() );
   call( &SdkShimInterface::fieldActionAdd, 4, 101, shim.fieldAction( FieldAction::CosQCpuNew ), 26,
      0 );
   call( &SdkShimInterface::switchControlPortSet, 4, shim.chipWidePort(),
      shim.switchControl( SwitchControl::IgmpReservedMcastEnable ), 1 );
   const auto& records = hardware.transcript().records();
   std::vector<std::string> all;
   for( const Record& record : records )
      all.push_back( record.line() );
   EXPECT_THAT(
      all, ElementsAre( "entry  ttl-check getEntry unit 4 id 101 \"VFI IP TTL 0\" -> 101",
              "call   bcm_field_qualify_Ttl( unit 4, entry 101, data 0, mask 0xff )",
              "call   bcm_field_qualify_PacketRes( unit 4, entry 101, data L2UNKNOWN, mask exact )",
              "call   bcm_field_action_add( unit 4, entry 101, action CosQCpuNew, parameter0 26, "
              "parameter1 0 )",
              "call   bcm_switch_control_port_set( unit 4, port chip-wide, control "
              "IgmpReservedMcastEnable, value 1 ) -> BCM_E_UNAVAIL" ) );
   EXPECT_EQ( records.at( 1 ).json(),
      R"({"number":2,"kind":"call","call":"bcm_field_qualify_Ttl","callNumber":1,"unit":4,"entry":101,)"
      R"("data":0,"mask":255,"rc":"BCM_E_NONE"})" );
   EXPECT_EQ( records.at( 4 ).field( "rc" ), "BCM_E_UNAVAIL" );
   EXPECT_EQ( hardware.transcript().count( RecordKind::call ), 4u );
   EXPECT_EQ( shim.calls( SdkOperation::fieldQualifyTtl ), 1u );
}

TEST_F( SimSwitchTest, ChangesAreRecordedWithOldAndNewValue )
{
   std::vector<std::string> heard;
   hardware.transcript().listenerIs( [ & ]( const Record& r ) { heard.push_back( r.text ); } );
   hardware.scsd()->vxlanEnabledIs( false );
   hardware.miscConfig()->unknownMacDropTrafficClassIs( 5, true );
   hardware.addInterface( IntfId( "Ethernet1" ), 4, 2 );
   hardware.intfStatus( IntfId( "Ethernet1" ) )->forwardingModelIs( ForwardingModel::routed );
   hardware.miscConfig()->unknownMacDropTrafficClassDel( 5 );
   EXPECT_THAT( heard, ElementsAre( "scsd.vxlanEnabled (464): true -> false",
                          "miscConfig.unknownMacDropTrafficClass[5] (275): inserted true",
                          "ethIntfStatusDir.intfStatus[Ethernet1] (386): inserted Ethernet1",
                          "scsd.intfToLogicalPort[Ethernet1] (388): inserted 6",
                          "scsd.strataIntfToPort[Ethernet1] (387): inserted 4/2/6",
                          "Ethernet1.forwardingModel (262): bridged -> routed",
                          "miscConfig.unknownMacDropTrafficClass[5] (275): removed true" ) );
   const auto json = nlohmann::json::parse( hardware.transcript().records().at( 5 ).json() );
   EXPECT_EQ( json.at( "new" ), "routed" );
   const auto port = nlohmann::json::parse( hardware.transcript().records().at( 4 ).json() );
   EXPECT_EQ( port.at( "new" ).dump(), R"({"logicalPort":6,"port":2,"unit":4})" );
   EXPECT_EQ( hardware.transcript().records().at( 4 ).field( "new" ), "4/2/6" );
}

TEST( Transcript, MakesARecordOnlyIfItIsKeptOrHeard )
{
   Transcript transcript;
   U32 made = 0;
   const auto make = [ & ] { return RecordContent{ std::to_string( ++made ) }; };
   transcript.add( RecordKind::call, make );
   transcript.keepIs( false );
   transcript.add( RecordKind::call, make );
   std::vector<U64> heard;
   transcript.listenerIs( [ & ]( const Record& record ) { heard.push_back( record.number ); },
      []( RecordKind kind ) { return kind == RecordKind::packet; } );
   transcript.add( RecordKind::call, make );
   transcript.add( RecordKind::packet, make );
   EXPECT_EQ( made, 2u );
   EXPECT_THAT( heard, ElementsAre( 4 ) );
   EXPECT_EQ( transcript.lastNumber(), 4u );
   EXPECT_EQ( transcript.count( RecordKind::call ), 3u );
   EXPECT_EQ( transcript.size(), 1u );
   transcript.clear();
   EXPECT_EQ( transcript.size(), 0u );
}

TEST_F( SimSwitchTest, TracesAndLogMessagesAreInTheTranscript )
{
   static Vormel::TraceHandle trace( "SimSwitchTest" );
   static Vormel::SyslogHandle message( "SIM_TEST", Vormel::Severity::warning, "port %d", "", "" );
   VORMEL_TRACE_AS( trace, 0, "function", "off" );
   trace.levelIs( 2 );
   VORMEL_TRACE_AS( trace, 2, "init", "init, enable: " << true );
   Vormel::logMessage( message, 7 );
   trace.levelsOff();
   EXPECT_THAT(
      lines( RecordKind::trace ), ElementsAre( "trace  SimSwitchTest 2 init: init, enable: 1" ) );
   EXPECT_THAT( lines( RecordKind::log ), ElementsAre( HasSubstr( "%SIM_TEST-4: port 7" ) ) );
}

TEST_F( SimSwitchTest, LagsAndTheirMembersAgree )
{
   const IntfId one( "Ethernet1" ), two( "Ethernet2" ), three( "Ethernet3" );
   const IntfId lag( "Port-Channel5" ), other( "Port-Channel6" );
   int port = 1;
   for( const IntfId intf : { one, two, three } )
      hardware.addInterface( intf, 0, port++ );
   hardware.lagIs( lag, { one, two } );
   hardware.lagIs( lag, { three, two } );
   hardware.lagIs( other, { two } );
   const auto& scsd = *hardware.scsd();
   EXPECT_EQ( toText( scsd.lagMembers( lag ) ), "Ethernet3" );
   EXPECT_EQ( scsd.lagOfMember( two ), other );
   EXPECT_TRUE( scsd.lagOfMember( one ).empty() );
   hardware.removeInterface( three );
   EXPECT_TRUE( scsd.lagMembers( lag ).empty() );
   EXPECT_EQ( hardware.object( "Ethernet3" ), nullptr );
   EXPECT_NE( hardware.object( "Port-Channel5" ), nullptr );
   hardware.lagDel( other );
   EXPECT_TRUE( scsd.lagOfMember( two ).empty() );
   EXPECT_THROW( hardware.addInterface( one, 0, 5 ), Vormel::ValueError );
   EXPECT_THROW( hardware.addInterface( one, 1, 1 ), Vormel::ValueError );
   EXPECT_THROW( hardware.lagIs( one, {} ), Vormel::ValueError );
   EXPECT_THROW( hardware.lagIs( lag, { IntfId( "Vlan10" ) } ), Vormel::ValueError );
   EXPECT_THROW( hardware.addInterface( IntfId( "Vlan10" ), 0, 4 ), Vormel::ValueError );
   EXPECT_THROW( hardware.removeInterface( three ), Vormel::ValueError );
   EXPECT_THROW( hardware.vlanIs( 4095 ), Vormel::ValueError );
}

TEST( SimSwitchMaking, RefusesInvalidConfigurations )
{
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   const auto refusal = []( const SimSwitchConfig& config ) -> std::string {
      try {
         const SimSwitch hardware( config );
      } catch( const Vormel::ValueError& error ) {
         return error.what();
      }
      return "accepted";
   };
   EXPECT_THAT( refusal( { .profile = "hsdc" } ), HasSubstr( "did you mean 'hsdk'?" ) );
   EXPECT_THAT( refusal( { .units = unitNumbers( 65 ) } ), HasSubstr( "1 to 64 units, not 65" ) );
   EXPECT_THAT( refusal( { .units = { 3, 3 } } ), HasSubstr( "unit numbers must be unique" ) );
   EXPECT_THAT( refusal( { .ports = 0 } ), HasSubstr( "1 to 256 ports, not 0" ) );
   EXPECT_THAT( refusal( { .profile = "unlike" } ), HasSubstr( "; there are: " ) );
   EXPECT_THAT( refusal( { .units = { 65536 } } ), HasSubstr( "up to 65535, not 65536" ) );
   EXPECT_THAT(
      refusal( { .capabilities = { { "usesHsdc", true } } } ), HasSubstr( "'usesHsdk'" ) );
   {
      const SimSwitch only(
         { .capabilities = { { "usesHsdk", false }, { "supportsSocCalls", true } } } );
      EXPECT_FALSE( only.profile().attributes.usesHsdk() );
      EXPECT_TRUE( only.profile().attributes.supportsSocCalls() );
      EXPECT_THROW( SimSwitch( SimSwitchConfig{} ), Vormel::Error ); // one at a time
   }
   EXPECT_EQ( sdkShim(), nullptr );

   for( const ChipProfile& profile : chipProfiles() ) {
      SimSwitch hardware( { .profile = profile.name } );
      EXPECT_EQ( sdkShim(), &hardware.observedShim() );
      EXPECT_EQ( chipAttributes( *hardware.scsd() ).usesHsdk(), profile.attributes.usesHsdk() );
      for( const TcamGroup group : { TcamGroup::urpfSingleWide, TcamGroup::ttlCheck } )
         EXPECT_TRUE( hardware.tcamGroupManager()->boundedTcamEntryManager( group ) );
   }
   EXPECT_EQ( sdkShim(), nullptr );
}

} // namespace Strata::Sim
