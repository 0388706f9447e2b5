// Plans in files: they are done where they were made, as they were made, and nowhere else.
#include "tool/SavedPlan.h"
#include "tests/tool/CommandLine.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

namespace Strata::Tool {
namespace {

using testing::HasSubstr;

constexpr const char* aSwitch = "switch hsdk ports 4\nrouter 02:00:a1:00:00:01\nbring-up\n"
                                "interface Ethernet1-4 unit 0 port 1\nmark\n";

class SavedPlanTest : public testing::Test
{
 protected:
   SavedPlanTest() { std::filesystem::remove( file_ ); }

   /// What it shows, and what it is refused with.
   static std::string did( const std::string& commands )
   {
      const Outcome outcome = runText( aSwitch + commands + "\n", { "--quiet" } );
      EXPECT_NE( outcome.status, 3 ) << outcome.err;
      return outcome.out + outcome.err;
   }
   void save( const std::string& command )
   {
      EXPECT_THAT(
         did( "plan save " + file_ + " " + command ), testing::Not( HasSubstr( "cannot write" ) ) );
   }
   /// Saves it again with another text in it.
   void change( const std::string& from, const std::string& to ) const
   {
      std::string text = contentsOf( file_ );
      const std::size_t at = text.find( from );
      ASSERT_NE( at, text.npos ) << from;
      std::ofstream( file_ ) << text.replace( at, from.size(), to );
   }

   const std::string file_ =
      testing::TempDir() + testing::UnitTest::GetInstance()->current_test_info()->name() + ".plan";
};

TEST_F( SavedPlanTest, IsDoneOnAnotherRunOfTheSameSwitch )
{
   const std::string part = testing::TempDir() + "saved-plan-part.scenario";
   std::ofstream( part ) << "# two lines\ncall handleTcamEntryMplsTrafficDrop false\n\n"
                            "set virtualRouterMacAddr 02:00:a1:00:00:99\n";
   save( "include " + part );
   std::filesystem::remove( part );
   EXPECT_EQ( did( "apply " + file_ +
                   "\nexpect entry \"mpls traffic drop\" absent\n"
                   "expect attribute virtualRouterMacAddr 02:00:a1:00:00:99" ),
      "" );
   EXPECT_THAT( did( "plan apply " + file_ ), HasSubstr( "mpls traffic drop" ) );
   EXPECT_EQ( did( "plan apply " + file_ + " | count\nexpect changes none" ).find( "xpected" ),
      std::string::npos );
}

TEST_F( SavedPlanTest, NamesWhatHasDrifted )
{
   save( "call handleTcamEntryMplsTrafficDrop false" );
   const std::string drifted = did( "poke my-station 34 MAC_ADDRf 02:00:00:00:00:0b\n"
                                    "unit 0 room main 40\napply " +
                                    file_ );
   EXPECT_THAT( drifted, HasSubstr( "unit 0 my-station 34: is new" ) );
   EXPECT_THAT( drifted, HasSubstr( "unit 0 room of main: room was 53, is 40" ) );
   EXPECT_EQ( did( "no router\nexpect error \"gone; and \" apply " + file_ +
                   "\nexpect entry \"mpls traffic drop\" installed" ),
      "" );
}

TEST_F( SavedPlanTest, IsRefusedIfItWouldBeDoneOtherwise )
{
   save( "call handleTcamEntryMplsTrafficDrop true" );
   EXPECT_EQ( did( "fault bcm_field_action_add\nexpect error \"it does not get through here: it "
                   "would die: \" apply " +
                   file_ + "\nexpect no calls" ),
      "" );
   change( "action Drop", "action CopyToCpu" );
   EXPECT_EQ( did( "expect error \"number 6 is 'bcm_field_action_add( unit 0, entry 1035, action "
                   "Drop\" apply " +
                   file_ + "\nexpect no calls" ),
      "" );
   save( "note x" );
   change( "\"calls\": []", "\"calls\": [ \"more\" ]" );
   EXPECT_THAT( did( "apply " + file_ ), HasSubstr( "'none', and 'more' was planned" ) );
   change( "note x", "expect no calls now" );
   EXPECT_THAT( did( "apply " + file_ ), HasSubstr( file_ + ":1: nothing is expected here" ) );
}

TEST_F( SavedPlanTest, ReplacesAndReadsNothingElse )
{
   const std::string other = testing::TempDir() + "saved-plan-other.txt";
   for( const std::string text :
      { "a text\n", "{}", "[ 1 ]", "{ \"file\": \"strata-l3 plan\" }",
         R"({ "file": "strata-l3 plan", "version": 2 })",
         R"({ "file": "strata-l3 plan", "version": 1, "commands": [ 1 ], "calls": [], "state": [] })",
         R"({ "file": "strata-l3 plan", "version": 1, "commands": [], "calls": [],
                "state": [ { "title": "", "text": "", "fields": [], "kind": "no" } ] })" } ) {
      std::ofstream( other ) << text;
      EXPECT_THAT( did( "apply " + other ), HasSubstr( "is not a saved plan: " ) ) << text;
      EXPECT_THAT(
         did( "plan save " + other + " note x" ), HasSubstr( "give the plan another name" ) );
      EXPECT_EQ( contentsOf( other ), text );
   }
   EXPECT_THAT( did( "apply " + other + ".not" ), HasSubstr( ".not': No such file" ) );
   EXPECT_THAT( did( "apply " + testing::TempDir() ), HasSubstr( "': it is not a regular file" ) );
   EXPECT_THAT( did( "plan save /no/such/x.plan note x" ), HasSubstr( "No such file" ) );
   save( "note first" );
   save( "note second" );
   EXPECT_THAT( contentsOf( file_ ), HasSubstr( "note second" ) );
   EXPECT_THAT(
      did( "unit 0 room main 30\nplan save " + file_ + " call handleTcamEntryMplsTrafficDrop x" ),
      HasSubstr( "true or false" ) );
   EXPECT_THAT(
      did( "plan save " + file_ + " include none.scenario" ), HasSubstr( "is not saved" ) );
   EXPECT_THAT( contentsOf( file_ ), HasSubstr( "note second" ) );
   std::ofstream( other ) << "";
   const std::string copy =
      scenarioFile( std::string( aSwitch ) + "plan save " + other + " note x\n" );
   EXPECT_EQ( runLine( { "run", "--check", copy.c_str() } ).status, 0 );
   EXPECT_EQ( contentsOf( other ), "" ) << "a check writes no file";
}

} // namespace
} // namespace Strata::Tool
