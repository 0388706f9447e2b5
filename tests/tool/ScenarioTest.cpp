// Scenarios as users run them: their output as text and as JSON, and their exit statuses.
#include "platform/runtime/Activity.h"
#include "sim/chip/ChipProfile.h"
#include "tests/tool/CommandLine.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>
#include <malloc.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace Strata::Tool {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string scenarioFile( const std::string& text )
{
   const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
   const std::string file = testing::TempDir() + test.name() + ".scenario";
   std::ofstream( file ) << text;
   return file;
}

Outcome run( const std::string& text, std::vector<const char*> options = {} )
{
   const std::string file = scenarioFile( text );
   options.insert( options.begin(), { "run", file.c_str() } );
   return runLine( options );
}

std::string contents( const std::string& file )
{
   std::ostringstream text;
   text << std::ifstream( file ).rdbuf();
   return text.str();
}

/// The transcript of a scenario in which the agent dies; `error` matches standard error.
std::string transcriptOfDeath(
   const std::string& text, const char* error, std::vector<const char*> options = {} )
{
   const std::string file = scenarioFile( text );
   const std::string transcript = file + ".transcript";
   options.insert( options.begin(), { "run", file.c_str(), "--transcript", transcript.c_str() } );
   EXPECT_EXIT( runLine( options, Terminal{ std::cin, std::cout, std::cerr } ),
      testing::ExitedWithCode( 3 ), error );
   return contents( transcript );
}

TEST( Scenario, AFailedExpectationIsReportedAndTheRunContinues )
{
   const Outcome outcome = run( "switch hsdk\n"
                                "expect attribute useLb true\n"
                                "expect entry 33 absent\n"
                                "expect attribute routerMacIndex 0xFFFF\n" );
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_THAT( outcome.out, HasSubstr( "FAILED  expect attribute useLb true" ) );
   EXPECT_THAT( outcome.out, HasSubstr( ".scenario:2)" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "found     false" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "1 of 3 expectations failed" ) );
   EXPECT_EQ( run( "switch hsdk\nexpect no calls\n" ).status, 0 );
}

TEST( Scenario, TextsAreExpectedWholeAndInOrder )
{
   const Outcome outcome =
      run( "switch hsdk\n"
           "trace StrataRoutingStatus=8\n"
           "call handleTcamEntryMplsTrafficDrop true\n"
           "expect order getEntry qualify_EtherType qualify_MyStationHit installEntry\n"
           "expect order installEntry qualify_EtherType\n" // fails
           "expect order getEntry releaseEntry\n"          // fails
           "expect trace \"Allocated mpls\"\n"
           "expect trace with \"Allocated mpls\" times 1\n"
           "expect trace is \"Allocated mpls\" none\n"
           "expect trace is \"StrataRoutingStatus 2 handleTcamEntryMplsTrafficDrop: "
           "handleTcamEntryMplsTrafficDrop, create: 1\" times 1\n" );
   EXPECT_THAT( outcome.out, HasSubstr( "found     it came before the text in front of it" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "expected  'releaseEntry' in this order" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "2 of 7 expectations failed" ) ) << outcome.out;
}

TEST( Scenario, QuietLeavesEventsOutOfTheTextButNotOutOfJson )
{
   const std::string text = "switch hsdk\n"
                            "quiet\n"
                            "call initializeNextHopToCpuTcam\n"
                            "expect call installEntry times 1\n"
                            "packet in port 1 ethertype 0x88b5\n"
                            "loud\n"
                            "call handleTcamEntryMplsTrafficDrop true\n";
   const std::string out = run( text ).out;
   EXPECT_THAT( out, HasSubstr( "held    expect call installEntry" ) );
   EXPECT_THAT( out, HasSubstr( "packet " ) );
   EXPECT_THAT( out, Not( HasSubstr( "getEntry unit 0 id 1034" ) ) );
   EXPECT_THAT( out, HasSubstr( "getEntry unit 0 id 1035" ) );
   EXPECT_THAT( run( text, { "--json" } ).out, HasSubstr( "\"id\":1034" ) );
}

