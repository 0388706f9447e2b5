// Scenarios as users run them: their output as text and as JSON, and their exit statuses.
#include "sim/chip/ChipProfile.h"
#include "tests/tool/CommandLine.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>
#include <nlohmann/json.hpp>
#include <sstream>

namespace Strata::Tool {
namespace {

using testing::HasSubstr;
using testing::Not;

/// The transcript of a scenario in which the agent dies; `error` matches standard error.
std::string transcriptOfDeath(
   const std::string& text, const char* error, std::vector<const char*> options = {} )
{
   const std::string file = scenarioFile( text );
   const std::string transcript = file + ".transcript";
   options.insert( options.begin(), { "run", file.c_str(), "--transcript", transcript.c_str() } );
   EXPECT_EXIT( runLine( options, Terminal{ std::cin, std::cout, std::cerr } ),
      testing::ExitedWithCode( 3 ), error );
   return contentsOf( transcript );
}

TEST( Scenario, AFailedExpectationIsReportedAndTheRunContinues )
{
   const Outcome outcome = runText( "switch hsdk\n"
                                    "expect attribute useLb true\n"
                                    "expect entry 33 absent\n"
                                    "expect attribute routerMacIndex 0xFFFF\n" );
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_THAT( outcome.out, HasSubstr( "FAILED  expect attribute useLb true" ) );
   EXPECT_THAT( outcome.out, HasSubstr( ".scenario:2)" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "found     false" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "1 of 3 expectations failed" ) );
   EXPECT_EQ( runText( "switch hsdk\nexpect no calls\n" ).status, 0 );
}

TEST( Scenario, TextsAreExpectedWholeAndInOrder )
{
   const Outcome outcome =
      runText( "switch hsdk\n"
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
   const std::string out = runText( text ).out;
   EXPECT_THAT( out, HasSubstr( "held    expect call installEntry" ) );
   EXPECT_THAT( out, HasSubstr( "packet " ) );
   EXPECT_THAT( out, Not( HasSubstr( "getEntry unit 0 id 1034" ) ) );
   EXPECT_THAT( out, HasSubstr( "getEntry unit 0 id 1035" ) );
   EXPECT_THAT( runText( text, { "--json" } ).out, HasSubstr( "\"id\":1034" ) );
}

TEST( Scenario, ABringUpEndsWithASummaryAndHasItsCallsOnRequest )
{
   const std::string ports = "switch hsdk\ninterface Ethernet1-4 unit 0 port 1\n";
   const std::string summary =
      "entries     0      11 installed, 1 of them disabled: show entries\n";
   const char* const call = "call   bcm_field_qualify_DstPort( unit 0, entry 1024";
   const std::string transcript = scenarioFile( "" ) + ".txt";
   const std::string out =
      runText( ports + "bring-up\n", { "--transcript", transcript.c_str() } ).out;
   EXPECT_THAT( out, AllOf( HasSubstr( summary ), HasSubstr( "calls       -      243 made" ) ) );
   EXPECT_THAT( out, Not( HasSubstr( call ) ) );
   EXPECT_THAT( contentsOf( transcript ), AllOf( HasSubstr( summary ), HasSubstr( call ) ) );
   EXPECT_THAT( runText( ports + "bring-up\nset Ethernet1.forwardingModel routed\n" ).out,
      HasSubstr( "call   bcm_field_lock" ) );
   EXPECT_THAT( runText( ports + "quiet\nbring-up\n" ).out, HasSubstr( summary ) );
   EXPECT_THAT( runText( ports + "loud\nbring-up\n" ).out, HasSubstr( call ) );
   EXPECT_THAT( runText( ports + "bring-up\n", { "--no-transcript" } ).out,
      HasSubstr( "243 made: 'loud' before shows them" ) );
   EXPECT_THAT( runText( ports + "bring-up\nshow transcript\n" ).out, HasSubstr( call ) );
   EXPECT_THAT( runText( ports + "bring-up\n", { "--json" } ).out,
      AllOf( HasSubstr( "\"id\":1034" ), HasSubstr( R"({"what":"calls","made":243})" ) ) );
}

TEST( Scenario, ALineThatCannotBeRunEndsIt )
{
   const Outcome outcome = runText( "switch hsdk\ncall init maybe true\nnote never\n" );
   EXPECT_EQ( outcome.status, 2 );
   EXPECT_THAT( outcome.err,
      HasSubstr( ".scenario:2:11: init: argument 1 (enable) 'maybe' is not true or false\n"
                 "   call init maybe true\n"
                 "             ^~~~~" ) );
   EXPECT_THAT( outcome.out, Not( HasSubstr( "never" ) ) );
   EXPECT_EQ( runText( "call init true true\n" ).status, 2 ); // no switch yet
   EXPECT_EQ( runText( "switch hsdk\nset tcamEntryL3Vxlan[3] 5\n" ).status, 2 );
   EXPECT_EQ( runText( "switch hsdk\n", { "--trace", "Nobody=3" } ).status, 2 );
   EXPECT_EQ( runLine( { "run", "no/such.scenario" } ).status, 2 );
   const std::string file = scenarioFile( "switch hsdk\nfoo\n" );
   const std::string transcript = file + ".txt";
   EXPECT_EQ( runLine( { "run", file.c_str(), "--transcript", transcript.c_str() } ).status, 2 );
   EXPECT_THAT( contentsOf( transcript ), HasSubstr( ".scenario:2:1: there is no command 'foo'" ) );
   EXPECT_EQ( runLine( { "run", file.c_str(), "--transcript", file.c_str() } ).status, 2 );
   EXPECT_EQ( contentsOf( file ), "switch hsdk\nfoo\n" );
   EXPECT_EQ( runLine( { "rum" } ).status, 2 );
   EXPECT_EQ( runLine( { "--version" } ).status, 0 );
}

TEST( Scenario, AnExpectedDeathLeavesTheSwitchUnchanged )
{
   const Outcome outcome =
      runText( "switch hsdk\n"
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
   const Outcome outcome = runText( "switch hsdk\nexpect dead x call ini true\n" );
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
   const Outcome outcome = runText( text, { "--profile", "register" } );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT( outcome.out, HasSubstr( "This is register in place of hsdk" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "Line 6 is skipped: " ) );
   EXPECT_THAT( outcome.out, HasSubstr( "reached" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "0 expectations held, 2 not judged" ) );
   EXPECT_THAT(
      runText( text, { "--profile", "register", "--json" } ).out, HasSubstr( "\"notJudged\":2" ) );
   EXPECT_EQ( runText( text, { "--profile", "hsdk" } ).status, 2 ) << "its own profile";
   EXPECT_EQ( runText( text, { "--profile", "none" } ).status, 2 );
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
      runText( "switch hsdk units 2\n"
               "note \"a\\\\b \xff\"\n"
               "trace *=9\n"
               "call init true true\n"
               "show entries\n"
               "expect attribute useLb true\n"
               "fault installEntry code BCM_E_FULL\n"
               "expect dead \"installEntry failed\" call initializeNextHopToCpuTcam\n",
         { "--json", "--transcript", transcript.c_str() } );
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_EQ( contentsOf( transcript ), outcome.out );
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
   const Outcome outcome = runText( "switch hsdk\n"
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
   EXPECT_THAT( contentsOf( transcript ), HasSubstr( "> call routedIntf Ethernet2\n  = true\n" ) );
   EXPECT_THAT(
      contentsOf( transcript ), HasSubstr( "ExceptionEntries.cpp:* bcm_field_action_add" ) );
}

TEST( Scenario, NotificationsAreMatchedByObjectKeyAndValues )
{
   EXPECT_EQ( runText( "switch hsdk\n"
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
