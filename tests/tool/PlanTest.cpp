// Plans: they change nothing, and what they say comes true.
#include "tool/Plan.h"
#include "platform/runtime/Activity.h"
#include "platform/runtime/Snapshot.h"
#include "tests/packet/PacketTest.h"
#include "tool/ScenarioFile.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <iostream>

namespace Strata::Tool {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

/// A value of a chip that differs, in one line.
std::vector<std::string> texts( const std::vector<Desk::Difference>& differences )
{
   std::vector<std::string> all;
   for( const Desk::Difference& row : differences )
      all.push_back( row.part + "|" + std::to_string( row.key.unit ) + "|" + row.field + "|" +
                     row.before.value_or( "-" ) + "|" + row.after.value_or( "-" ) );
   return all;
}

class PlanTest : public testing::TestWithParam<std::string>
{
 protected:
   Desk::SwitchState state() const { return Desk::SwitchState( session_.agent().hardware() ); }

   /// What a plan might touch: the chips, the objects, the transcript, the packets.
   std::string everything()
   {
      Agent& agent = session_.agent();
      std::ostringstream text;
      for( const std::string& name : agent.objectNames() )
         text << Vormel::snapshotJson( *agent.object( name ) );
      text << agent.hardware().transcript().lastNumber() << ' ' << agent.clock().now() << ' '
           << session_.packets().tables().stations.size() << ' '
           << session_.packets().engine().counters().ports.size();
      return text.str();
   }

   Plan planned( const Line& line )
   {
      Words words( line );
      return planOf( session_, line, takeCommand( words ).act( session_, words ) );
   }

