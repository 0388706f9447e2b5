// The kit passes what is right, and names each promise that a port breaks: one fault at a time, in front of a
// simulated chip that is right.
#include "conformance/sim/SimPort.h"
#include "platform/sdk/ForwardingShim.h"
#include "tests/conformance/ForwardingManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Conformance {

using testing::HasSubstr;
using testing::IsEmpty;

struct Switch
{
   explicit Switch( const std::string& profile = "register" )
      : hardware( { .profile = profile, .units = { 0, 4 }, .ports = 4, .seed = 7 } )
   {
      hardware.critic().collect();
   }
   ~Switch() { sdkShimIs( &hardware.observedShim() ); }

   /// Puts a shim in front of the switch's own, for the process and in the shared data.
   void shimIs( SdkShimInterface* shim )
   {
      const Ref<StrataCommonSmData> own = hardware.scsd();
      port.scsd = Vormel::make<StrataCommonSmData>( shim );
      for( const auto& i : own->units() )
         port.scsd->units().unitIs( i.key(), *own->units().find( i.key() ) );
      sdkShimIs( shim );
   }

   Vormel::LockAnchor lock{ Vormel::activityLock() };
   Sim::SimSwitch hardware;
   Port port = simPort( hardware );
};

static std::set<std::string> brokenPromises( const Report& report )
{
   std::set<std::string> names;
   for( const Finding& finding : report.findings() )
      names.emplace( promiseName( finding.promise ) );
   return names;
}

class EveryProfile : public testing::TestWithParam<std::string>
{
};