TEST( Scenario, ALineThatCannotBeRunEndsIt )
{
   const Outcome outcome = run( "switch hsdk\ncall init maybe true\nnote never\n" );
   EXPECT_EQ( outcome.status, 2 );
   EXPECT_THAT( outcome.err,
      HasSubstr( ".scenario:2:11: init: argument 1 (enable) 'maybe' is not true or false\n"
                 "   call init maybe true\n"
                 "             ^~~~~" ) );
   EXPECT_THAT( outcome.out, Not( HasSubstr( "never" ) ) );
   EXPECT_EQ( run( "call init true true\n" ).status, 2 ); // no switch yet
   EXPECT_EQ( run( "switch hsdk\nset tcamEntryL3Vxlan[3] 5\n" ).status, 2 );
   EXPECT_EQ( run( "switch hsdk\n", { "--trace", "Nobody=3" } ).status, 2 );
   EXPECT_EQ( runLine( { "run", "no/such.scenario" } ).status, 2 );
   const std::string file = scenarioFile( "switch hsdk\nfoo\n" );
   const std::string transcript = file + ".txt";
   EXPECT_EQ( runLine( { "run", file.c_str(), "--transcript", transcript.c_str() } ).status, 2 );
   EXPECT_THAT( contents( transcript ), HasSubstr( ".scenario:2:1: there is no command 'foo'" ) );
   EXPECT_EQ( runLine( { "run", file.c_str(), "--transcript", file.c_str() } ).status, 2 );
   EXPECT_EQ( contents( file ), "switch hsdk\nfoo\n" );
   EXPECT_EQ( runLine( { "rum" } ).status, 2 );
   EXPECT_EQ( runLine( { "--version" } ).status, 0 );
}

TEST( Scenario, ProblemsInAnIncludedFileNameItsLineAndTheLineThatIncludesIt )
{
   std::ofstream( testing::TempDir() + "part.scenario" )
      << "expect attribute useLb true\nnote \"in the part\"\ncall init maybe true\n";
   const std::string text = "switch hsdk\n\ninclude part.scenario\nnote never\n";
   const Outcome outcome = run( text );
   EXPECT_EQ( outcome.status, 2 );
   EXPECT_THAT( outcome.out, HasSubstr( "part.scenario:1, included at " ) );
   EXPECT_THAT( outcome.err, HasSubstr( "part.scenario:3:11: init: argument 1 (enable) 'maybe'" ) );
   EXPECT_THAT( outcome.err, HasSubstr( "\n   included at " ) );
   EXPECT_THAT( outcome.err, HasSubstr( "IncludesIt.scenario:3\n" ) );
   EXPECT_THAT( outcome.out, Not( HasSubstr( "never" ) ) );
   const std::string json = run( text, { "--json" } ).out;
   EXPECT_THAT( json, HasSubstr( "part.scenario\",\"line\":1,\"text\":\"expect attribute" ) );
   const std::string refused = "\"kind\":\"refused\"";
   EXPECT_EQ( json.find( refused ), json.rfind( refused ) ) << "told once";
}

TEST( Scenario, ACaptureReplacesACaptureAndNoOtherFile )
{
   const std::string folder = testing::TempDir();
   const std::string part = "interface Ethernet1 unit 0 port 1\n";
   const std::string transcript = folder + "captured.txt";
   const std::string capture = folder + "captured.pcap";
   const auto captureTo = [ & ]( const std::string& file ) {
      return run( "switch hsdk\ninclude captured-part.scenario\ncapture Ethernet1 " + file + "\n",
         { "--transcript", transcript.c_str() } );
   };
   std::ofstream( folder + "captured-part.scenario" ) << part;
   for( const std::string& file : { transcript, folder + "captured-part.scenario" } )
      EXPECT_THAT( captureTo( file ).err, HasSubstr( "' exists and is not a capture; give" ) );
   EXPECT_EQ( contents( folder + "captured-part.scenario" ), part );
   EXPECT_THAT( contents( transcript ), testing::StartsWith( "> switch hsdk\n" ) );
   EXPECT_EQ( captureTo( capture ).status, 0 );
   EXPECT_EQ( captureTo( capture ).status, 0 );
}

