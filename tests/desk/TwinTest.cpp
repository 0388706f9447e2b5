// The twin of a recording holds what the recorded chips were told.
#include "desk/RecordingFile.h"
#include "desk/SwitchState.h"
#include "platform/runtime/Activity.h"
#include "tests/tool/CommandLine.h"
#include "tool/ScenarioRun.h"
#include "tool/Session.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Strata::Desk {
namespace {

using testing::HasSubstr;
using Tool::contentsOf;
using Tool::Outcome;
using Tool::runLine;

class TwinTest : public testing::Test
{
 protected:
   /// What the chips hold at the end of the scenario, which is recorded.
   SwitchState recorded( const std::string& scenario )
   {
      Tool::Console console( nothing, nothing, {} );
      SwitchState state;
      Tool::runScenario(
         scenario, console, { .recordingFile = file }, [ & ]( const Tool::Session& session ) {
            if( session.hasAgent() )
               state = SwitchState( session.agent().hardware() );
         } );
      return state;
   }
   SwitchState twin()
   {
      Tool::Console console( nothing, nothing, {} );
      const Vormel::LockAnchor lock( Vormel::activityLock() );
      Tool::Session session( console );
      session.twinIs( RecordingFile( file ) );
      return SwitchState( session.agent().hardware() );
   }
   Outcome ask( const std::string& lines, const std::string& scenario = {} ) const
   {
      std::vector<const char*> arguments{ "twin", file.c_str() };
      if( !scenario.empty() )
         arguments.push_back( scenario.c_str() );
      return runLine( arguments, lines );
   }