TEST_P( EveryProfile, ConformsAndIsLeftAsItWas )
{
   Switch it( GetParam() );
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

TEST_P( EveryProfile, IsExaminedWithoutMistakesWhereThoseAreNotWanted )
{
   Switch it( GetParam() );
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

INSTANTIATE_TEST_SUITE_P( Conformance, EveryProfile,
   testing::Values( "hsdk", "register", "fabric-vfi", "acl" ),
   []( const auto& tested ) { return tested.param == "fabric-vfi" ? "fabricVfi" : tested.param; } );

TEST( ConformanceTest, TriesEveryPromiseThatTheProfilesHaveBetweenThem )
{
   std::set<std::string_view> untried( promiseNames.begin(), promiseNames.end() );
   for( const char* const profile : { "register", "acl" } ) {
      Switch it( profile );
      const Report report = examine( it.port );
      std::erase_if( untried, [ & ]( std::string_view name ) {
         const auto at = std::find( promiseNames.begin(), promiseNames.end(), name );
         return report.verdict( static_cast<Promise>( at - promiseNames.begin() ) ) ==
                Verdict::kept;
      } );
   }
   EXPECT_THAT( untried, IsEmpty() );
}

// --- Breaches ------------------------------------------------------------------------------------

/// What a faulty shim makes the kit say.
template<class Shim>
static Report examineShim()
{
   Switch it;
   Shim shim( it.hardware.shim() );
   it.shimIs( &shim );
   return examine( it.port );
}

/// The same for a manager of the main range.
template<class Manager>
static Report examineManager()
{
   Switch it;
   it.port.ranges.front().manager =
      Vormel::make<Manager>( Ref<StrataBoundedTcamEntryManager>( it.hardware.tcamManager() ) );
   return examine( it.port );
}

static void expectBroken( const Report& report, const char* promise, const char* call )
{
   EXPECT_TRUE( brokenPromises( report ).contains( promise ) ) << report.text( false );
   const std::string sentence = std::string( "broken promise " ) + promise + ": ";
   bool named = false;
   for( const Finding& finding : report.findings() )
      named = named || ( finding.text().starts_with( sentence ) &&
                          finding.call.find( call ) != std::string::npos );
   EXPECT_TRUE( named ) << "no finding names " << call << "\n" << report.text( false );
}

/// A port with one fault, the promise that it breaks, and the call that the message names.
#define SHIM_BREACH( promise, call, ... ) \
   TEST( ShimBreach, promise ) \
   { \
      struct Faulty : ForwardingShim \
      { \
         using ForwardingShim::ForwardingShim; \
         __VA_ARGS__ \
      }; \
      expectBroken( examineShim<Faulty>(), #promise, call ); \
   }

#define MANAGER_BREACH( promise, call, ... ) \
   TEST( ManagerBreach, promise ) \
   { \
      struct Faulty : ForwardingManager \
      { \
         using ForwardingManager::ForwardingManager; \
         __VA_ARGS__ \
      }; \
      expectBroken( examineManager<Faulty>(), #promise, call ); \
   }

// clang-format off
SHIM_BREACH( successIsZero, "successCode()", int successCode() const override { return 1; } )
SHIM_BREACH( unavailableIsNegative, "featureNotAvailableCode()",
   int featureNotAvailableCode() const override { return 16; } )
SHIM_BREACH( codesHaveTexts, "errorText( -16 )", std::string errorText( int ) const override { return ""; } )
SHIM_BREACH( numbersDistinct, "FieldAction CopyToCpuCancel",
   int fieldAction( FieldAction ) const override { return next().fieldAction( FieldAction::Drop ); } )
SHIM_BREACH( numbersStable, "stpForward()",
   U8 stpForward() const override { return ++asked; }
   mutable U8 asked = 0; )
SHIM_BREACH( vlanFlagsApart, "vlanMcastRoutingOn", U32 vlanFlag( VlanFlag ) const override { return 4; } )
SHIM_BREACH( exactMatchMaskMasks, "exactMatchMask()", U32 exactMatchMask() const override { return 0; } )
SHIM_BREACH( chipWidePortIsNoPort, "chipWidePort()", int chipWidePort() const override { return 0; } )
SHIM_BREACH( unitAnswersStable, "trapsTtlExceptions( unit 0 )",
   bool trapsTtlExceptions( U32 unit ) const override { return unit == 0 && asked++ > 0; }
   mutable int asked = 0; )
SHIM_BREACH( singleUnitExists, "kbSingleUnit()", U32 kbSingleUnit() const override { return 7; } )
SHIM_BREACH( cpuPortIsAPort, "cpuPort( unit 4 )",
   int cpuPort( U32 unit ) const override { return unit == 4 ? -1 : 0; } )
SHIM_BREACH( unitRecordIsFrontPanel, "unitRecord( unit 0 )",
   UnitRecord unitRecord( U32 ) const override { return { 0x1F }; } )
SHIM_BREACH( activityLockLeftAlone, "bcm_switch_control_set",
   int switchControlSet( U32 unit, int control, int value ) override
   {
      const int code = next().switchControlSet( unit, control, value );
      Vormel::activityLock().lock();
      return code;
   } )
SHIM_BREACH( operationsNeedNoActivityLock, "bcm_field_action_remove_all( unit 0",
   int fieldActionRemoveAll( U32 unit, U32 entry ) override
   {
      { const Vormel::LockAnchor lock( Vormel::activityLock() ); }
      return next().fieldActionRemoveAll( unit, entry );
   } )
SHIM_BREACH( callsDoNotThrow, "VLANs",
   int vlanControlGet( U32, U16, VlanControl* ) override { throw std::runtime_error( "bus error" ); } )
SHIM_BREACH( qualifiersAccepted, "bcm_field_qualify_HiGig",
   int fieldQualifyHiGig( U32, U32, U8, U8 ) override { return next().featureNotAvailableCode(); } )
SHIM_BREACH( actionsAccepted, "bcm_field_action_ports_add",
   int fieldActionPortsAdd( U32, U32, int, const PortBitmap& ) override { return -4; } )
SHIM_BREACH( unclaimedRefused, "bcm_field_qualify_DstMac",
   int fieldQualifyDstMac( U32 unit, U32 entry, const EthAddr& mac, const EthAddr& mask ) override
   {
      const int code = next().fieldQualifyDstMac( unit, entry, mac, mask );
      return code < 0 ? next().featureNotAvailableCode() : code; // tolerated: nobody would notice
   } )
SHIM_BREACH( removeAllEmpties, "bcm_field_action_remove_all",
   int fieldActionRemoveAll( U32, U32 ) override { return 0; } )
SHIM_BREACH( fieldLockPairs, "bcm_field_lock( unit 0 )", int fieldLock( U32 ) override { return 0; } )
SHIM_BREACH( controlsAccepted, "L3EgressMode: bcm_switch_control_port_set",
   int switchControlPortSet( U32 unit, int, int control, int value ) override
   {
      return next().switchControlPortSet( unit, 0, control, 1 - value ); // the CPU's instead of all ports
   }
   int switchControlSet( U32 unit, int control, int value ) override
   {
      return control == next().switchControl( SwitchControl::L3EgressMode )
                ? 0 : next().switchControlSet( unit, control, value );
   } )
SHIM_BREACH( portControlsAccepted, "bcm_port_control_set( unit 4",
   int portControlSet( U32 unit, int, int, int ) override { return unit == 4 ? -18 : 0; } )
SHIM_BREACH( vlanExistsAgrees, "vlanExists( unit 0, 4094 )",
   bool vlanExists( U32, U16 ) const override { return true; } )
SHIM_BREACH( vlanForeignKept, "bcm_vlan_control_vlan_set",
   int vlanControlSet( U32 unit, U16 vlan, const VlanControl& control ) override
   {
      VlanControl bare;
      bare.flagsIs( control.flags() );
      return next().vlanControlSet( unit, vlan, bare );
   } )
SHIM_BREACH( optionsProfiles, "bcm_l3_ip4_options_profile_create",
   int l3Ip4OptionsProfileCreate( U32, U32, int, int* ) override { return 0; } )
SHIM_BREACH( registersWritten, "soc_reg_set",
   int register64Set( U32 unit, int reg, int port, int index, U64 value ) override
   {
      return next().register64Set( unit, reg, port, index, value & 0xFFFFFFFF );
   } )
SHIM_BREACH( registerFieldsApart, "IP6_URPF_ON_L3_IIFf",
   void registerFieldSet( Register reg, U64& value, RegisterField, U32 data ) const override
   {
      next().registerFieldSet( reg, value, RegisterField::Ip4UrpfOnL3Iif, data );
   }
   using ForwardingShim::registerFieldSet; )
SHIM_BREACH( memoryFieldsApart, "memoryFieldSet()",
   EthAddr memoryMacField( const MemoryEntry& entry, MemoryField field ) const override
   {
      const EthAddr mac = next().memoryMacField( entry, field );
      return EthAddr( mac[ 5 ], mac[ 4 ], mac[ 3 ], mac[ 2 ], mac[ 1 ], mac[ 0 ] );
   } )
SHIM_BREACH( myStationWritten, "soc_mem_read( unit 0",
   int memoryRead( U32 unit, int memory, int block, U32 index, MemoryEntry* entry ) override
   {
      const int code = next().memoryRead( unit, memory, block, index, entry );
      entry->words[ 15 ] = ++parity; // of every access
      return code;
   }
   U32 parity = 0; )

MANAGER_BREACH( baseIdAtLeastOne, "baseEntryId()", U32 baseEntryId() const override { return 0; } )
MANAGER_BREACH( rangeStable, "supportsAclGroup()",
   bool supportsAclGroup() const override { return asked++ % 2 == 1; }
   mutable int asked = 0; )
MANAGER_BREACH( claimGivesTheId, "id 1001, \"conformance\"",
   U32 getEntry( U32 unit, U32 id, const std::string& name, const RequestKey& key ) override
   {
      return next().getEntry( unit, id, name, key ) - next().baseEntryId() + 1; // its place, not its id
   } )
MANAGER_BREACH( otherNameRefused, "other name",
   U32 getEntry( U32 unit, U32 id, const std::string& name, const RequestKey& key ) override
   {
      const U32 given = next().getEntry( unit, id, name, key );
      return given == 0 ? id : given;
   } )
MANAGER_BREACH( reclaimKeepsActions, "getEntry",
   U32 getEntry( U32 unit, U32 id, const std::string& name, const RequestKey& key ) override
   {
      next().releaseEntry( unit, id );
      return next().getEntry( unit, id, name, key );
   } )
MANAGER_BREACH( reclaimClearsQualifiers, "getEntry",
   U32 getEntry( U32 unit, U32 id, const std::string& name, const RequestKey& key ) override
   {
      const bool known = name == "conformance" && !key.orNext && !claimed.insert( { unit, id } ).second;
      return known ? id : next().getEntry( unit, id, name, key );
   }
   void releaseEntry( U32 unit, U32 id ) override
   {
      claimed.erase( { unit, id } );
      next().releaseEntry( unit, id );
   }
   std::set<std::pair<U32, U32>> claimed; )
MANAGER_BREACH( reclaimKeepsHardware, "getEntry",
   U32 getEntry( U32 unit, U32 id, const std::string& name, const RequestKey& key ) override
   {
      next().removeEntry( unit, id );
      return next().getEntry( unit, id, name, key );
   } )
MANAGER_BREACH( pairRule, "or next",
   U32 getEntry( U32 unit, U32 id, const std::string& name, const RequestKey& key ) override
   {
      return next().getEntry( unit, id, name, { key.feature, false, key.detail } );
   } )
MANAGER_BREACH( unitsApart, "unit 4, id 1001",
   U32 getEntry( U32 unit, U32 id, const std::string& name, const RequestKey& key ) override
   {
      const bool free = owners.try_emplace( id, name ).first->second == name;
      return free ? next().getEntry( unit, id, name, key ) : 0;
   }
   void releaseEntry( U32 unit, U32 id ) override
   {
      owners.erase( id );
      next().releaseEntry( unit, id );
   }
   std::map<U32, std::string> owners; )
MANAGER_BREACH( hitsSurviveReclaim, "hitsForEntry", U64 hitsForEntry( U32, U32 ) const override { return 0; } )
MANAGER_BREACH( installNeedsAction, "installEntry",
   int installEntry( U32 unit, U32 id ) override { return next().installEntry( unit, id ), 0; } )
MANAGER_BREACH( installEnables, "installEntry",
   int installEntry( U32 unit, U32 id ) override
   {
      const int code = next().reinstallEntry( unit, id );
      return code == 0 ? code : next().installEntry( unit, id );
   } )
MANAGER_BREACH( reinstallKeepsEnableState, "reinstallEntry",
   int reinstallEntry( U32 unit, U32 id ) override { return next().installEntry( unit, id ); } )
MANAGER_BREACH( enableSucceeds, "enableEntry, off",
   int enableEntry( U32, U32, bool, int ) override { return 0; } )
MANAGER_BREACH( removeKeepsDefinition, "installEntry",
   void removeEntry( U32 unit, U32 id ) override { next().releaseEntry( unit, id ); } )
MANAGER_BREACH( releaseForgets, "releaseEntry", void releaseEntry( U32, U32 ) override {} )
MANAGER_BREACH( portSetsAccepted, "addInPortsForEntry",
   int addInPortsForEntry( U32, U32, const PortBitmap&, const PortBitmap& ) override { return -16; } )
// clang-format on

TEST( ConformanceTest, SaysWhoBreaksWhatByWhichCall )
{
   struct Faulty : ForwardingManager
   {
      using ForwardingManager::ForwardingManager;
      int reinstallEntry( U32, U32 ) override { return -11; }
   };
   const Report report = examineManager<Faulty>();
   EXPECT_FALSE( report.conforms() );
   EXPECT_THAT( report.text( false ),
      HasSubstr(
         "BROKEN     reinstallSucceeds: reinstallEntry of an installed entry returns success\n"
         "              main: reinstallEntry( unit 0, id 1001 ) returned -11 (Operation failed), "
         "not success\n" ) );
}

} // namespace Strata::Conformance
