// Every hardware call of the slice fails once: the agent ends with one line about it, and makes no call after it.
#include "tests/routing/Fixture.h"

#include "platform/runtime/Trace.h"
#include "sim/sdk/SdkCodes.h"
#include "tests/sim/EveryProfile.h"

#include <functional>
#include <gmock/gmock.h>
#include <iterator>
#include <regex>
#include <set>

namespace Strata {
namespace {

using Sim::Fault;
using Sim::RecordKind;
using Sim::SdkCode;

void bringUp( Tool::Agent& agent )
{
   RoutingStatusHelper& helper = *agent.helper();
   helper.init( true, true );
   helper.l3Init( true );
   helper.doWriteIngConfig();
   helper.doNotCopyPacketFromCpuToCpu();
}

// Runs the operations that a bring-up does not run, each in a state in which it makes calls.
void everythingElse( Tool::Agent& agent )
{
   RoutingStatusHelper& helper = *agent.helper();
   Sim::SimSwitch& hardware = agent.hardware();
   const EthAddr mac = *EthAddr::parse( "02:00:a1:00:00:01" );
   helper.routerMacAddrIs( mac );
   helper.virtualRouterMacAddrIs( *EthAddr::parse( "02:00:a1:00:00:99" ) );
   helper.handleRouting( true, true );
   helper.handleVlanRoutingState( 10, { true, false, true } );
   helper.handleIpAddressState( 10, true, false );
   helper.enableVlanRouting( 10, true );
   helper.handlePerVlanRouting( true );
   helper.handleIpAddressState( 10, false, false );
   helper.handleMplsRouting( true );
   helper.addMyStationTcamEntry( 0, 1, mac, true, 10, false, true, true );
   helper.verifyMyStationTcamEntry( 0, 1, true, mac, true, 10, false, true, true );
   hardware.mlagHwStatus()->peerMacRoutingSupportedIs( true );
   helper.handlePeerMacRouting( mac, true );
   helper.handlePeerMacRouting( mac, false );
   helper.doUrpfHwInitStage1( true );
   helper.handleTcamEntryVlanFloodDrop( 3, true );
   helper.programDualHash( SwitchControl::HashL2Dual, true );
   helper.programDualHash( SwitchControl::HashL3Dual, true );
   helper.programL2TrafficRouting( true );
   hardware.addInterface( IntfId( "Ethernet1" ), 0, 1 );
   helper.programSwitchCtrlPortSet( IntfId( "Ethernet1" ) );
   helper.updateVlanFloodTcamEntriesOnSpeedChange( IntfId( "Ethernet1" ), true );
   helper.handlePeerMacArpRedirect( mac, IntfId( "Ethernet1" ), true );
   helper.handleMplsRouting( false );
   helper.handleRouting( false, false );
   helper.routerMacAddrIs( EthAddr() );
   helper.handleTcamEntryL2ToCpu();
   helper.init( false, true );
}

class FaultSweep : public SwitchTest
{
 protected:
   Tool::Agent& fresh( std::string_view profile, bool up )
   {
      Tool::Agent& made = make( std::string( profile ) );
      made.hardware().vlanIs( 10 );
      for( const U32 unit : made.hardware().units() )
         made.hardware().hasIpOptionsProfileIs( unit, true );
      // A unit that traps TTL exceptions has the ARP-reply entries.
      made.hardware().chip( 1 ).trapsTtlExceptionsIs( true );
      made.hardware().scsd()->vxlanEnabledIs( true );
      if( up )
         bringUp( made );
      return made;
   }
};

TEST_F( FaultSweep, CallsEveryOperationOnAtLeastOneProfile )
{
   std::set<std::string_view> never(
      roleNames<SdkOperation>.begin(), roleNames<SdkOperation>.end() );
   for( const std::string_view profile : Sim::chipProfileNames() ) {
      everythingElse( fresh( profile, true ) );
      for( const SdkOperation operation : Vormel::enumValues<SdkOperation>() )
         if( agent->hardware().shim().calls( operation ) != 0 )
            never.erase( roleName( operation ) );
   }
   EXPECT_THAT( never, testing::IsEmpty() );
}

class FaultSweepTest : public FaultSweep, public testing::WithParamInterface<std::string_view>
{
 protected:
   using Run = std::function<void( Tool::Agent& )>;

