// The kit accepts correct ports, restores their state, and describes broken promises clearly.
#include "tests/conformance/Examined.h"
#include "tests/conformance/ForwardingManager.h"
#include "tests/sim/EveryProfile.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string_view>
#include <vector>

namespace Strata::Conformance {

using testing::HasSubstr;
using testing::IsEmpty;

class EveryProfile : public testing::TestWithParam<std::string_view>
{
};

TEST_P( EveryProfile, ConformsAndItsStateIsRestored )
{
   Switch it{ std::string( GetParam() ) };
   Sim::Chip& chip = it.hardware.chip( 4 );
   chip.vlan( 1 )->flags = { VlanFlag::vlanIp4RoutingOff };
   const auto state = [ & ] {
      const Sim::ChipVlan& vlan = chip.vlans().at( 1 );
      std::vector<U64> all{ vlan.otherFlags, vlan.flags.size(), vlan.members.count(),
         vlan.untagged.count(), chip.ipOptionsProfiles().size() };
      for( const Register reg :
         { Register::CpuControlM, Register::IngConfig64, Register::IngMiscConfig } )
         all.push_back( chip.registerValue( reg ) );
      for( const Sim::FieldGroup& group : chip.groups() )
         all.push_back( group.entries().size() + group.room() - group.roomLeft() );
      MemoryEntry entry;
      chip.myStation().read( *it.port.myStationIndex, entry );
      all.insert( all.end(), entry.words.begin(), entry.words.end() );
      return all;
   };
   const auto before = state();
   const Report report = examine( it.port );
   EXPECT_TRUE( report.conforms() ) << report.text( false );
   EXPECT_EQ( state(), before );
   EXPECT_EQ( chip.control( SwitchControl::L3EgressMode ), 0 );
}

TEST_P( EveryProfile, WithoutProvokeNoWrongCallIsMade )
{
   Switch it{ std::string( GetParam() ) };
   it.port.provoke = false;
   const Report report = examine( it.port );
   EXPECT_TRUE( report.conforms() ) << report.text( false );
   std::string breaches;
   for( const Sim::Breach& breach : it.hardware.critic().breaches() )
      breaches += breach.text() + '\n';
   EXPECT_THAT( breaches, IsEmpty() );
   EXPECT_EQ( report.verdict( Promise::otherNameRefused ), Verdict::notTried );
   EXPECT_EQ( report.verdict( Promise::pairRule ), Verdict::kept );
}

INSTANTIATE_TEST_SUITE_P( Conformance, EveryProfile, everyProfile(), profileSuffix );

TEST( ConformanceTest, EveryPromiseIsKeptByOneOfTwoProfiles )
{
   constexpr auto promises = Vormel::enumValues<Promise>();
   std::set<Promise> untried( promises.begin(), promises.end() );
   for( const char* const profile : { "register", "acl" } ) {
      Switch it( profile );
      const Report report = examine( it.port );
      std::erase_if(
         untried, [ & ]( Promise promise ) { return report.verdict( promise ) == Verdict::kept; } );
   }
   EXPECT_THAT( untried, IsEmpty() );
}

TEST( ConformanceTest, WithoutHooksReturnCodesDoNotProvePromises )
{
   /// Accepts every call and does nothing.
   struct Lazy : ForwardingManager
   {
      using ForwardingManager::ForwardingManager;
      int installEntry( U32, U32 ) override { return 0; }
      int reinstallEntry( U32, U32 ) override { return 0; }
      int enableEntry( U32, U32, bool, int ) override { return 0; }
      void removeEntry( U32, U32 ) override {}
   };
   Switch it;
   it.port.provoke = false;
   it.port.ranges.resize( 1 );
   it.port.ranges.front().manager = Vormel::make<Lazy>( it.port.ranges.front().manager );
   it.port.installedEntry = nullptr;
   it.port.hitEntry = nullptr;
   it.port.fieldLocked = nullptr;
   it.port.switchControlValue = nullptr;
   it.port.portControlValue = nullptr;
   it.port.vlanMembers = nullptr;
   const Report report = examine( it.port );
   EXPECT_TRUE( report.conforms() ) << report.text( false );
   for( const Promise promise :
      { Promise::installWrites, Promise::installEnables, Promise::reinstallKeepsEnableState,
         Promise::enableSucceeds, Promise::hitsSurviveInstall, Promise::removeKeepsDefinition,
         Promise::releaseForgets, Promise::portSetsReplace, Promise::reclaimKeepsActions,
         Promise::repeatedActionReplaces, Promise::removeAllEmpties, Promise::fieldLockPairs,
         Promise::controlsAccepted, Promise::portControlsAccepted, Promise::vlanCpuPort } ) {
      EXPECT_EQ( report.verdict( promise ), Verdict::notTried ) << Vormel::enumName( promise );
      EXPECT_THAT( report.whyNotTried( promise ), HasSubstr( "needs the hook" ) )
         << Vormel::enumName( promise );
   }
   EXPECT_EQ( report.verdict( Promise::installSucceeds ), Verdict::kept );
}

TEST( ConformanceTest, ARecordWithoutForeignSettingsDoesNotProveThatTheyAreKept )
{
   Switch it;
   for( const U32 unit : { 0u, 4u } ) {
      Sim::ChipVlan& vlan = *it.hardware.chip( unit ).vlan( 1 );
      vlan.otherFlags = 0;
      vlan.rest = {};
   }
   const Report report = examine( it.port );
   EXPECT_TRUE( report.conforms() ) << report.text( false );
   EXPECT_EQ( report.verdict( Promise::vlanForeignKept ), Verdict::notTried );
   EXPECT_THAT(
      report.text(), HasSubstr( "(the record of VLAN 1 on unit 4 has nothing foreign)" ) );
}

TEST( ConformanceTest, AFindingNamesPromiseManagerAndCall )
{
   struct Faulty : ForwardingManager
   {
      using ForwardingManager::ForwardingManager;
      int reinstallEntry( U32, U32 ) override { return -11; }
   };
   Switch it;
   auto& manager = it.port.ranges.front().manager;
   manager = Vormel::make<Faulty>( manager );
   const Report report = examine( it.port );
   EXPECT_FALSE( report.conforms() );
   EXPECT_THAT( report.text( false ),
      HasSubstr(
         "BROKEN     reinstallSucceeds: reinstallEntry of an installed entry returns success\n"
         "              main: reinstallEntry( unit 0, id 1001 ) returned -11 (Operation failed), "
         "not success\n" ) );
}

} // namespace Strata::Conformance
