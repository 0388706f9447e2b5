// The files of a run: scenarios as streams, included ones, those that are only checked, and captures.
#include "platform/runtime/Activity.h"
#include "tests/tool/CommandLine.h"

#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <malloc.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace Strata::Tool {
namespace {

using testing::HasSubstr;

TEST( ScenarioFile, ProblemsInAnIncludedFileNameItsLineAndTheLineThatIncludesIt )
{
   std::ofstream( testing::TempDir() + "part.scenario" )
      << "expect attribute useLb true\nnote \"in the part\"\ncall init maybe true\n";
   const std::string text = "switch hsdk\n\ninclude part.scenario\nnote never\n";
   const Outcome outcome = runText( text );
   EXPECT_EQ( outcome.status, 2 );
   EXPECT_THAT( outcome.out, HasSubstr( "part.scenario:1, included at " ) );
   EXPECT_THAT( outcome.err, HasSubstr( "part.scenario:3:11: init: argument 1 (enable) 'maybe'" ) );
   EXPECT_THAT( outcome.err, HasSubstr( "\n   included at " ) );
   EXPECT_THAT( outcome.err, HasSubstr( "IncludesIt.scenario:3\n" ) );
   EXPECT_THAT( outcome.out, Not( HasSubstr( "never" ) ) );
   const std::string json = runText( text, { "--json" } ).out;
   EXPECT_THAT( json, HasSubstr( "part.scenario\",\"line\":1,\"text\":\"expect attribute" ) );
   const std::string refused = "\"kind\":\"refused\"";
   EXPECT_EQ( json.find( refused ), json.rfind( refused ) ) << "told once";
}

TEST( ScenarioFile, ACaptureReplacesACaptureAndNoOtherFile )
{
   const std::string folder = testing::TempDir();
   const std::string part = "interface Ethernet1 unit 0 port 1\n";
   const std::string transcript = folder + "captured.txt";
   const std::string capture = folder + "captured.pcap";
   const auto captureTo = [ & ]( const std::string& file ) {
      return runText(
         "switch hsdk\ninclude captured-part.scenario\ncapture Ethernet1 " + file + "\n",
         { "--transcript", transcript.c_str() } );
   };
   std::ofstream( folder + "captured-part.scenario" ) << part;
   for( const std::string& file : { transcript, folder + "captured-part.scenario" } )
      EXPECT_THAT( captureTo( file ).err, HasSubstr( "' exists and is not a capture; give" ) );
   EXPECT_EQ( contentsOf( folder + "captured-part.scenario" ), part );
   EXPECT_THAT( contentsOf( transcript ), testing::StartsWith( "> switch hsdk\n" ) );
   EXPECT_EQ( captureTo( capture ).status, 0 );
   EXPECT_EQ( captureTo( capture ).status, 0 );
}

TEST( ScenarioFile, ATranscriptReplacesNoFileThatTheRunReads )
{
   const std::string part = testing::TempDir() + "kept.scenario";
   const std::string text = "note kept\n";
   std::ofstream( part ) << text;
   for( const std::string line :
      { "include kept.scenario", "expect error x include kept.scenario" } ) {
      const Outcome outcome = runText( line + "\n", { "--transcript", part.c_str() } );
      EXPECT_EQ( outcome.status, 2 );
      EXPECT_THAT( outcome.err,
         HasSubstr( "the transcript would overwrite the scenario '" + part + "'; give it" ) );
   }
   EXPECT_EQ( runLine( { "run", part.c_str(), "--transcript", part.c_str() } ).status, 2 );
   EXPECT_EQ( contentsOf( part ), text );
   // The transcript begins before the line is typed.
   EXPECT_THAT( runLine( { "shell", "--transcript", part.c_str() }, "include " + part + "\n" ).err,
      HasSubstr( "shell:1:9: '" + part + "' is the transcript of this run; include another" ) );
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

TEST( ScenarioFile, MemoryIsThatOfTheRecordsSinceTheLastMark )
{
   constexpr std::size_t hundredEvents = 1000000;
   EXPECT_LT( growth( "mark\n", {} ), hundredEvents );
   EXPECT_LT( growth( "", { .keepsRecords = false } ), 10000u );
   if( mallinfo2().uordblks != 0 ) { // a sanitizer's heap does not tell
      EXPECT_GT( growth( "", {} ), 10 * hundredEvents );
   }
   const Outcome outcome =
      runText( "switch hsdk ports 8\ninterface Ethernet1 unit 0 port 1\nbring-up\n"
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

TEST( ScenarioFile, IsReadAsAStreamOfTextAndNothingElse )
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
   EXPECT_THAT( runText( longLine ).err, HasSubstr( ":1:65537: a line has at most 65536 bytes" ) );
   EXPECT_EQ( runLine( { "shell" }, longLine ).status, 2 );
   EXPECT_THAT( runText( "note \x7f"
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
      while( contentsOf( transcript ).find( "first" ) == std::string::npos )
         std::this_thread::sleep_for( std::chrono::milliseconds( 1 ) );
      out << "note second";
   } );
   const Outcome outcome = runLine( { "run", pipe.c_str(), "--transcript", transcript.c_str() } );
   writer.join();
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT( outcome.out, HasSubstr( "second" ) );
   EXPECT_THAT( outcome.err, HasSubstr( "waiting for the scenario from '" + pipe + "'" ) );
}

TEST( ScenarioFile, ACheckReportsEveryLineThatCannotBeRun )
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
   const Outcome outcome = runText( text, { "--check", "--json" } );
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
      runText( "switch hsdk\nshow units\nexpect attribute useLb true\n", { "--check" } );
   EXPECT_EQ( good.status, 0 );
   EXPECT_THAT( good.out, testing::MatchesRegex( "(.|\n)?.*: every line can be run\n" ) );
}

} // namespace
} // namespace Strata::Tool
