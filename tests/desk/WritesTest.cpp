// What the transcript says of each call, whether it changed the chips, beside their state before and behind it.
#include "desk/SwitchState.h"
#include "platform/runtime/Activity.h"
#include "tests/tool/CommandLine.h"
#include "tool/ScenarioFile.h"
#include "tool/Session.h"

#include <gmock/gmock.h>

namespace Strata::Tool {
namespace {

using testing::HasSubstr;

class WritesTest : public testing::TestWithParam<const char*>
{
 protected:
   /// Of a switch, if there is one.
   Desk::SwitchState state() const
   {
      return session_.hasAgent() ? Desk::SwitchState( session_.agent().hardware() )
                                 : Desk::SwitchState();
   }

   void judge( const Sim::Record& record )
   {
      Desk::SwitchState now = state();
      const bool changed = !Desk::differences( before_, now ).empty();
      before_ = std::move( now );
      const std::string effect = record.field( "write" );
      if( record.field( "call" ) == "getEntry" )
         return; // it claims an entry and its room, and writes nothing
      EXPECT_EQ( effect == "changed", changed ) << record.line();
      writes_ += effect.empty() ? 0 : 1;
   }

   Vormel::LockAnchor lock_{ Vormel::activityLock() };
   std::ostringstream out_;
   Console console_{ out_, out_, {} };
   Session session_{ console_,
      { .listener = [ this ]( const Session&, const Sim::Record& record ) { judge( record ); } } };
   Desk::SwitchState before_;
   U32 writes_ = 0;
};

TEST_P( WritesTest, AreRedundantIfTheChipsStayAsTheyWere )
{
   ScenarioFile file( std::string( "scenarios/" ) + GetParam() + ".scenario" );
   while( const std::optional<Line> line = file.next() ) {
      before_ = state();
      session_.run( *line );
   }
   EXPECT_GT( writes_, 0 );
}

INSTANTIATE_TEST_SUITE_P( Scenarios, WritesTest,
   testing::Values( "bring-up-register", "bring-up-steps", "disable", "flood-reprogramming",
      "features", "my-station", "removal", "urpf", "vlan-routing" ) );

TEST( Writes, AreShownAndExpected )
{
   const Outcome outcome = runText( "switch hsdk\nbring-up\nmark\n"
                                    "call handleTcamEntryMplsTrafficDrop true\n"
                                    "call handleTcamEntryMplsTrafficDrop false\n"
                                    "call handleTcamEntryMplsTrafficDrop true\nshow writes\n"
                                    "fault bcm_switch_control_set code BCM_E_UNAVAIL\n"
                                    "call handleRouting true false\n"
                                    "expect writes redundant 3\nexpect writes redundant none\n" );
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_THAT( outcome.out, HasSubstr( "since the last mark: 3, of which 1 redundant" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "2          1  main 1035 \"mpls traffic drop\"" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "held    expect writes redundant 3" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "found     3; 'show writes' lists them" ) );
}

} // namespace
} // namespace Strata::Tool
