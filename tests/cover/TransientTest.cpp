// What becomes of packets while a command runs: every event of every scenario is watched, and orders that are wrong on
// purpose are found.
//
// STRATA_WATCHED: every how many events are watched.
#include "tests/FromEnvironment.h"
#include "tests/cover/NeedsSolver.h"
#include "tests/packet/PacketTest.h"
#include "tests/tool/CommandLine.h"
#include "tool/ScenarioFile.h"
#include "tool/Session.h"
#include "tool/packet/EntryCover.h"
#include "tool/packet/TableTrial.h"
#include "tool/packet/Transients.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Strata::Tool {
namespace {

/// "COMMAND => PACKET: what becomes of it" for each transient of the scenario's events that is not accepted, and the lines of
/// the file beside it that accept none.
std::string transientsOf( const std::string& scenario )
{
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   std::ofstream nothing( "/dev/null" );
   Console console( nothing, nothing, {} );
   Session session( console );
   ScenarioFile lines( scenario );
   const U64 every = fromEnvironment( "STRATA_WATCHED", 1 );
   U64 events = 0;
   std::string all;
   while( const std::optional<Line> line = lines.next() ) {
      if( line->words.empty() )
         continue;
      Words words( *line );
      const Command& command = takeCommand( words );
      if( !command.isEvent() || !session.hasAgent() || ++events % every != 0 ) {
         session.run( *line );
         continue;
      }
      for( const Transient& transient :
         runWatched( session, command.act( session, words ), words, commandText( *line ) ) )
         if( !transient.reason )
            all += commandText( *line ) + " => " + transient.packet + ": " + transient.meanwhile +
                   " from " + transient.call + "\n";
   }
   if( every == 1 )
      for( const std::string& idle : session.acceptedTransients().idle( true ) )
         all += idle + "\n";
   return all;
}

std::vector<std::string> shippedScenarios()
{
   std::vector<std::string> names;
   for( const auto& file : std::filesystem::directory_iterator( "scenarios" ) )
      if( file.path().extension() == ".scenario" )
         names.push_back( file.path().stem().string() );
   return names;
}

class TransientTest : public testing::TestWithParam<std::string>
{
};

TEST_P( TransientTest, NoPacketFaresOtherwiseThanBeforeOrAfterAnEvent )
{
   NEEDS_SOLVER();
   EXPECT_EQ( transientsOf( "scenarios/" + GetParam() + ".scenario" ), "" );
}

INSTANTIATE_TEST_SUITE_P(
   Scenarios, TransientTest, testing::ValuesIn( shippedScenarios() ), []( const auto& scenario ) {
      std::string name = scenario.param;
      std::erase( name, '-' );
      return name;
   } );

/// Rewrites an entry as it is, in an order that lets packets through meanwhile.
enum class WrongOrder : U8
{
   removedFirst,
   disabledMeanwhile,
   halfWritten,
};

void rewrite( Session& session, const Cover::Coverage& about, WrongOrder order )
{
   Sim::SimSwitch& hardware = session.agent().hardware();
   const Ref<Sim::SimTcamEntryManager> manager = hardware.tcamManager( about.range );
   Sim::FieldEntry& entry = *hardware.chip( about.unit ).group( about.range )->find( about.id );
   const std::vector<Sim::FieldActionData> actions = entry.claim.actions;
   switch( order ) {
   case WrongOrder::removedFirst:
      manager->removeEntry( about.unit, about.id );
      manager->installEntry( about.unit, about.id );
      return;
   case WrongOrder::disabledMeanwhile:
      for( const bool enabled : { false, true } )
         manager->enableEntry(
            about.unit, about.id, enabled, hardware.shim().fieldEntryEnableMode() );
      return;
   case WrongOrder::halfWritten:
      entry.claim.actions = { { .role = FieldAction::CosQCpuNew, .parameter0 = 40 },
         { .role = FieldAction::CopyToCpu } };
      manager->reinstallEntry( about.unit, about.id );
      entry.claim.actions = actions;
      manager->reinstallEntry( about.unit, about.id );
      return;
   }
}

TEST_F( PacketTest, AnEntryThatIsRewrittenInAWrongOrderIsNamed )
{
   NEEDS_SOLVER();
   bringUp( "hsdk" );
   agent().hardware().critic().collect();
   const Line line = splitLine( "test", 1, "transient" );
   const Words words( line );
   U32 faults = 0;
   for( const Cover::Coverage& about : entryCover( session, { 0 } ) ) {
      if( !about.hasEffect )
         continue;
      for( const WrongOrder order :
         { WrongOrder::removedFirst, WrongOrder::disabledMeanwhile, WrongOrder::halfWritten } ) {
         const auto transients = runWatched(
            session, [ & ]( Session& live ) { rewrite( live, about, order ); }, words, {} );
         const bool named =
            std::ranges::find( transients, about.name, &Transient::packet ) != transients.end();
         EXPECT_TRUE( named ) << about.name << " " << static_cast<int>( order );
         ++faults;
      }
   }
   EXPECT_GE( faults, 20U );
}

TEST_F( PacketTest, EntriesThatAreInstalledInAWrongOrderAreNamed )
{
   NEEDS_SOLVER();
   bringUp( "hsdk" );
   agent().hardware().critic().collect();
   const Line line = splitLine( "test", 1, "transient" );
   const Words words( line );
   const auto manager = agent().hardware().tcamManager( "main" );
   const auto idOf = [ & ]( const std::string& name ) {
      const auto all = entryCover( session, { 0 }, "main" );
      return std::ranges::find( all, name, &Cover::Coverage::name )->id;
   };
   const U32 trap = idOf( "trap to cpu for l2 only with dmac=bridgeMac" );
   for( const std::string name :
      { "drop ucast arp request with dmac=bridgeMac", "l2 vxlan with dmac=bridgeMac" } ) {
      const U32 exception = idOf( name );
      for( const bool wrong : { false, true } ) {
         for( const U32 id : { trap, exception } )
            manager->removeEntry( 0, id );
         const auto transients = runWatched( session,
            [ & ]( Session& ) {
               manager->installEntry( 0, wrong ? trap : exception );
               manager->installEntry( 0, wrong ? exception : trap );
            },
            words, {} );
         EXPECT_EQ( std::ranges::count( transients, name, &Transient::packet ), wrong ? 1 : 0 )
            << name;
      }
   }
}

TEST_F( PacketTest, AnEntryIsWatchedByAPacketThatHasStillAnEffect )
{
   NEEDS_SOLVER();
   bringUp( "hsdk" );
   for( const std::string vlan : { "1", "10", "20", "30", "100" } )
      run( "call handleVlanCpuPort " + vlan + " true" );
   const auto before = entryPackets( session );
   run( "call handleVlanCpuPort 30 false" );
   const auto flood = std::ranges::find( session.packets().entryPackets(),
      std::string( "l2 mcast flood" ), []( const auto& known ) { return known.second.name; } );
   ASSERT_FALSE( before.empty() );
   entryPackets( session );
   EXPECT_TRUE( flood->second.hasEffect );
}

TEST_F( PacketTest, WhatIsAsAfterwardsIsNoTransientAndWhatIsAsBeforeOnlyIfItGoesBack )
{
   bringUp( "hsdk" );
   run( "probe mine in Ethernet1 dmac 02:00:a1:00:00:01 vlan 10 ipv4 dst 10.3.0.1" );
   Sim::SimSwitch& hardware = agent().hardware();
   const auto& entries = chip().group( "main" )->entries();
   const auto trap = std::ranges::find_if(
      entries, []( const auto& entry ) { return entry.second.name == "NextHop to Cpu"; } );
   const auto enable = [ & ]( bool enabled ) {
      hardware.tcamManager( "main" )->enableEntry(
         0, trap->first, enabled, hardware.shim().fieldEntryEnableMode() );
   };
   const Line line = splitLine( "test", 1, "transient" );
   const auto meanwhile = [ & ]( const std::vector<bool>& steps ) {
      std::string all;
      for( const Transient& transient : runWatched( session,
              [ & ]( Session& ) { std::ranges::for_each( steps, enable ); }, Words( line ), {} ) )
         if( transient.packet == "mine" )
            all += transient.meanwhile == transient.before ? "as before;" : "otherwise;";
      return all;
   };
   EXPECT_EQ( meanwhile( { false, true, false, true } ), "otherwise;otherwise;" );
   EXPECT_EQ( meanwhile( { false, true, false } ), "as before;" );
   EXPECT_EQ( meanwhile( { true } ), "" );
}

/// A scenario with a probe that fares otherwise while the switch becomes a router, and the files that accept it.
class AcceptedTest : public testing::Test
{
 protected:
   void SetUp() override { NEEDS_SOLVER(); }
   void TearDown() override { std::filesystem::remove_all( file ); }