   std::ofstream nothing{ "/dev/null" };
   const std::string file = testing::TempDir() +
                            testing::UnitTest::GetInstance()->current_test_info()->name() +
                            ".recording";
};

TEST_F( TwinTest, HoldsWhatTheRecordedChipsHold )
{
   for( const auto& entry : std::filesystem::directory_iterator( "scenarios" ) ) {
      if( entry.path().extension() != ".scenario" )
         continue;
      SCOPED_TRACE( entry.path().string() );
      const SwitchState was = recorded( entry.path().string() );
      if( was.parts().empty() )
         continue; // the scenario removes its switch
      for( const Difference& row : differences( was, twin() ) )
         // A VLAN that the agent neither read nor wrote is not recorded, nor a port that went down since it asked.
         EXPECT_TRUE(
            ( row.key.kind == PartKind::vlan && !row.after ) || row.field == "active ports" )
            << row.part << ", " << row.field << ": " << row.before.value_or( "none" ) << " -> "
            << row.after.value_or( "none" );
   }
}

TEST_F( TwinTest, AFileThatContinuesAnotherIsEnough )
{
   for( const char* const name : { "day-in-the-life", "entries-register", "entries-hsdk",
           "entries-fabric-vfi", "entries-acl", "vlan-routing" } ) {
      SCOPED_TRACE( name );
      const std::string scenario = "scenarios/" + std::string( name ) + ".scenario";
      const SwitchState whole = ( recorded( scenario ), twin() );
      // The smallest limit: a new file whenever the last one is twice as long as the state.
      runLine( { "record", scenario.c_str(), "-o", file.c_str(), "--limit", "1" } );
      ASSERT_TRUE( std::filesystem::exists( file + ".old" ) );
      for( const Difference& row : differences( whole, twin() ) )
         EXPECT_EQ( row.field, "active ports" )
            << row.part << ", " << row.field << ": " << row.before.value_or( "none" ) << " -> "
            << row.after.value_or( "none" );
      const Outcome refused = runLine( { "replay", file.c_str() } );
      EXPECT_EQ( refused.status, 2 );
      EXPECT_THAT( refused.err, HasSubstr( "continues an older file" ) );
      std::filesystem::remove( file + ".old" );
   }
}

TEST_F( TwinTest, AnswersAndSaysWhatItWasNotTold )
{
   recorded( Tool::scenarioFile( "switch hsdk ports 8\n"
                                 "interface Ethernet1-4 unit 0 port 1 routed\n"
                                 "bring-up\n"
                                 "router 02:00:00:00:00:0a\n" ) );
   const std::string routed = "in Ethernet1 dmac router ipv4 src 10.1.0.5 dst 10.2.0.9 ttl 9\n";
   const Outcome alone = ask( "explain " + routed + "show entries\n" );
   EXPECT_EQ( alone.status, 0 ) << alone.err;
   EXPECT_THAT( alone.out, HasSubstr( "This depends on what the twin was not told: " ) );
   EXPECT_THAT( alone.out, HasSubstr( "routes" ) );
   EXPECT_THAT( alone.out, HasSubstr( "NextHop to Cpu" ) );
   // The cause of an entry is the event in which the recorded agent has made it.
   EXPECT_THAT( alone.out, HasSubstr( "written by 'call handleRouting( true, true )'" ) );
   const std::string text = contentsOf( file );
   const std::size_t call =
      text.rfind( "\"n\":", text.find( "\"control\":\"L3EgressMode\",\"value\":1" ) );
   const std::string number = text.substr( call + 4, text.find( ',', call ) - call - 4 );
   EXPECT_THAT( alone.out, HasSubstr( "L3EgressMode is 1 (record " + number + ")" ) );
   // With what the agent's other parts have, it is an answer like any other.
   const std::string beside = testing::TempDir() + "AnswersAndSaysWhatItWasNotTold.tables";
   std::ofstream( beside ) << "vlan 1 svi\n"
                              "vlan 20 svi members Ethernet4\n"
                              "route 10.2.0.0/16 via Ethernet4 mac 00:00:00:00:04:04 vlan 20\n";
   const Outcome told = ask( "packet " + routed + "expect departs Ethernet4\n", beside );
   EXPECT_EQ( told.status, 0 ) << told.out << told.err;
   EXPECT_EQ( told.out.find( "was not told" ), std::string::npos ) << told.out;
   // There is no slice.
   for( const char* const line : { "bring-up", "call l3Init true", "switch hsdk", "no router" } ) {
      const Outcome refused = ask( std::string( line ) + "\n" );
      EXPECT_EQ( refused.status, 2 ) << line;
      EXPECT_THAT( refused.err, HasSubstr( "' is not possible here: this is the twin" ) );
   }
   EXPECT_EQ( runLine( { "twin", "/nosuch.recording" } ).status, 2 );
}

TEST_F( TwinTest, ACallInWhichTheRecordingEndsIsNotMade )
{
   recorded( Tool::scenarioFile( "switch hsdk ports 4\nbring-up\n" ) );
   const std::string text = contentsOf( file );
   const std::size_t install = text.find( "\"call\":\"installEntry\"" );
   const std::size_t end = text.find( '\n', install );
   std::ofstream( file ) << text.substr( 0, end + 1 );
   Outcome outcome = ask( "show entries\n" );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT( outcome.out, HasSubstr( "the recording ends within main.installEntry( unit 0," ) );
   // What the simulated chip refuses is told, and the rest is made.
   std::string bent = text;
   const std::string written = "\"control\":\"IPv4DoNotVerifyIncomingChecksum\",\"value\":";
   bent.replace( bent.find( written ) + written.size(), 1, "9" );
   std::ofstream( file ) << bent;
   outcome = ask( "show entries\n" );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT( outcome.out,
      HasSubstr( "1 recorded call is refused by the simulated chip, the first in line " ) );
}

TEST_F( TwinTest, RecordingsAreComparedByMeaning )
{
   const std::string one = Tool::scenarioFile( "switch register ports 4 seed 1\nbring-up\n" );
   recorded( one );
   const Outcome same = runLine( { "diff", file.c_str(), one.c_str() } );
   EXPECT_EQ( same.status, 0 ) << same.out << same.err;
   EXPECT_THAT( same.out, HasSubstr( "Hardware calls: the same, " ) );
   EXPECT_THAT( same.out, HasSubstr( "What the chips hold at the end: the same" ) );
   const std::string other = testing::TempDir() + "RecordingsAreComparedByMeaning.other";
   std::ofstream( other )
      << "switch register ports 4 seed 2\nbring-up\ncall handleRouting true true\n";
   const Outcome differs = runLine( { "diff", other.c_str(), file.c_str() } );
   EXPECT_EQ( differs.status, 1 );
   EXPECT_THAT( differs.out, HasSubstr( "in call handleRouting( true, true )\n" ) );
   EXPECT_THAT( differs.out, HasSubstr( "no more calls" ) );
   EXPECT_THAT( differs.out, HasSubstr( "control L3EgressMode" ) );
}

} // namespace
} // namespace Strata::Desk