   Vormel::LockAnchor lock_{ Vormel::activityLock() };
   std::vector<std::string> calls_;
   std::ostringstream out_;
   Console console_{ out_, out_, {} };
   Session session_{ console_, { .listener = [ this ]( const Session&, const Sim::Record& record ) {
                       if( isCall( record ) )
                          calls_.push_back( record.text );
                    } } };
};

/// Expectations say how the rest is done, and the line of a switch makes everything anew.
bool isPlanned( const Session& session, const Line& line )
{
   if( !session.hasAgent() || line.words.empty() )
      return false;
   Words words( line );
   const std::string_view name = takeCommand( words ).name;
   return !name.starts_with( "expect " ) && name != "switch" && name != "no switch";
}

TEST_P( PlanTest, ComesTrueAndChangesNothing )
{
   ScenarioFile file( GetParam() );
   U32 plans = 0;
   while( const std::optional<Line> line = file.next() ) {
      if( !isPlanned( session_, *line ) ) {
         session_.run( *line );
         continue;
      }
      SCOPED_TRACE( line->text );
      const Desk::SwitchState before = state();
      const std::string all = everything();
      const Plan plan = planned( *line );
      ASSERT_THAT( texts( Desk::differences( before, state() ) ), IsEmpty() );
      ASSERT_EQ( everything(), all );
      calls_.clear();
      session_.run( *line );
      EXPECT_EQ( plan.calls, calls_ );
      EXPECT_EQ( plan.end, "" );
      EXPECT_EQ( texts( plan.changes ), texts( Desk::differences( before, state() ) ) );
      ++plans;
   }
   EXPECT_GT( plans, 0 );
   std::cout << "plans tried: " << plans << "\n";
}

std::vector<std::string> scenarios()
{
   std::vector<std::string> files;
   for( const auto& entry : std::filesystem::directory_iterator( "scenarios" ) )
      if( entry.path().extension() == ".scenario" )
         files.push_back( entry.path().string() );
   std::ranges::sort( files );
   return files;
}

INSTANTIATE_TEST_SUITE_P(
   Scenarios, PlanTest, testing::ValuesIn( scenarios() ), []( const auto& instance ) {
      std::string name = std::filesystem::path( instance.param ).stem();
      std::erase( name, '-' );
      return name;
   } );

class PlanOfNetwork : public PacketTest
{
 protected:
   std::string shown( const std::string& command )
   {
      out.str( {} );
      run( command );
      return out.str();
   }
};

TEST_F( PlanOfNetwork, NamesTheProbesThatChange )
{
   bringUp( "hsdk" );
   run( "probe a in Ethernet1 dmac router ipv4 dst 10.2.0.9\n"
        "probe b in Ethernet1 dmac router ipv4 dst 10.3.0.1\n"
        "probe c in Ethernet1 dmac router ipv4 dst 10.4.0.9" );
   EXPECT_THAT( shown( "plan note x" ), testing::Not( HasSubstr( "Probes" ) ) );
   const std::string other =
      shown( "plan route 10.2.0.0/16 via Ethernet5 mac 00:00:00:00:02:02 vlan 20" );
   EXPECT_THAT( other, HasSubstr( "a             Ethernet4\n                -> Ethernet5\n" ) );
   EXPECT_THAT( other, testing::Not( HasSubstr( "  b  " ) ) );
   EXPECT_THAT( shown( "plan no probe a" ), HasSubstr( "would make 0 calls" ) );
   EXPECT_THAT(
      shown( "plan call handleTcamEntryVlanFlood false" ), HasSubstr( "would make 1 call (" ) );
   EXPECT_THAT( shown( "plan no probe a" ), testing::Not( HasSubstr( "die" ) ) );
   EXPECT_THAT( shown( "plan route 10.2.0.0/16 via Ethernet4 mac 00:00:00:00:02:09 vlan 20" ),
      HasSubstr( "-> Ethernet4, as 02:00:a1:00:00:01 -> 00:00:00:00:02:09" ) );
   EXPECT_THAT( shown( "plan route 10.4.0.0/16 via flood mac 00:00:00:00:04:09 vlan 20" ),
      HasSubstr( "-> Ethernet4-6, as 02:00:a1:00:00:01 -> 00:00:00:00:04:09, IPv4\n"
                 "                10.0.0.1 -> 10.4.0.9 ttl 63, UDP 40000 -> 53\n" ) )
      << "the frames of a flood once";
}

TEST_F( PlanOfNetwork, SaysWhatDoesNotFitAndWhy )
{
   bringUp( "hsdk" );
   const Sim::FieldGroup& main = *chip().group( "main" );
   const std::string room = "unit 0 room main ";
   const std::string change = "plan set miscConfig.unknownMacDropTrafficClass[3] true";
   const U32 used = main.room() - main.roomLeft();
   EXPECT_THAT(
      shown( change ), HasSubstr( std::to_string( mainRangeIds - used - 2 ) + " of 53 left" ) );
   run( room + std::to_string( used + 2 ) );
   EXPECT_THAT( shown( change ), HasSubstr( "0 of " + std::to_string( used + 2 ) + " left" ) );
   run( room + std::to_string( used + 1 ) );
   const std::string lacks = shown( change );
   EXPECT_THAT( lacks, HasSubstr( "does not fit: main needs 2, has 1" ) );
   EXPECT_THAT( lacks, HasSubstr( "it would die: routing/entries/UnknownMacDropEntries.cpp" ) );
   run( room + std::to_string( used + 2 ) + "\nfault bcm_field_action_add" );
   EXPECT_THAT( shown( change ), HasSubstr( "bcm_field_action_add( i.key(), entry, action" ) );
   EXPECT_THAT( shown( "plan include none.scenario" ), HasSubstr( "it would be refused: test:" ) );
}

TEST_F( PlanOfNetwork, RoomIsWhatIsLeftAndWhatFeaturesNeed )
{
   run( "switch hsdk ports 4\nunit 0 room main 14\ninterface Ethernet1 unit 0 port 1" );
   EXPECT_THAT( shown( "show room" ), HasSubstr( "0 used, 14 left of 14" ) );
   EXPECT_THAT( shown( "show room" ), HasSubstr( "  main needs 11\n" ) );
   run( "bring-up" );
   const std::string before = shown( "show room" );
   EXPECT_THAT( before, HasSubstr( "11 used, 3 left of 14" ) );
   EXPECT_THROW( run( "unit 0 room main 10" ), InputError ) << "it holds 11";
   run( "unit 0 room main 64" );
   EXPECT_THAT( shown( "show room" ), HasSubstr( "11 used, 42 left of 53" ) ) << "as it has ids";
   run( "unit 0 room main 11\nunit 0 room main 14" );
   EXPECT_THROW( run( "fault call-number 1" ), InputError ) << "it has been made";
   EXPECT_THAT( before, testing::Not( HasSubstr( "bring-up" ) ) ) << "it is done";
   EXPECT_THAT( before, HasSubstr( "does not fit: main needs 5, has 3" ) );
   EXPECT_THAT( before, HasSubstr( "  main needs 2\n" ) );
   run( "set miscConfig.unknownMacDropTrafficClass[0] true" );
   EXPECT_THAT( shown( "show room" ), HasSubstr( "does not fit: main needs 2, has 1" ) );
}

/// Of the calls of a bring-up without room, the first refused claim counts, and so does room that is given back.
TEST_F( PlanOfNetwork, RoomIsNeededForAMomentToo )
{
   bringUp( "hsdk" );
   run( "set miscConfig.unknownMacDropTrafficClass[3] true" );
   const Sim::FieldGroup& main = *chip().group( "main" );
   const Line line = splitLine( "test", 1, "del miscConfig.unknownMacDropTrafficClass[3]" );
   Words words( line );
   const Act removal = takeCommand( words ).act( session, words );
   const Line again = splitLine( "test", 1, "set miscConfig.unknownMacDropTrafficClass[3] true" );
   Words wordsAgain( again );
   const Act addition = takeCommand( wordsAgain ).act( session, wordsAgain );
   const auto roomOf = [ & ]( const Act& act ) {
      for( const Plan::Room& at : planOf( session, line, act ).rooms )
         if( at.range == "main" )
            return at;
      return Plan::Room();
   };
   const U32 left = mainRangeIds - ( main.room() - main.roomLeft() );
   const Plan::Room gone = roomOf( removal );
   EXPECT_EQ( gone.needs, 0 );
   EXPECT_EQ( gone.leftAfter, left + 2 );
   run( "del miscConfig.unknownMacDropTrafficClass[3]" );
   const Plan::Room meanwhile = roomOf( [ & ]( Session& live ) {
      addition( live );
      removal( live );
   } );
   EXPECT_EQ( meanwhile.needs, 2 );
   EXPECT_EQ( meanwhile.leftAfter, left + 2 );
}

TEST_F( PlanOfNetwork, NamesThePacketsForEntriesThatChange )
{
   bringUp( "hsdk" );
   EXPECT_THAT( shown( "plan openflow Ethernet1" ), testing::Not( HasSubstr( "Packet for" ) ) );
   if( !Cover::Solver::available() ) {
      EXPECT_THROW( run( "plan -v openflow Ethernet1" ), InputError );
      return;
   }
   EXPECT_THAT( shown( "plan -v note x" ), testing::Not( HasSubstr( "Packet for" ) ) );
   const std::string gone = shown( "plan -v no router" );
   EXPECT_THAT( gone, HasSubstr( "Packet for main: drop ucast arp" ) ) << "found before it";
   run( "no router" );
   const std::string made = shown( "plan -v router 02:00:a1:00:00:01" );
   EXPECT_THAT( made, HasSubstr( "Packet for main: drop ucast arp" ) ) << "after it";
}

TEST_F( PlanOfNetwork, ExplainsWhatACommandWouldChange )
{
   bringUp( "hsdk" );
   const std::string packet = "explain in Ethernet1 dmac router ipv4 dst 10.2.0.9 after ";
   const U32 used = chip().group( "main" )->roomLeft();
   const std::string other =
      shown( packet + "route 10.2.0.0/16 via Ethernet5 mac 00:00:00:00:02:02 vlan 20" );
   EXPECT_THAT( other, HasSubstr( "leaves  Ethernet4: " ) );
   EXPECT_THAT( other, HasSubstr( "\n          -> Ethernet5: " ) );
   EXPECT_THAT( other, testing::Not( HasSubstr( "my-station" ) ) ) << "which is the same";
   const std::string bridged = shown( packet + "no router" );
   EXPECT_THAT( bridged, HasSubstr( "my-station" ) );
   EXPECT_LT( bridged.find( "\n  MAC " ), bridged.find( "\n  leaves " ) ) << "as in 'explain'";
   EXPECT_THAT( shown( packet + "note x" ), HasSubstr( "Nothing differs." ) );
   EXPECT_THAT( shown( packet + "note x --json" ), HasSubstr( "[]" ) );
   EXPECT_EQ( chip().group( "main" )->roomLeft(), used );
   for( const std::string wrong : { "no switch", "include none.scenario" } )
      EXPECT_THROW( run( packet + wrong ), InputError ) << wrong;
   run( "probe hex in Ethernet1 hex 020000000001020000000002 88b5" );
   EXPECT_THAT( shown( "explain probe hex after note x" ), HasSubstr( "Nothing differs." ) );
   EXPECT_THAT( shown( "explain in Ethernet1 hex 020000000001 020000000002 88b5 after note x" ),
      HasSubstr( "Nothing differs." ) );
}

} // namespace
} // namespace Strata::Tool