TEST( Scenario, AnExpectedDeathLeavesTheSwitchUnchanged )
{
   const Outcome outcome =
      run( "switch hsdk\n"
           "fault bcm_field_action_add code BCM_E_FAIL\n"
           "expect dead \"API ERROR:\" call initializeNextHopToCpuTcam\n"
           "expect no calls\n"
           "expect entry nexthopToCpu absent\n"
           "no fault\n"
           "expect dead \"API ERROR:\" call initializeNextHopToCpuTcam\n" // fails: no death
           "expect dead \"something else\" set reprogramVlanFloodRequired 1\n" );
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_THAT( outcome.out, HasSubstr( "2 of 5 expectations failed" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "  |  call   bcm_field_action_add( unit 0, entry 1034" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "found     it ended with status 0 and said nothing" ) );
}

TEST( Scenario, AMistakeInACommandThatShouldDieIsNotADeath )
{
   const Outcome outcome = run( "switch hsdk\nexpect dead x call ini true\n" );
   EXPECT_EQ( outcome.status, 2 );
   EXPECT_THAT(
      outcome.err, HasSubstr( ".scenario:2:20: RoutingStatusHelper has no operation 'ini'" ) );
}

TEST( ScenarioDeathTest, AnUnexpectedDeathIsStatusThree )
{
   const std::string text = transcriptOfDeath( "switch hsdk\n"
                                               "fault bcm_switch_control_set code BCM_E_FAIL\n"
                                               "call init true true\n",
      "API ERROR:.*\n.*Assertion '0' failed.\n.*scenario:3: the agent died here" );
   EXPECT_THAT(
      text, testing::ContainsRegex(
               "-> BCM_E_FAIL .injected.\n"
               "  fatal  routing/chip/ChipInit.cpp:\\* .* API ERROR:Operation failed \\(-11\\)\n"
               "  error  a fatal code was reported: the agent ends\n"
               "  fatal  routing/tcam/CheckedCall.cpp:\\*: .* Assertion '0' failed.\n"
               "  DIED" ) );
   EXPECT_THAT( text, HasSubstr( ":3: the last call was bcm_switch_control_set" ) );
   EXPECT_THAT( text, testing::EndsWith( ": 0 expectations held before that\n" ) );
}

TEST( ScenarioDeathTest, ADeathNamesTheFirstRefusedClaimAndEndsTheRecordsForPrograms )
{
   std::istringstream lines( transcriptOfDeath( "switch hsdk\n"
                                                "expect attribute useLb false\n"
                                                "fault getEntry nth 2 code BCM_E_FULL\n"
                                                "call init true true\n",
      "the agent died here", { "--json" } ) );
   std::vector<nlohmann::json> objects;
   for( std::string line; std::getline( lines, line ); )
      objects.push_back( nlohmann::json::parse( line ) );
   ASSERT_GT( objects.size(), 3u );
   const nlohmann::json& died = objects[ objects.size() - 2 ];
   EXPECT_EQ( died.at( "kind" ), "died" );
   EXPECT_THAT( died.at( "reason" ).get<std::string>(),
      HasSubstr( "; the first refused claim: main: unit 0 has refused the claim of entry 1024 "
                 "\"vlan flood\"" ) );
   const nlohmann::json& fatal = objects[ objects.size() - 3 ];
   EXPECT_EQ( fatal.at( "kind" ), "fatal" );
   EXPECT_THAT(
      fatal.at( "text" ).get<std::string>(), testing::EndsWith( "Assertion '0' failed." ) );
   EXPECT_EQ( objects.back().at( "kind" ), "end" );
   EXPECT_EQ( objects.back().at( "ended" ), "died" );
   EXPECT_EQ( objects.back().at( "expectations" ), 1 );
}

TEST( Scenario, ADeathAtTheEndIsReportedAtTheLastLine )
{
   EXPECT_THAT( transcriptOfDeath( "switch hsdk units 1\n"
                                   "call init true true\n"
                                   "fault bcm_field_unlock code BCM_E_UNAVAIL\n"
                                   "call handleMplsRouting true\n",
                   "still held at the end(.|\n)*:4: the agent died here" ),
      testing::ContainsRegex( "DIED .*broken convention: " ) );
}

