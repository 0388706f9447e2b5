// What an agent can observe of the slice: changes, calls, traces, snapshots.
#include "tests/routing/Fixture.h"

#include "platform/runtime/ChangeWatcher.h"
#include "platform/runtime/EntityType.h"
#include "platform/runtime/Errors.h"
#include "platform/runtime/Snapshot.h"
#include "platform/runtime/Trace.h"
#include "platform/sdk/ObservedShim.h"
#include "platform/sdk/ObservedTcamEntryManager.h"

#include <chrono>
#include <deque>
#include <fstream>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <thread>
#include <utility>

namespace Strata {
namespace {

using nlohmann::json;
using testing::ElementsAre;

class ObservingTest : public SwitchTest
{
};

TEST_F( ObservingTest, ASnapshotHasEveryAttributeWithItsValue )
{
   make( "hsdk" );
   helper().routerMacAddrIs( *EthAddr::parse( "02:00:a1:00:00:01" ) );
   helper().tcamEntryArpReplyIs( MacType::fennicMac, 7 );
   helper().unknownMacCountersPerTcIs( 3, 0xFFFFFFFFFFFFFFFF );
   const json snapshot = json::parse( Vormel::snapshotJson( helper() ) );
   EXPECT_EQ( snapshot[ "type" ], "RoutingStatusHelper" );
   ASSERT_EQ( snapshot[ "attributes" ].size(), helper().entityType().attributes().size() );
   std::map<std::string, json> values;
   for( const json& attribute : snapshot[ "attributes" ] )
      values[ attribute[ "name" ] ] = attribute[ "value" ];
   EXPECT_EQ( values[ "routerMacAddr" ], "02:00:a1:00:00:01" );
   EXPECT_EQ( values[ "useLb" ], false );
   EXPECT_EQ(
      values[ "tcamEntryArpReply" ][ 0 ], json::parse( R"({ "key": "fennicMac", "value": 7 })" ) );
   EXPECT_EQ( values[ "unknownMacCountersPerTc" ][ 0 ][ "value" ], 0xFFFFFFFFFFFFFFFF );
   EXPECT_EQ( values[ "ttlCheckTcamManager" ], nullptr );

   const auto config = agent->hardware().miscConfig();
   config->syslogTimeoutIs( 0.5 );
   EXPECT_THAT( Vormel::snapshotJson( *config ), testing::HasSubstr( "\"value\": 0.5 }" ) );
}

TEST_F( ObservingTest, JsonTextsAreValidWhateverIsInThem )
{
   const std::string odd = "\"\\\n\t\x01 é € 𝄞 \u0800 \uD7FF \U00010000 \U0010FFFF";
   EXPECT_EQ( json::parse( Vormel::jsonString( odd ) ), odd );
   EXPECT_EQ( Vormel::jsonString( " ~" ), "\" ~\"" ); // nothing is escaped without need
   for( const std::string_view broken : { "\xFF", "a\xC3", "\xE2\x82", "\xC0\x80", "\xED\xA0\x80",
           "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\x80z" } )
      EXPECT_NE( json::parse( Vormel::jsonString( broken ) ).get<std::string>().find( "\uFFFD" ),
         std::string::npos );
}

TEST_F( ObservingTest, AWatcherReportsAndCountsEachChange )
{
   make( "hsdk" );
   std::vector<std::string> lines;
   {
      const Vormel::ChangeWatcher watcher( agent->helper(), "helper",
         [ & ]( const Vormel::ChangeText& change ) { lines.push_back( change.line() ); } );
      helper().useLbIs( true );
      helper().useLbIs( true );
      helper().unknownMacCountersPerTcIs( 3, 4 );
      helper().unknownMacCountersPerTcDel( 3 );
      EXPECT_EQ( watcher.changes(), 3u );
      EXPECT_THAT( watcher.changesByNumber(),
         ElementsAre( testing::Pair( RoutingStatusHelper::unknownMacCountersPerTcNumber, 2u ),
            testing::Pair( RoutingStatusHelper::useLbNumber, 1u ) ) );
      const Vormel::ChangeWatcher unnamed( agent->hardware().mlagHwStatus(), "",
         [ & ]( const Vormel::ChangeText& change ) { EXPECT_EQ( change.object, "Status" ); } );
      agent->hardware().mlagHwStatus()->peerMacRoutingSupportedIs( true );
      EXPECT_EQ( unnamed.changes(), 1u );
   }
   helper().useLbIs( false );
   EXPECT_THAT( lines, ElementsAre( "helper.useLb (157): false -> true",
                          "helper.unknownMacCountersPerTc[3] (154): inserted 4",
                          "helper.unknownMacCountersPerTc[3] (154): removed 4" ) );

   // A subscriber that is told earlier removes the member.
   lines.clear();
   const Vormel::ChangeWatcher eraser(
      agent->helper(), "helper", [ & ]( const Vormel::ChangeText& change ) {
         if( change.kind == Vormel::ChangeKind::Inserted )
            helper().unknownMacCountersPerTcDel( 3 );
      } );
   const Vormel::ChangeWatcher late( agent->helper(), "helper",
      [ & ]( const Vormel::ChangeText& change ) { lines.push_back( change.line() ); } );
   helper().unknownMacCountersPerTcIs( 3, 4 );
   EXPECT_THAT( lines, ElementsAre( "helper.unknownMacCountersPerTc[3] (154): removed 4",
                          "helper.unknownMacCountersPerTc[3] (154): inserted gone" ) );
}

TEST_F( ObservingTest, CallsAreCountedWithTheirFailures )
{
   make( "hsdk", { 0 } );
   Sim::SimSwitch& hardware = agent->hardware();
   hardware.faults().inject(
      { .call = "bcm_switch_control_set", .nth = 2, .code = Sim::SdkCode::Unavail } );
   helper().init( true, true );
   hardware.faults().inject( { .call = "bcm_field_lock", .code = Sim::SdkCode::Fail } );
   testing::internal::CaptureStderr();
   EXPECT_THROW( helper().reprogramVlanFloodRequiredInc( 1 ), Died );
   testing::internal::GetCapturedStderr();
   U64 calls = 0;
   for( const SdkCallStatistics& call : hardware.observedShim().statistics() ) {
      calls += call.calls;
      EXPECT_EQ( call.unavailable, call.call == "bcm_switch_control_set" ? 1u : 0u );
      EXPECT_EQ( call.failures, call.call == "bcm_field_lock" ? 1u : 0u );
      EXPECT_LE( call.longest, call.seconds );
   }
   EXPECT_EQ( calls, transcript().count( Sim::RecordKind::call ) );
   hardware.observedShim().statisticsDel();
   EXPECT_TRUE( hardware.observedShim().statistics().empty() );
}

// Returns the next code of the script, after its number of milliseconds.
class ScriptedShim : public ForwardingShim
{
 public:
   using ForwardingShim::ForwardingShim;
   int fieldLock( U32 ) override
   {
      const auto [ code, milliseconds ] = script.front();
      script.pop_front();
      std::this_thread::sleep_for( std::chrono::milliseconds( milliseconds ) );
      return code;
   }

