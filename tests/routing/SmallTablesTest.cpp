#include "tests/routing/Fixture.h"

#include <cstdlib>

namespace Strata {
namespace {

class SmallTablesTest : public SwitchTest
{
 protected:
   void enableRouting()
   {
      Vormel::assertionHookIs( nullptr );
      helper().handleRouting( true, false );
   }
};

// Each in a separate process, because the variable is read only once.
TEST_F( SmallTablesTest, TheVariableEndsTheAgentBeforeItTurnsRoutingOnEvenIfEmpty )
{
   GTEST_FLAG_SET( death_test_style, "threadsafe" );
   EXPECT_DEATH(
      {
         make( "hsdk" );
         transcript().listenerIs( []( const Sim::Record& record ) {
            if( record.kind == Sim::RecordKind::call )
               _Exit( 0 );
         } );
         setenv( "STRATA_SMALLTABLES_ENABLE", "", 1 );
         enableRouting();
      },
      "Assertion '0 && \"programming L3 table using the SDK is deprecated\"' failed" );
}

TEST_F( SmallTablesTest, TheVariableIsReadOnce )
{
   GTEST_FLAG_SET( death_test_style, "threadsafe" );
   EXPECT_EXIT(
      {
         make( "hsdk" );
         enableRouting();
         helper().handleRouting( false, false );
         setenv( "STRATA_SMALLTABLES_ENABLE", "1", 1 );
         helper().handleRouting( true, true );
         _Exit( helper().routing6Enabled() ? 0 : 1 );
      },
      testing::ExitedWithCode( 0 ), "" );
}

} // namespace
} // namespace Strata