   Outcome run( const std::string& accepting, const std::string& behind = {} ) const
   {
      std::ofstream( file ) << accepting;
      return runText( text + behind );
   }

   const std::string text =
      "switch hsdk ports 4\ninterface Ethernet1-4 unit 0 port 1\nvlan 10 svi\nbring-up\n"
      "probe request in Ethernet1 dmac 02:00:a1:00:00:01 vlan 10 arp request\n"
      "expect hitless set pbr.pbrEnabled true\n"
      "expect hitless router 02:00:a1:00:00:01\n";
   const std::filesystem::path file =
      std::filesystem::path( scenarioFile( text ) ).replace_extension( ".transients" );
};

TEST_F( AcceptedTest, FailureSaysWhatToWriteIntoWhichFile )
{
   const Outcome refused = runText( text );
   EXPECT_EQ( refused.status, 1 ) << refused.out << refused.err;
   EXPECT_THAT( refused.out, testing::HasSubstr( "1 of 2 expectations" ) );
   EXPECT_THAT( refused.out,
      testing::ContainsRegex( "found     main: .*: CPU queue 0: .*; also request; .*" ) );
   const std::string found = refused.out.substr( refused.out.find( "write '" ) + 7 );
   const std::string line = found.substr( 0, found.find( "=> REASON' into '" ) ) + "=> it is so\n";
   EXPECT_THAT( found, testing::HasSubstr( "into '" + file.string() + "'" ) );
   EXPECT_EQ( run( line + "router * => request => the same\n" ).status, 0 ) << line;
}

TEST_F( AcceptedTest, NamesAreWholeOrStartsAndBlanksAndCaseDoNotCount )
{
   EXPECT_EQ(
      run( "router 02:00:a1:00:00:09 => * => another\n* => request => one of two\n" ).status, 1 );
   EXPECT_EQ( run( "router => * => not the whole name\n" ).status, 1 );
   const Outcome held = run(
      "  # why\n \t\n\tROUTER  02:00:A1:* =>main:  Drop UCAST *=> entry\r\n* => request => whole => name\n"
      "* => req* => start\n",
      "no router\ntransient router 02:00:a1:00:00:01\n" );
   EXPECT_EQ( held.status, 0 ) << held.out << held.err;
   EXPECT_THAT( held.out, testing::HasSubstr( "  accepted  entry\n" ) );
   EXPECT_THAT( held.out, testing::HasSubstr( "  accepted  whole => name\n" ) );
}

TEST_F( AcceptedTest, LinesThatAcceptNothingInTheWholeRunAreTold )
{
   const std::string again = "no router\nexpect hitless router 02:00:a1:00:00:01\n"
                             "expect hitless set pbr.pbrEnabled true\n";
   const std::string lines = "router 02:00:a1:00:00:01 => * => prescribed\n"
                             "router 02:00:a1:00:00:01 => vlan flood => none\n"
                             "set pbr.pbrEnabled false => * => no such command\n";
   const Outcome all = run( lines, again );
   EXPECT_EQ( all.status, 0 );
   EXPECT_THAT(
      all.out, testing::ContainsRegex( ":2:[ \n]this[ \n]line[ \n]accepts[ \n]nothing" ) );
   EXPECT_EQ( all.out.find( "accepts" ), all.out.rfind( "accepts" ) ) << all.out;
   EXPECT_THAT( run( "router 02:00:a1:00:00:01 => request => at first\n* => * => all\n",
                   "no router\nset pbr.pbrEnabled false\nrouter 02:00:a1:00:00:01\n" + again )
                   .out,
      testing::Not( testing::HasSubstr( "nothing" ) ) );
}

TEST_F( AcceptedTest, FilesThatCannotBeUsedAreRefusedOnce )
{
   for( const std::string bad :
      { "* => request", " => * => no command", "* => => no packet", "* => * =>" } ) {
      const Outcome unclear = run( "# why\n\n" + bad + "\n" );
      EXPECT_EQ( unclear.status, 2 ) << bad;
      EXPECT_THAT( unclear.err,
         testing::HasSubstr( ".transients:3:1: a line is 'COMMAND => PACKET => REASON'" ) );
   }
   const Outcome checked = runText( text + "no router\n", { "--check" } );
   EXPECT_THAT( checked.out + checked.err, testing::HasSubstr( "1 line cannot be run" ) );
   std::filesystem::remove( file );
   std::filesystem::create_directory( file );
   EXPECT_THAT(
      runText( text ).err, testing::ContainsRegex( ":6:1: cannot read .*: it is a directory" ) );
}

TEST( Transient, IsOfAnEntryOfARangeAndUnit )
{
   NEEDS_SOLVER();
   const std::string start =
      "switch hsdk units 2 ports 4\ninterface Ethernet1-4 unit 0 port 1\nvlan 10 svi\nbring-up\n";
   const std::string shown = runText( start + "transient router 02:00:a1:00:00:01\n" ).out;
   for( const std::string unit : { "0", "1" } )
      EXPECT_THAT( shown, testing::HasSubstr( "main of unit " + unit + ": drop ucast arp" ) );
   const std::string json = runText( start + "transient router 02:00:a1:00:00:01 --json\n" ).out;
   EXPECT_THAT( runText( start + "transient restart warm --json\n" ).out,
      testing::ContainsRegex( "--json\n\\[\\]\n" ) );
   EXPECT_THAT( json, testing::HasSubstr( R"("range": "main")" ) );
   EXPECT_THAT( json, testing::HasSubstr( R"("unit": 1)" ) );
}

TEST( Transient, OfACommandThatDoesNotGetThroughIsRefusedInOneLine )
{
   const std::string start = "switch hsdk ports 4\nprobe a in port 1 dmac 02:00:00:00:00:02 ipv4\n";
   const std::string dies =
      runText( start + "fault bcm_switch_control_set code BCM_E_FAIL\ntransient bring-up\n" ).err;
   EXPECT_THAT(
      dies, testing::ContainsRegex(
               ":4:1: the command would die: routing/chip/.*API ERROR:Operation failed" ) );
   EXPECT_EQ( std::ranges::count( dies, '\n' ), 3 ) << dies;
   EXPECT_THAT( runText( start + "transient set miscConfig.syslogTimeout -5\n" ).err,
      testing::HasSubstr( ":3:40: syslogTimeout must be " ) );
   EXPECT_THAT( runText( start + "transient include another.scenario\n" ).err,
      testing::HasSubstr( "'include' is not such a command, but the lines of its file may be" ) );
}

TEST( Transient, TellsWhatBecomesOfThePacketWithTheNamesOfThen )
{
   const std::string start =
      "switch hsdk ports 4\ninterface Ethernet1-4 unit 0 port 1\nvlan 10 svi members Ethernet1-4\n"
      "router 02:00:a1:00:00:01\nbring-up\nroute 10.0.0.2/32 via cpu\n"
      "probe routed in port 1 dmac 02:00:a1:00:00:01 vlan 10 ipv4 dst 10.0.0.2\n"
      "route 10.0.0.3/32 via flood mac 02:00:00:00:00:03 vlan 10\n"
      "probe flooded in port 1 dmac 02:00:a1:00:00:01 vlan 10 ipv4 dst 10.0.0.3\n";
   const std::string reset = runText( start + "transient restart cold\n" ).out;
   const std::string routed = reset.substr( reset.find( "\nrouted\n" ) );
   EXPECT_THAT( routed, testing::HasSubstr( "from    the chips are reset (record " ) );
   EXPECT_THAT( routed, testing::HasSubstr( "after   CPU queue 0: main 1034 \"NextHop to Cpu\"" ) );
   EXPECT_THAT( runText( start + "transient no interface Ethernet2-4\n" ).out,
      testing::ContainsRegex( "\nflooded\n.*\n  before  Ethernet1-4\n" ) );
}

TEST_F( PacketTest, APacketIsWatchedInTheVlanThatItsRowsMake )
{
   bringUp( "hsdk" );
   const std::string packet = "in Ethernet1 dmac 02:00:00:00:00:55 vlan 77 ipv4";
   const Cover::Trial trial = tryPacket( session, { "vlan 77" }, packet );
   Scene scene = sceneOf( session, { "vlan 77" }, packet );
   EXPECT_EQ( outcome( *trial.verdict ), "E2 E3 E4 E5 E6 E7 E8" );
   EXPECT_TRUE( verdictIn( session, scene ) == *trial.verdict );
   EXPECT_FALSE( chip().vlans().contains( 77 ) );
   run( "vlan 77 members Ethernet1 Ethernet2" );
   EXPECT_EQ( outcome( verdictIn( session, scene ) ), "E2" ) << "of the switch";
   EXPECT_TRUE( chip().vlans().contains( 77 ) );
}

} // namespace
} // namespace Strata::Tool