TEST( Scenario, OnAForeignProfileExpectationsAreNotJudged )
{
   const std::string text = "switch hsdk ports 40\n"
                            "interface Ethernet1 unit 0 port 1 routed\n"
                            "expect register CPU_CONTROL_Mr MPLS_TTL_ERR_TOCPUf 1\n"
                            "expect attribute useLb false\n"
                            "call handleTcamEntryLb\n"
                            "unit 0 room mian 3\n"
                            "note reached\n";
   const Outcome outcome = run( text, { "--profile", "register" } );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT( outcome.out, HasSubstr( "This is register in place of hsdk" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "Line 6 is skipped: " ) );
   EXPECT_THAT( outcome.out, HasSubstr( "reached" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "0 expectations held, 2 not judged" ) );
   EXPECT_THAT(
      run( text, { "--profile", "register", "--json" } ).out, HasSubstr( "\"notJudged\":2" ) );
   EXPECT_EQ( run( text, { "--profile", "hsdk" } ).status, 2 ) << "its own profile";
   EXPECT_EQ( run( text, { "--profile", "none" } ).status, 2 );
}

/// The scenario with this line after each `switch` line. A copy of it elsewhere includes the same files.
std::string withLine( const std::string& file, const std::string& line )
{
   const std::string include = "include ";
   std::ifstream in( file );
   std::string text;
   for( std::string each; std::getline( in, each ); ) {
      if( each.starts_with( include ) )
         each.insert( include.size(), std::filesystem::absolute( "scenarios" ).string() + "/" );
      text += each + "\n" + ( each.starts_with( "switch " ) ? line : "" );
   }
   return text;
}

// On a scenario's own profile a broken convention aborts, as a death does on any profile; both name the line. With the
// fault, expectations may fail there; they are not the subject of this test.
TEST( Scenario, ScenariosBreakNoConventionOnAnyProfileWithOrWithoutAFieldLock )
{
   for( const auto& file : std::filesystem::directory_iterator( "scenarios" ) )
      for( const std::string_view profile : Sim::chipProfileNames() )
         for( const std::string line :
            { "", "fault bcm_field_lock code BCM_E_UNAVAIL always\n" } ) {
            if( file.path().extension() != ".scenario" )
               continue;
            const std::string copy = line.empty()
                                        ? file.path().string()
                                        : scenarioFile( withLine( file.path().string(), line ) );
            std::ostringstream out;
            const int status =
               runLine( { "run", copy.c_str(), "--quiet", "--profile", profile.data() },
                  Terminal{ std::cin, out, std::cerr } );
            SCOPED_TRACE( file.path().string() + " on " + std::string( profile ) + "\n" + line );
            EXPECT_THAT( out.str(), Not( HasSubstr( "BROKEN" ) ) );
            EXPECT_TRUE( status == 0 || ( status == 1 && !line.empty() ) ) << out.str();
         }
}

TEST( Scenario, EveryLineOfJsonParsesAndNothingElseIsOnStandardOutput )
{
   const std::string transcript = testing::TempDir() + "lines.json";
   const Outcome outcome =
      run( "switch hsdk units 2\n"
           "note \"a\\\\b \xff\"\n"
           "trace *=9\n"
           "call init true true\n"
           "show entries\n"
           "expect attribute useLb true\n"
           "fault installEntry code BCM_E_FULL\n"
           "expect dead \"installEntry failed\" call initializeNextHopToCpuTcam\n",
         { "--json", "--transcript", transcript.c_str() } );
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_EQ( contents( transcript ), outcome.out );
   std::map<std::string, U32> kinds;
   U32 children = 0;
   U64 number = 0;
   std::istringstream lines( outcome.out );
   for( std::string line; std::getline( lines, line ); ) {
      const auto object = nlohmann::json::parse( line );
      ++kinds[ object.at( "kind" ) ];
      children += object.contains( "child" ) ? 1 : 0;
      if( object.contains( "number" ) && !object.contains( "child" ) ) {
         EXPECT_EQ( object.at( "number" ), ++number );
      }
   }
   EXPECT_EQ( kinds[ "command" ], 6u );
   EXPECT_EQ( kinds[ "show" ], 1u );
   EXPECT_EQ( kinds[ "expect" ], 2u );
   EXPECT_GT( kinds[ "call" ], 60u );
   EXPECT_GT( kinds[ "trace" ], 0u );
   EXPECT_GE( children, 4u );
}