   Tool::Agent& fresh( bool up ) { return FaultSweep::fresh( GetParam(), up ); }

   struct Ending
   {
      bool died = false;
      std::string assertion;
      std::string errors; // standard error
   };

   Ending endingOf( const Run& run )
   {
      Ending ending;
      testing::internal::CaptureStderr();
      try {
         run( *agent );
      } catch( const Died& died ) {
         ending.died = true;
         ending.assertion = died.text;
      }
      ending.errors = testing::internal::GetCapturedStderr();
      return ending;
   }

   std::string callText( U64 wanted )
   {
      U64 n = 0;
      for( const Sim::Record& record : transcript().records() )
         if( record.kind == RecordKind::call && ++n == wanted )
            return record.text;
      return {};
   }

   U64 callsOf( bool up, const Run& run )
   {
      fresh( up );
      const U64 before = transcript().count( RecordKind::call );
      run( *agent );
      return transcript().count( RecordKind::call ) - before;
   }

   std::set<U32> fieldLocks()
   {
      std::set<U32> held;
      for( const U32 unit : agent->hardware().units() )
         if( agent->hardware().chip( unit ).fieldLocked )
            held.insert( unit );
      return held;
   }

   /// Expects that the agent can continue after an exception: the activity lock is held again, and no phase of init is
   /// set.
   void expectSettled()
   {
      EXPECT_TRUE( Vormel::activityLock().heldByThisThread() );
      EXPECT_FALSE( helper().l3Initializing() || helper().l3CleaningUp() );
   }

   void throwAtEachCall( bool up, const Run& run )
   {
      for( U64 n = 1;; ++n ) {
         SCOPED_TRACE( "call " + std::to_string( n ) );
         fresh( up );
         agent->hardware().faults().inject( { .nth = n, .kind = Sim::FaultKind::throws } );
         std::string thrown;
         try {
            run( *agent );
         } catch( const Sim::InjectedException& exception ) {
            thrown = exception.what();
         }
         if( !agent->hardware().faults().armed().empty() )
            return; // there are fewer calls
         expectSettled();
         const bool ofUnlock = thrown.find( "bcm_field_unlock" ) != std::string::npos;
         EXPECT_EQ( fieldLocks().size(), ofUnlock ? 1u : 0u ) << thrown;
      }
   }

