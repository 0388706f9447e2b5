// A recording has what the slice was given and what it did, in order, whatever the SDK's numbers are.
#include "recording/Recorder.h"
#include "messages/Messages.h"
#include "platform/runtime/Activity.h"
#include "platform/runtime/Errors.h"
#include "platform/sdk/ForwardingShim.h"
#include "tests/tool/CommandLine.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sys/wait.h>
#include <unistd.h>

namespace Strata::Recording {
namespace {

using Json = nlohmann::ordered_json;
using testing::ElementsAre;
using Tool::runLine;

std::vector<Json> readLines( const std::string& file )
{
   std::vector<Json> lines;
   std::ifstream in( file );
   for( std::string line; std::getline( in, line ); )
      lines.push_back( Json::parse( line ) );
   return lines;
}

std::vector<Json> ofKind( const std::vector<Json>& records, std::string_view kind )
{
   std::vector<Json> found;
   std::ranges::copy_if( records, std::back_inserter( found ),
      [ & ]( const Json& record ) { return record.at( "record" ) == kind; } );
   return found;
}

/// The calls of a transcript and of a recording, in the same words.
std::vector<std::string> callsOf( const std::vector<Json>& lines )
{
   std::vector<std::string> calls;
   for( const Json& line : lines ) {
      const bool recorded = line.contains( "record" );
      const auto kind = line.at( recorded ? "record" : "kind" ).get<std::string>();
      const bool isCall = recorded ? kind == "begin" : kind == "call" || kind == "entry";
      if( !isCall || line.contains( "child" ) ) // the copy of a process leaves the recording
         continue;
      const Json& arguments = recorded ? line.at( "arguments" ) : line;
      if( !arguments.contains( "unit" ) )
         continue; // supportsAclGroup, which transcripts do not have
      calls.push_back(
         line.at( "call" ).get<std::string>() + " on " + arguments.at( "unit" ).dump() );
   }
   return calls;
}

/// The members that docs/recording.md has of each kind of record.
std::map<std::string, std::string> readPage()
{
   std::map<std::string, std::string> rows;
   std::ifstream page( "docs/recording.md" );
   for( std::string line; std::getline( page, line ); )
      if( line.starts_with( "| `" ) )
         rows[ line.substr( 3, line.find( '`', 3 ) - 3 ) ] = line;
   return rows;
}

TEST( Recorder, HasEveryCallOfEveryScenarioAndChangesNothing )
{
   const auto page = readPage();
   const std::string plain = testing::TempDir() + "plain.json";
   const std::string beside = testing::TempDir() + "beside.json";
   const std::string file = testing::TempDir() + "every.recording";
   for( const auto& entry : std::filesystem::directory_iterator( "scenarios" ) ) {
      const std::string scenario = entry.path().string();
      if( entry.path().extension() != ".scenario" )
         continue;
      SCOPED_TRACE( scenario );
      const auto recordTo = [ & ]( const char* transcript ) {
         return runLine( { "record", scenario.c_str(), "-o", file.c_str(), "--transcript",
            transcript, "--json" } );
      };
      runLine( { "run", scenario.c_str(), "--transcript", plain.c_str(), "--json" } );
      recordTo( beside.c_str() );
      const auto transcript = callsOf( readLines( beside ) );
      EXPECT_EQ( transcript, callsOf( readLines( plain ) ) );
      // Of a scenario with several switches, the recording has the last.
      const auto records = readLines( file );
      const auto recorded = callsOf( records );
      ASSERT_LE( recorded.size(), transcript.size() );
      EXPECT_TRUE( std::equal( recorded.rbegin(), recorded.rend(), transcript.rbegin() ) );
      for( const Json& record : records ) {
         const auto kind = record.at( "record" ).get<std::string>();
         ASSERT_TRUE( page.contains( kind ) ) << kind;
         for( const auto& [ member, value ] : record.items() )
            EXPECT_TRUE( page.contains( member ) || value.is_boolean() ||
                         page.at( kind ).find( "`" + member + "`" ) != std::string::npos )
               << kind << " has " << member;
      }
   }
}

class RecorderTest : public testing::Test
{
 protected:
   Tool::AgentConfig config( U64 seed = 1 ) const
   {
      Tool::AgentConfig config;
      config.hardware.profile = "register";
      config.hardware.ports = 4;
      config.hardware.seed = seed;
      config.recordingFile = file;
      return config;
   }