TEST( Scenario, QuietShowsOnlyRequestedOutputAndTheTranscriptIsComplete )
{
   const std::string transcript = testing::TempDir() + "quiet.txt";
   const Outcome outcome = run( "switch hsdk\n"
                                "interface Ethernet1-2 unit 0 port 3 routed\n"
                                "call routedIntf Ethernet2\n"
                                "show interfaces\n"
                                "trace ApiStrata=4\n"
                                "call initializeNextHopToCpuTcam\n"
                                "expect entry nexthopToCpu enabled with CopyToCpu\n",
      { "--quiet", "--transcript", transcript.c_str() } );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( outcome.out, "Interfaces, and their ports as unit/port/logical port\n"
                           "  Interface  Model   Port   LAG\n"
                           "  Ethernet1  routed  0/3/3\n"
                           "  Ethernet2  routed  0/4/4\n\n" );
   EXPECT_THAT( contents( transcript ), HasSubstr( "> call routedIntf Ethernet2\n  = true\n" ) );
   EXPECT_THAT(
      contents( transcript ), HasSubstr( "ExceptionEntries.cpp:* bcm_field_action_add" ) );
}

/// The growth of the heap by 2,000 events of a session, in bytes.
std::size_t growth( const std::string& everyHundred, SessionConfig config )
{
   std::string start =
      "switch hsdk ports 8 seed 1\ninterface Ethernet1 unit 0 port 1\nbring-up\nmark\n";
   std::string events;
   for( U32 i = 0; i < 2000; ++i )
      events += ( i % 100 == 0 ? everyHundred : "" ) + "set Ethernet1.forwardingModel " +
                ( i % 2 == 0 ? "routed\n" : "bridged\n" );
   std::ostringstream out;
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   ConsoleConfig quiet;
   quiet.quiet = true;
   Console console( out, out, quiet );
   Session session( console, std::move( config ) );
   runLines( scenarioFile( start ), session );
   runLines( scenarioFile( "mark\n" + events.substr( 0, events.size() / 10 ) ), session );
   const std::string file = scenarioFile( events );
   const std::size_t before = mallinfo2().uordblks;
   runLines( file, session );
   return mallinfo2().uordblks - before;
}

TEST( Scenario, MemoryIsThatOfTheRecordsSinceTheLastMark )
{
   constexpr std::size_t hundredEvents = 1000000;
   EXPECT_LT( growth( "mark\n", {} ), hundredEvents );
   EXPECT_LT( growth( "", { .keepsRecords = false } ), 10000u );
   if( mallinfo2().uordblks != 0 ) { // a sanitizer's heap does not tell
      EXPECT_GT( growth( "", {} ), 10 * hundredEvents );
   }
   const Outcome outcome = run( "switch hsdk ports 8\ninterface Ethernet1 unit 0 port 1\nbring-up\n"
                                "poke my-station 1 MAC_ADDR_MASKf ff:ff:ff:ff:ff:ff\n"
                                "poke my-station 1 MAC_ADDRf 02:00:00:00:00:0a\n"
                                "poke my-station 1 VALIDf 1\n"
                                "poke my-station 1 IPV4_TERMINATION_ALLOWEDf 1\n"
                                "explain in Ethernet1 dmac 02:00:00:00:00:0a ipv4\n"
                                "show calls\n",
      { "--no-transcript" } );
   EXPECT_EQ( outcome.status, 2 );
   EXPECT_THAT( outcome.out, HasSubstr( "written by 'bring-up'" ) );
   EXPECT_THAT( outcome.err, HasSubstr( ":9:1: it looks at records, which are not kept" ) );
}