   void failEachCall( bool up, const Run& run )
   {
      const U64 calls = callsOf( up, run );
      ASSERT_GT( calls, 10u );
      for( U64 n = 1; n <= calls; ++n ) {
         SCOPED_TRACE( "call " + std::to_string( n ) + " of " + std::to_string( calls ) );
         fresh( up );
         const U64 before = transcript().count( RecordKind::call );
         agent->hardware().faults().inject( { .nth = n, .code = SdkCode::Fail } );
         const Ending ending = endingOf( run );
         EXPECT_EQ( ending.assertion, "0" );
         // If the unit's FP lock is held, it is dropped, which is one more call.
         const U64 made = transcript().count( RecordKind::call ) - before;
         if( made == n + 1 ) {
            EXPECT_THAT( callText( before + made ), testing::StartsWith( "bcm_field_unlock" ) );
         } else {
            EXPECT_EQ( made, n );
         }
         if( !callText( before + n ).starts_with( "bcm_field_unlock" ) ) {
            EXPECT_THAT( fieldLocks(), testing::IsEmpty() );
         }
         expectSettled();
         EXPECT_EQ( transcript().count( RecordKind::error ), 1u );
         static const std::regex report(
            "routing/[A-Za-z0-9/]+\\.cpp:[0-9]+ (static )?[^\n]+ API ERROR:[^\n]+ \\(-[0-9]+\\)\n"
            "routing/tcam/CheckedCall\\.cpp:[0-9]+: [^\n]+: Assertion '0' failed\\.\n" );
         EXPECT_TRUE( std::regex_match( ending.errors, report ) ) << ending.errors;
      }
   }
};

TEST_P( FaultSweepTest, EachCallOfTheBringUpIsFatalAndTheLast )
{
   failEachCall( false, bringUp );
}

TEST_P( FaultSweepTest, EachCallOfTheOtherOperationsIsFatalAndTheLast )
{
   failEachCall( true, everythingElse );
}

TEST_P( FaultSweepTest, AnExceptionAtAnyCallLeavesNoLockHeldAndNoPhaseSet )
{
   throwAtEachCall( false, bringUp );
   throwAtEachCall( true, everythingElse );
}

TEST_P( FaultSweepTest, AFeatureThatTheChipLacksIsTolerated )
{
   const U64 calls = callsOf( false, bringUp );
   for( U64 n = 1; n <= calls; ++n ) {
      SCOPED_TRACE( "call " + std::to_string( n ) );
      fresh( false );
      agent->hardware().critic().collect();
      agent->hardware().faults().inject( { .nth = n, .code = SdkCode::Unavail } );
      const Ending ending = endingOf( bringUp );
      std::set<std::string> breaches;
      for( const Sim::Breach& breach : agent->hardware().critic().breaches() )
         breaches.insert( breach.call + ": " + breach.what );
      // A lock whose drop is not available remains held, so it cannot be taken the next time.
      if( callText( n ).starts_with( "bcm_field_unlock" ) ) {
         EXPECT_THAT( breaches,
            testing::IsSubsetOf( { "bcm_field_lock: the unit's FP lock is held already" } ) );
         continue;
      }
      EXPECT_EQ( ending.errors.find( "API ERROR" ), std::string::npos );
      // An entry that is left without an action cannot be installed; every other fault is tolerated.
      if( ending.died ) {
         EXPECT_THAT( callText( n ), testing::StartsWith( "bcm_field_action_" ) );
         EXPECT_THAT(
            breaches, testing::IsSubsetOf( { "installEntry: the entry has no action" } ) );
      } else {
         EXPECT_THAT( breaches, testing::IsEmpty() );
      }
   }
}

TEST_P( FaultSweepTest, AFailingManagerEndsTheAgentByItsAssertionAlone )
{
   const bool acl = fresh( false ).hardware().tcamManager()->supportsAclGroup();
   const Run everything = []( Tool::Agent& of ) {
      bringUp( of );
      everythingElse( of );
   };
   Vormel::traceLevelsIs( "StrataRoutingStatus=1" );
   for( const std::string call : { "installEntry", "reinstallEntry", "enableEntry",
           "addOutLoopbackPortForEntry", acl ? "qualifyPortsClassId" : "addInPortsForEntry" } ) {
      fresh( false );
      everything( *agent );
      const std::string made = texts( RecordKind::entry );
      const std::regex name( " " + call + " " );
      const auto calls = std::distance(
         std::sregex_iterator( made.begin(), made.end(), name ), std::sregex_iterator() );
      EXPECT_GE( calls, call == "installEntry" ? 5 : 0 );
      for( int n = 1; n <= calls; ++n ) {
         fresh( false );
         agent->hardware().faults().inject(
            { .call = call, .nth = static_cast<U64>( n ), .code = SdkCode::Full } );
         const Ending ending = endingOf( everything );
         ASSERT_EQ( ending.assertion, "rc == BCM_E_NONE && \"" + call + " failed\"" ) << n;
         EXPECT_EQ( ending.errors.find( "API ERROR" ), std::string::npos );
         // The trace before the assertion has what the assertion lacks.
         std::smatch last;
         const std::string entries = texts( RecordKind::entry );
         const std::regex lastOne( " unit ([0-9]+) id ([0-9]+)[^\n]*\n$" );
         ASSERT_TRUE( std::regex_search( entries, last, lastOne ) ) << entries;
         EXPECT_THAT( texts( RecordKind::trace ),
            testing::ContainsRegex( " " + call + " failed, entry: " + last.str( 2 ) +
                                    "(, name: [^\n]*)?, unit: " + last.str( 1 ) + ", rc: -" ) );
      }
   }
   Vormel::traceLevelsIs( "StrataRoutingStatus=off" );
}

INSTANTIATE_TEST_SUITE_P( Profiles, FaultSweepTest, everyProfile(), profileSuffix );

} // namespace
} // namespace Strata