   std::deque<std::pair<int, int>> script;
};

TEST_F( ObservingTest, TheFirstCallCountsLikeEveryOtherAndTheLongestIsKept )
{
   make( "hsdk", { 0 } );
   ScriptedShim scripted( agent->hardware().observedShim() );
   const int unavailable = scripted.featureNotAvailableCode();
   for( const int first : { -1, unavailable, 0 } ) {
      ObservedShim observed( scripted );
      const auto start = std::chrono::steady_clock::now();
      scripted.script = { { first, 2 }, { 0, 6 }, { -1, 0 }, { unavailable, 0 } };
      EXPECT_EQ( observed.fieldLock( 0 ), first );
      const SdkCallStatistics one = observed.statistics().at( 0 );
      EXPECT_EQ( one.call, "bcm_field_lock" );
      EXPECT_EQ( one.calls, 1u );
      EXPECT_EQ( one.failures, first == -1 ? 1u : 0u );
      EXPECT_EQ( one.unavailable, first == unavailable ? 1u : 0u );
      EXPECT_GE( one.seconds, 0.002 );
      EXPECT_LE(
         std::chrono::duration<double>( one.seconds ), std::chrono::steady_clock::now() - start );
      EXPECT_EQ( one.longest, one.seconds );
      while( !scripted.script.empty() )
         observed.fieldLock( 0 );
      const SdkCallStatistics all = observed.statistics().at( 0 );
      EXPECT_EQ( all.calls, 4u );
      EXPECT_EQ( all.failures, one.failures + 1 );
      EXPECT_EQ( all.unavailable, one.unavailable + 1 );
      EXPECT_GE( all.longest, 0.006 );
      EXPECT_GE( all.seconds, 0.008 );
      EXPECT_LT( all.longest, all.seconds );
   }
}

TEST_F( ObservingTest, ARefusedClaimIsReportedAtOnce )
{
   make( "hsdk", { 0 } );
   std::vector<std::string> told;
   const auto observed = Vormel::make<ObservedTcamEntryManager>( agent->hardware().tcamManager(),
      [ & ]( const RefusedClaim& refused ) { told.push_back( refused.text() ); } );
   helper().tcamManagerIs( observed );
   helper().initializeNextHopToCpuTcam();
   EXPECT_THAT( told, testing::IsEmpty() );
   agent->hardware().chip( 0 ).group( "main" )->roomIs( 1 );
   testing::internal::CaptureStderr();
   EXPECT_THROW( helper().handleTcamEntryVlanFlood( true ), Died ); // "Entry not found"
   testing::internal::GetCapturedStderr();
   const std::string refused = "unit 0 has refused the claim of entry 1024 \"vlan flood\"";
   EXPECT_THAT( told, ElementsAre( refused ) );
   EXPECT_EQ( texts( Sim::RecordKind::claim ), "main: " + refused + "\n" );
   agent->hardware().critic().restart();
   EXPECT_EQ( observed->getEntry( 0, 1024, "vlan flood", {} ), 0u );
   const auto unheard =
      Vormel::make<ObservedTcamEntryManager>( agent->hardware().tcamManager(), nullptr );
   testing::internal::CaptureStderr();
   EXPECT_EQ( unheard->getEntry( 0, 1024, "vlan flood", {} ), 0u );
   EXPECT_EQ( testing::internal::GetCapturedStderr(), refused + "\n" );
}

TEST_F( ObservingTest, AnInstallationThatFailsIsTracedWithAllThatIsKnown )
{
   make( "hsdk", { 0 } );
   Vormel::traceHandle( "StrataRoutingStatus" )->levelIs( 1 );
   agent->hardware().faults().inject( { .call = "installEntry", .code = Sim::SdkCode::Full } );
   testing::internal::CaptureStderr();
   EXPECT_THROW( helper().initializeNextHopToCpuTcam(), Died );
   testing::internal::GetCapturedStderr();
   Vormel::traceHandle( "StrataRoutingStatus" )->levelsOff();
   EXPECT_EQ( texts( Sim::RecordKind::trace ),
      "StrataRoutingStatus 1 installEntry: installEntry failed, entry: 1034, name: NextHop to Cpu, "
      "unit: 0, rc: " +
         std::to_string( static_cast<int>( Sim::SdkCode::Full ) ) + "\n" );
   EXPECT_THAT( texts( Sim::RecordKind::fatal ), testing::HasSubstr( "\"installEntry failed\"" ) );
}

TEST_F( ObservingTest, TracesCanGoToAFile )
{
   const std::string file = testing::TempDir() + "observing-traces.txt";
   std::ofstream( file ).close();
   const Vormel::TraceSink before = Vormel::traceSinkIs( Vormel::traceToFile( file ) );
   Vormel::traceRecord( *Vormel::traceHandle( "ApiStrata" ), 4, "init", "some text" );
   std::string line;
   std::getline( std::ifstream( file ) >> std::ws, line ); // each trace is written at once
   Vormel::traceSinkIs( before );
   EXPECT_EQ( line, "ApiStrata 4 init some text" );
   EXPECT_THROW( Vormel::traceToFile( "/no/such/directory/file" ), Vormel::Error );
}

} // namespace
} // namespace Strata