TEST( Scenario, IsReadAsAStreamOfTextAndNothingElse )
{
   for( const auto& [ file, why ] : { std::pair( "/dev/zero", "it is a device" ),
           std::pair( "/", "it is a directory" ), std::pair( "no/such", "No such file" ) } ) {
      const Outcome outcome = runLine( { "run", "--json", file } );
      EXPECT_EQ( outcome.status, 2 );
      EXPECT_THAT( outcome.err, HasSubstr( why ) );
      EXPECT_THAT( outcome.out,
         AllOf( HasSubstr( "\"kind\":\"refused\"" ), HasSubstr( "\"ended\":\"refused\"" ) ) );
   }
   const std::string longLine = "note " + std::string( 65536, 'x' ) + "\n";
   EXPECT_THAT( run( longLine ).err, HasSubstr( ":1:65537: a line has at most 65536 bytes" ) );
   EXPECT_EQ( runLine( { "shell" }, longLine ).status, 2 );
   EXPECT_THAT( run( "note \x7f"
                     "ELF\n" )
                   .err,
      HasSubstr( "control character 0x7f" ) );
   // A pipe whose writer comes late, and writes the second line when the first has been run.
   const std::string pipe = testing::TempDir() + "scenario.pipe";
   const std::string transcript = pipe + ".txt";
   unlink( pipe.c_str() );
   ASSERT_EQ( mkfifo( pipe.c_str(), 0600 ), 0 );
   std::thread writer( [ & ] {
      std::this_thread::sleep_for( std::chrono::milliseconds( 1100 ) );
      std::ofstream out( pipe );
      out << "note first\n" << std::flush;
      while( contents( transcript ).find( "first" ) == std::string::npos )
         std::this_thread::sleep_for( std::chrono::milliseconds( 1 ) );
      out << "note second";
   } );
   const Outcome outcome = runLine( { "run", pipe.c_str(), "--transcript", transcript.c_str() } );
   writer.join();
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT( outcome.out, HasSubstr( "second" ) );
   EXPECT_THAT( outcome.err, HasSubstr( "waiting for the scenario from '" + pipe + "'" ) );
}

TEST( Scenario, ACheckReportsEveryLineThatCannotBeRun )
{
   const std::string captured = testing::TempDir() + "checked.pcap";
   const std::string text = "switch hsdk ports 8\n"
                            "interface Ethernet1 unit 0 prot 1\n"
                            "interface Ethernet2 unit 0 port 2\n"
                            "note \"open\n"
                            "capture Ethernet2 " +
                            captured +
                            "\n"
                            "expect attribute useLb true\n"
                            "set Ethernet1.forwardingModel routed\n" // because of line 2
                            "switch nonsense\n"
                            "set Ethernet1.forwardingModel routed\n" // not tried
                            "seet useLb true\n"
                            "switch register\n"
                            "foo\n"
                            "expect error \"no command 'bar'\" include checked-part.scenario\n"
                            "include checked-part.scenario\n";
   std::ofstream( testing::TempDir() + "checked-part.scenario" )
      << "bar\nnote fine\nswitch hskd\nset useLb yes\n";
   const Outcome outcome = run( text, { "--check", "--json" } );
   EXPECT_EQ( outcome.status, 2 );
   std::vector<U32> refused;
   nlohmann::json last;
   std::istringstream lines( outcome.out );
   for( std::string line; std::getline( lines, line ); ) {
      last = nlohmann::json::parse( line );
      if( last.at( "kind" ) == "refused" )
         refused.push_back( last.at( "line" ) );
   }
   EXPECT_THAT( refused, testing::ElementsAre( 2, 4, 7, 8, 10, 12, 1, 3 ) ) << outcome.err;
   EXPECT_EQ( last.at( "ended" ), "checked" );
   EXPECT_EQ( last.at( "refused" ), 8 );
   EXPECT_EQ( last.at( "notJudged" ), 2 );
   EXPECT_THAT( outcome.err, HasSubstr( "checked-part.scenario:1:1: there is no command 'bar'" ) );
   EXPECT_FALSE( std::filesystem::exists( captured ) );
   const Outcome good =
      run( "switch hsdk\nshow units\nexpect attribute useLb true\n", { "--check" } );
   EXPECT_EQ( good.status, 0 );
   EXPECT_THAT( good.out, testing::MatchesRegex( "(.|\n)?.*: every line can be run\n" ) );
}

TEST( Scenario, NotificationsAreMatchedByObjectKeyAndValues )
{
   EXPECT_EQ( run( "switch hsdk\n"
                   "interface Ethernet1 unit 0 port 1\n"
                   "mark\n"
                   "set Ethernet1.forwardingModel routed\n"
                   "expect notification Ethernet1.forwardingModel bridged -> routed times 1\n"
                   "set features.feature[\"a b\"] true\n"
                   "expect notification \"features.feature[a b]\" - -> true\n"
                   "expect notification features.feature times 1\n"
                   "mark\n"
                   "del features.feature\n"
                   "expect notification features.feature true -> -\n"
                   "expect notification Ethernet1.forwardingModel none\n" )
                 .status,
      0 );
}

} // namespace
} // namespace Strata::Tool