   const Vormel::LockAnchor lock{ Vormel::activityLock() };
   const std::string file = testing::TempDir() +
                            testing::UnitTest::GetInstance()->current_test_info()->name() +
                            ".recording"; // tests run beside each other
};

/// A switch, events of every kind, and the end.
void live( Tool::Agent& agent )
{
   using Vormel::IntfId;
   Sim::SimSwitch& hardware = agent.hardware();
   hardware.addInterface( IntfId::ethernet( 1 ), 0, 1 );
   agent.bringUp();
   hardware.vlanIs( 10 );
   hardware.intfStatus( IntfId::ethernet( 1 ) )
      ->forwardingModelIs( Interface::ForwardingModel::routed );
   agent.helper()->routerMacAddrIs( *EthAddr::parse( "02:00:00:00:00:0a" ) );
   agent.recorder().call( "handleRouting", true, true );
   agent.recorder().call( "doNotCopyPacketFromCpuToCpu" );
   agent.recorder().call( "enableVlanRouting", U16{ 10 }, true );
   agent.recorder().call( "addMyStationTcamEntry", 0u, 3u, *EthAddr::parse( "02:00:00:00:00:0a" ),
      true, U16{ 10 }, false, true, true );
   hardware.miscConfig()->syslogTimeoutIs( 5.0 );
   agent.clock().advanceBy( 6.0 );
   hardware.removeInterface( IntfId::ethernet( 1 ) );
}

TEST_F( RecorderTest, NamesRolesInPlaceOfTheSdksNumbers )
{
   const auto recordingWith = [ & ]( U64 seed ) {
      {
         Tool::Agent agent( config( seed ) );
         live( agent );
      }
      auto lines = readLines( file );
      for( Json& line : lines )
         line.erase( "t" );
      return lines;
   };
   const auto one = recordingWith( 1 );
   EXPECT_GT( one.size(), 500 );
   EXPECT_EQ( one, recordingWith( 2 ) );
   const auto with = [ & ]( std::string_view call ) {
      for( auto at = one.rbegin(); at != one.rend(); ++at )
         if( at->value( "call", "" ) == call )
            return at->at( "arguments" ).dump();
      return std::string( "none" );
   };
   EXPECT_EQ( with( "soc_reg32_set" ),
      R"({"unit":0,"reg":"CPU_CONTROL_Mr","port":"any","index":0,"value":{"MPLS_LABEL_MISS_TOCPUf":1,"MPLS_TTL_ERR_TOCPUf":1,"other":536870913}})" );
   EXPECT_THAT( with( "soc_mem_write" ),
      testing::HasSubstr(
         R"("memory":"MY_STATION_TCAMm","block":"any","index":3,"entry":{"VALIDf":1,"MAC_ADDRf":"02:00:00:00:00:0a")" ) );
   EXPECT_THAT(
      with( "bcm_vlan_control_vlan_set" ), testing::HasSubstr( R"("control":{"flags":[)" ) );
   EXPECT_EQ( with( "enableEntry" ).find( "fieldEntryEnableMode" ) != std::string::npos, true );
}

TEST_F( RecorderTest, InputsComeBeforeWhatTheyCause )
{
   {
      Tool::Agent agent( config() );
      live( agent );
   }
   const auto records = readLines( file );
   EXPECT_EQ( records.front().at( "record" ), "header" );
   EXPECT_EQ( records.back().at( "record" ), "stop" );
   std::map<U64, Json> inputs;
   std::set<std::string> causes;
   U64 number = 0;
   for( const Json& record : records ) {
      EXPECT_EQ( record.at( "n" ), ++number );
      const auto kind = record.at( "record" ).get<std::string>();
      if( std::set<std::string>{ "input", "call", "make", "run", "drop", "timer" }.contains(
             kind ) )
         inputs[ number ] = record;
      if( !record.contains( "cause" ) )
         continue;
      const U64 cause = record.at( "cause" );
      ASSERT_TRUE( inputs.contains( cause ) ) << record;
      const Json& input = inputs.at( cause );
      causes.insert( input.value( "operation", "" ) + input.value( "attribute", "" ) +
                     input.value( "what", "" ) + ( kind == "timer" ? kind : "" ) );
   }
   for( const char* const cause : { "init", "l3Init", "RoutingStatusSm", "handleStrataIntfToPort",
           "forwardingModel", "handleRouting", "enableVlanRouting", "strataIntfToPort" } )
      EXPECT_TRUE( causes.contains( cause ) ) << cause;
   EXPECT_EQ( ofKind( records, "timer" ).size(), 1 );
   // What the agent sets is an input, what the slice sets is not.
   for( const Json& record : records ) {
      const std::string attribute = record.value( "attribute", "" );
      if( attribute == "routerMacAddr" || attribute == "routing4Enabled" ) {
         EXPECT_EQ( record.at( "record" ), attribute == "routerMacAddr" ? "input" : "notify" );
      }
   }
   // A member that is an object has its values before it is one, and its own changes as long as it is.
   const std::string member = "ethIntfStatusDir.intfStatus[Ethernet1]";
   std::vector<std::string> story;
   for( const Json& record : records )
      if( record.value( "object", "" ) == member || record.value( "key", "" ) == "Ethernet1" )
         story.push_back(
            record.at( "record" ).get<std::string>() + " " + record.value( "attribute", "" ) );
   EXPECT_THAT(
      story, testing::IsSupersetOf( { "state ", "input intfStatus", "input forwardingModel" } ) );
   EXPECT_EQ( story.front(), "state " );
}

TEST_F( RecorderTest, AProcessThatIsKilledLeavesTheCallItWasIn )
{
   class Killer final : public ForwardingShim
   {
    public:
      Killer( SdkShimInterface& next, int calls ) : ForwardingShim( next ), calls_( calls ) {}
      void preCall() override
      {
         if( --calls_ == 0 )
            armed = true;
         ForwardingShim::preCall();
      }
      int switchControlSet( U32 unit, int control, int value ) override
      {
         return die( next().switchControlSet( unit, control, value ) );
      }
      int fieldActionAdd( U32 unit, U32 entry, int action, U32 a, U32 b ) override
      {
         return die( next().fieldActionAdd( unit, entry, action, a, b ) );
      }

    private:
      int die( int code ) const
      {
         if( armed )
            ::kill( ::getpid(), SIGKILL );
         return code;
      }
      int calls_;
      bool armed = false;
   };
   for( const int call : { 1, 20, 60 } ) {
      const pid_t child = ::fork();
      if( child == 0 ) {
         Tool::AgentConfig unrecorded = config();
         unrecorded.recordingFile.clear();
         Tool::Agent agent( unrecorded );
         Killer killer( agent.hardware().observedShim(), call );
         Recorder recorder( file );
         sdkShimIs( &recorder.shim( killer ) );
         agent.bringUp();
         ::_exit( 0 );
      }
      int status = 0;
      ASSERT_EQ( ::waitpid( child, &status, 0 ), child );
      EXPECT_TRUE( WIFSIGNALED( status ) );
      const auto records = readLines( file );
      EXPECT_EQ( records.back().at( "record" ), "begin" ) << records.back();
   }
}

TEST_F( RecorderTest, AFullDiskEndsTheRecordingAndNotTheAgent )
{
   Vormel::traceLevelsIs( "StrataRecording=1" );
   Tool::AgentConfig full = config();
   full.recordingFile = "/dev/full";
   {
      Tool::Agent agent( full );
      live( agent );
      EXPECT_TRUE( agent.helper()->routing4Enabled() );
      const auto& records = agent.hardware().transcript().records();
      EXPECT_EQ( std::ranges::count_if( records,
                    []( const Sim::Record& record ) {
                       return record.text.find( "the recording has ended: " ) != std::string::npos;
                    } ),
         1 );
   }
   Vormel::traceLevelsIs( "StrataRecording=off" );
   Recorder recorder( "/dev/full" );
   EXPECT_FALSE( recorder.recording() );
   EXPECT_THROW( Recorder( "/nosuch/recording" ), std::system_error );
}

TEST( Recorder, ACommandThatCannotRecordSaysSoAndReplacesNothing )
{
   const std::string file = testing::TempDir() + "ACommandThatCannotRecord.recording";
   const std::string text = "switch register ports 4\n";
   const std::string scenario = Tool::scenarioFile( text );
   const auto full = runLine( { "record", scenario.c_str(), "-o", "/dev/full" } );
   EXPECT_EQ( full.status, 2 );
   EXPECT_THAT( full.err, testing::HasSubstr( "'/dev/full' has ended before the scenario" ) );
   const auto own = runLine( { "record", scenario.c_str(), "-o", scenario.c_str() } );
   EXPECT_EQ( own.status, 2 );
   EXPECT_THAT( own.err, testing::HasSubstr( "exists and is not a recording" ) );
   EXPECT_EQ( Tool::contentsOf( scenario ), text );
   EXPECT_EQ( runLine( { "record", scenario.c_str(), "-o", file.c_str() } ).status, 0 );
   EXPECT_EQ( runLine( { "record", scenario.c_str(), "-o", file.c_str() } ).status, 0 );
}

TEST_F( RecorderTest, HasTracesAndLogMessagesOfTheAgent )
{
   Vormel::traceLevelsIs( "StrataRoutingStatus=2" );
   U64 traces = 0;
   {
      Tool::Agent agent( config() );
      agent.recorder().call( "handleRouting", true, true );
      Vormel::logMessage( UNKNOWN_UCAST_PACKET_RECEIVED, U16( 3 ) );
      // The transcript has them as well.
      traces = agent.hardware().transcript().count( Sim::RecordKind::trace );
      EXPECT_EQ( agent.hardware().transcript().count( Sim::RecordKind::log ), 1 );
   }
   Vormel::traceLevelsIs( "StrataRoutingStatus=off" );
   const auto records = readLines( file );
   ASSERT_GT( traces, 0 );
   ASSERT_EQ( ofKind( records, "trace" ).size(), traces );
   EXPECT_EQ( ofKind( records, "trace" ).back().at( "handle" ), "StrataRoutingStatus" );
   ASSERT_EQ( ofKind( records, "log" ).size(), 1 );
   EXPECT_EQ( ofKind( records, "log" ).front().at( "severity" ), 4 );
}

TEST_F( RecorderTest, ACallThatFailsIsRecordedAndRaised )
{
   {
      Tool::Agent agent( config() );
      EXPECT_THROW( agent.recorder().call( "nosuch" ), Vormel::AccessError );
      EXPECT_THROW(
         agent.recorder().call( "init", std::string( "perhaps" ), true ), Vormel::ArgumentError );
      agent.recorder().call( "initCpuControlM" );
   }
   const auto records = readLines( file );
   ASSERT_EQ( ofKind( records, "call" ).size(), 2 );
   const auto returned = ofKind( records, "returned" );
   EXPECT_THAT(
      returned.at( 0 ).at( "error" ).get<std::string>(), testing::HasSubstr( "perhaps" ) );
   EXPECT_FALSE( returned.at( 1 ).contains( "error" ) );
   Recorder early( file );
   EXPECT_THROW( early.call( "l3Init", true ), Vormel::AccessError );
}

TEST_F( RecorderTest, AnswersDecideAndAreRecorded )
{
   {
      Tool::Agent agent( config() );
      live( agent );
   }
   std::set<std::string> questions;
   for( const Json& record : ofKind( readLines( file ), "question" ) )
      questions.insert( record.at( "question" ).get<std::string>() );
   EXPECT_THAT( questions,
      ElementsAre( "boundedTcamEntryManager", "cpuPort", "kbSingleUnit", "portSwEntry",
         "resolvesHigigTrunksAsLag", "trapsTtlExceptions", "unitRecord", "vlanExists" ) );
}

} // namespace
} // namespace Strata::Recording
