// The kit names each promise that a port breaks. A shim or manager with one fault is put before a simulated chip that
// conforms.
#include "platform/sdk/ForwardingShim.h"
#include "tests/conformance/Examined.h"
#include "tests/conformance/ForwardingManager.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <utility>

namespace Strata::Conformance {

/// The kit's report on a faulty shim.
template<class Shim>
static Report examineShim()
{
   Switch it;
   Shim shim( it.hardware.shim() );
   it.shimIs( &shim );
   return examine( it.port );
}

/// The kit's report on a faulty manager of the main range.
template<class Manager>
static Report examineManager()
{
   Switch it;
   it.port.ranges.front().manager =
      Vormel::make<Manager>( Ref<StrataBoundedTcamEntryManager>( it.hardware.tcamManager() ) );
   return examine( it.port );
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
SHIM_BREACH( cpuPortFits, "cpuPort( unit 4 )",
   int cpuPort( U32 unit ) const override { return unit == 4 ? 128 : 0; } )
SHIM_BREACH( unitRecordIsFrontPanel, "unitRecord( unit 0 )",
   UnitRecord unitRecord( U32 ) const override { return { 0x1F }; } )
SHIM_BREACH( activityLockLeftAlone, "bcm_switch_control_set",
   int switchControlSet( U32 unit, int control, int value ) override
   {
      const int code = next().switchControlSet( unit, control, value );
      Vormel::activityLock().lock();
      return code;
   } )
SHIM_BREACH( operationsNeedNoActivityLock, "soc_mem_write( unit 0",
   int memoryWrite( U32 unit, int memory, int block, U32 index, const MemoryEntry* entry ) override
   {
      { const Vormel::LockAnchor lock( Vormel::activityLock() ); }
      return next().memoryWrite( unit, memory, block, index, entry );
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
      return code < 0 ? next().featureNotAvailableCode() : code; // tolerated, so the error is not noticed
   } )
SHIM_BREACH( removeAllEmpties, "bcm_field_action_remove_all",
   int fieldActionRemoveAll( U32, U32 ) override { return 0; } )
SHIM_BREACH( actionPortsReplace, "bcm_field_action_ports_add",
   int fieldActionPortsAdd( U32 unit, U32 entry, int action, const PortBitmap& ports ) override
   {
      return next().fieldActionPortsAdd( unit, entry, action, all |= ports ); // also the ports of earlier calls
   }
   PortBitmap all; )
SHIM_BREACH( fieldLockPairs, "bcm_field_lock( unit 0 )", int fieldLock( U32 ) override { return 0; } )
SHIM_BREACH( controlsAccepted, "L3EgressMode: bcm_switch_control_port_set",
   int switchControlPortSet( U32 unit, int, int control, int value ) override
   {
      return next().switchControlPortSet( unit, 0, control, 1 - value ); // the CPU port's control instead of all ports'
   }
   int switchControlSet( U32 unit, int control, int value ) override
   {
      return control == next().switchControl( SwitchControl::L3EgressMode )
                ? 0 : next().switchControlSet( unit, control, value );
   } )
SHIM_BREACH( lackIsUnavailable, "MplsLabelMissToCpu",
   int switchControlSet( U32 unit, int control, int value ) override
   {
      return control == next().switchControl( SwitchControl::MplsLabelMissToCpu )
                ? -4 : next().switchControlSet( unit, control, value );
   } )
SHIM_BREACH( portControlsAccepted, "bcm_port_control_set( unit 4",
   int portControlSet( U32 unit, int port, int control, int value ) override
   {
      return next().portControlSet( unit, unit == 4 ? 3 : port, control, value ); // on unit 4 always for the same port
   } )
SHIM_BREACH( vlanExistsAgrees, "vlanExists( unit 0, 4094 )",
   bool vlanExists( U32, U16 ) const override { return true; } )
SHIM_BREACH( vlanFlagsWritten, "bcm_vlan_control_vlan_set( unit 0, 1, flags",
   int vlanControlSet( U32, U16, const VlanControl& ) override { return 0; } )
SHIM_BREACH( vlanCpuPort, "bcm_vlan_port_remove",
   int vlanPortRemove( U32 unit, U16 vlan, const PortBitmap& ports ) override
   {
      return next().vlanExists( unit, vlan ) && !ports.empty() ? 0 : -7; // checks, and removes nothing
   } )
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
SHIM_BREACH( emptyEntryInvalid, "an entry of zeros",
   U32 memoryField( const MemoryEntry& entry, MemoryField field ) const override
   {
      return field == MemoryField::Valid ? 1 : next().memoryField( entry, field );
   } )
SHIM_BREACH( memoryFieldsApart, "memoryFieldSet()",
   EthAddr memoryMacField( const MemoryEntry& entry, MemoryField field ) const override
   {
      const EthAddr mac = next().memoryMacField( entry, field );
      return EthAddr( mac[ 5 ], mac[ 4 ], mac[ 3 ], mac[ 2 ], mac[ 1 ], mac[ 0 ] );
   } )
// The kit sets the mask after the address, so an entry with both does not show this fault.
TEST( ShimBreach, memoryMacFieldsApart )
{
   struct Faulty : ForwardingShim
   {
      using ForwardingShim::ForwardingShim;
      using ForwardingShim::memoryFieldSet;
      void memoryFieldSet( MemoryEntry& entry, MemoryField field, const EthAddr& mac ) const override
      {
         next().memoryFieldSet( entry, field, mac );
         if( field == MemoryField::MacAddr )
            next().memoryFieldSet( entry, MemoryField::MacAddrMask, mac );
      }
   };
   expectBroken( examineShim<Faulty>(), "memoryFieldsApart", "memoryFieldSet( MAC_ADDRf" );
}
SHIM_BREACH( myStationWritten, "soc_mem_read( unit 0",
   int memoryRead( U32 unit, int memory, int block, U32 index, MemoryEntry* entry ) override
   {
      const int code = next().memoryRead( unit, memory, block, index, entry );
      entry->words[ 15 ] = ++parity; // differs at every access
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
      return next().getEntry( unit, id, name, key ) - next().baseEntryId() + 1; // the offset, not the id
   } )
MANAGER_BREACH( reclaimGivesTheId, "id 1001, \"conformance\"",
   U32 getEntry( U32 unit, U32 id, const std::string& name, const RequestKey& key ) override
   {
      return claimed.insert( { unit, id } ).second ? next().getEntry( unit, id, name, key ) : 0;
   }
   void releaseEntry( U32 unit, U32 id ) override
   {
      claimed.erase( { unit, id } );
      next().releaseEntry( unit, id );
   }
   std::set<std::pair<U32, U32>> claimed; )
MANAGER_BREACH( outsideRangeRefused, "id 1000",
   U32 getEntry( U32 unit, U32 id, const std::string& name, const RequestKey& key ) override
   {
      return id < baseEntryId() ? id : next().getEntry( unit, id, name, key );
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
MANAGER_BREACH( hitsStartAtZero, "hitsForEntry", U64 hitsForEntry( U32, U32 ) const override { return 7; } )
MANAGER_BREACH( hitsSurviveReclaim, "hitsForEntry", U64 hitsForEntry( U32, U32 ) const override { return 0; } )
MANAGER_BREACH( installSucceeds, "installEntry",
   int installEntry( U32 unit, U32 id ) override
   {
      return installed.insert( id ).second ? next().installEntry( unit, id ) : -8; // exists
   }
   std::set<U32> installed; )
MANAGER_BREACH( installWrites, "installEntry", int installEntry( U32, U32 ) override { return 0; } )
MANAGER_BREACH( installNeedsClaim, "installEntry",
   int installEntry( U32 unit, U32 id ) override
   {
      next().getEntry( unit, id, "another", {} );
      return next().installEntry( unit, id );
   } )
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
MANAGER_BREACH( hitsSurviveInstall, "installEntry",
   int installEntry( U32 unit, U32 id ) override
   {
      forgotten[ { unit, id } ] = next().hitsForEntry( unit, id ); // the count starts at 0 with each installation
      return next().installEntry( unit, id );
   }
   U64 hitsForEntry( U32 unit, U32 id ) const override
   {
      const auto at = forgotten.find( { unit, id } );
      return next().hitsForEntry( unit, id ) - ( at == forgotten.end() ? 0 : at->second );
   }
   void releaseEntry( U32 unit, U32 id ) override
   {
      forgotten.erase( { unit, id } );
      next().releaseEntry( unit, id );
   }
   std::map<std::pair<U32, U32>, U64> forgotten; )
MANAGER_BREACH( removeKeepsDefinition, "installEntry",
   void removeEntry( U32 unit, U32 id ) override { next().releaseEntry( unit, id ); } )
MANAGER_BREACH( releaseForgets, "releaseEntry", void releaseEntry( U32, U32 ) override {} )
MANAGER_BREACH( absentIsHarmless, "getEntry",
   void releaseEntry( U32 unit, U32 id ) override
   {
      next().releaseEntry( unit, id );
      next().getEntry( unit, id, "another", {} );
   } )
MANAGER_BREACH( portSetsAccepted, "addInPortsForEntry",
   int addInPortsForEntry( U32, U32, const PortBitmap&, const PortBitmap& ) override { return -16; } )
MANAGER_BREACH( portSetsReplace, "addInPortsForEntry",
   int addInPortsForEntry( U32 unit, U32 id, const PortBitmap& ports, const PortBitmap& mask ) override
   {
      return next().addInPortsForEntry( unit, id, sets[ { unit, id } ] |= ports, mask );
   }
   void releaseEntry( U32 unit, U32 id ) override
   {
      sets.erase( { unit, id } );
      next().releaseEntry( unit, id );
   }
   std::map<std::pair<U32, U32>, PortBitmap> sets; )
// clang-format on

/// Refuses a qualifier or action that the claim has already, as some SDKs do.
struct RefusingShim : ForwardingShim
{
   explicit RefusingShim( Sim::SimSwitch& itsHardware )
      : ForwardingShim( itsHardware.shim() ),
        hardware( itsHardware )
   {}
   int fieldQualifyDstMac( U32 unit, U32 entry, const EthAddr& mac, const EthAddr& mask ) override
   {
      const auto has = []( const Sim::FieldQualifier& qualifier ) {
         return qualifier.role == Sim::Qualifier::DstMac;
      };
      return std::ranges::any_of( claim( unit, entry ).qualifiers, has )
                ? -8
                : next().fieldQualifyDstMac( unit, entry, mac, mask );
   }
   int fieldActionAdd( U32 unit, U32 entry, int action, U32 parameter0, U32 parameter1 ) override
   {
      const auto has = [ & ]( const Sim::FieldActionData& given ) {
         return next().fieldAction( given.role ) == action;
      };
      return std::ranges::any_of( claim( unit, entry ).actions, has )
                ? -8
                : next().fieldActionAdd( unit, entry, action, parameter0, parameter1 );
   }
   Sim::FieldRule claim( U32 unit, U32 entry ) const
   {
      const Sim::FieldGroup* const group = hardware.chip( unit ).groupOf( entry );
      const Sim::FieldEntry* const found = group ? group->find( entry ) : nullptr;
      return found ? found->claim : Sim::FieldRule();
   }
   Sim::SimSwitch& hardware;
};

TEST( ShimBreach, AQualifierOrActionGivenTwiceMustReplace )
{
   Switch it;
   RefusingShim shim( it.hardware );
   it.shimIs( &shim );
   const Report report = examine( it.port );
   EXPECT_THAT( brokenPromises( report ),
      testing::ElementsAre( "repeatedActionReplaces", "repeatedQualifierReplaces" ) )
      << report.text( false );
   expectBroken( report, "repeatedActionReplaces", "bcm_field_action_add( unit 4" );
}

TEST( ShimBreach, RemovingTheActionsMayNotReachHardwareAtOnce )
{
   struct Faulty : ForwardingShim
   {
      explicit Faulty( Sim::SimSwitch& itsHardware )
         : ForwardingShim( itsHardware.shim() ),
           hardware( itsHardware )
      {}
      int fieldActionRemoveAll( U32 unit, U32 entry ) override
      {
         hardware.chip( unit ).groupOf( entry )->remove( entry );
         return next().fieldActionRemoveAll( unit, entry );
      }
      Sim::SimSwitch& hardware;
   };
   Switch it;
   Faulty shim( it.hardware );
   it.shimIs( &shim );
   const Report report = examine( it.port );
   expectBroken( report, "removeAllKeepsHardware", "bcm_field_action_remove_all" );
   EXPECT_EQ( brokenPromises( report ).size(), 1u ) << report.text( false );
}

TEST( ShimBreach, ManyBrokenPromisesNameTheirCommonCause )
{
   struct Faulty : ForwardingShim
   {
      using ForwardingShim::ForwardingShim;
      // Returns the not-found code for every claim.
      int fieldActionAdd( U32, U32, int, U32, U32 ) override { return -7; }
   };
   const Report report = examineShim<Faulty>();
   EXPECT_GE( brokenPromises( report ).size(), 10u );
   ASSERT_EQ( report.roots().size(), 1u ) << report.text( false );
   EXPECT_EQ( report.roots().front().promise, Promise::actionsAccepted );
   EXPECT_THAT(
      report.text(), testing::HasSubstr( "\nlikely root: actionsAccepted, on which " +
                                         std::to_string( brokenPromises( report ).size() - 1 ) +
                                         " of the other broken promises depend\n" ) );
}

TEST( ShimBreach, RegistersAndVlansThatCanBeWrittenMustBeReadable )
{
   struct Faulty : ForwardingShim
   {
      using ForwardingShim::ForwardingShim;
      int vlanControlGet( U32, U16, VlanControl* ) override { return featureNotAvailableCode(); }
      int register32Get( U32, int, int, int, U32* ) override { return featureNotAvailableCode(); }
      int ingMiscConfigRead( U32, U32* ) override { return featureNotAvailableCode(); }
      int ingMiscConfigWrite( U32, U32 ) override { return featureNotAvailableCode(); }
   };
   const Report report = examineShim<Faulty>();
   expectBroken( report, "writesAreReadable", "bcm_vlan_control_vlan_get( unit 4, 1" );
   expectBroken( report, "writesAreReadable", "soc_reg32_get( unit 0" );
   for( const Finding& finding : report.findings() )
      EXPECT_FALSE( finding.promise == Promise::writesAreReadable &&
                    finding.call.starts_with( "READ_ING_MISC_CONFIGr" ) )
         << finding.text();
}

TEST( ShimBreach, AQuestionThatThrowsIsAFindingAndTheRestIsExamined )
{
   struct Faulty : ForwardingShim
   {
      using ForwardingShim::ForwardingShim;
      bool vlanExists( U32, U16 ) const override { throw std::runtime_error( "no such table" ); }
      U32 kbSingleUnit() const override { throw 7; }
   };
   const Report report = examineShim<Faulty>();
   expectBroken( report, "callsDoNotThrow", "questions about units" );
   EXPECT_EQ( report.verdict( Promise::numbersStable ), Verdict::kept );
   EXPECT_EQ( report.verdict( Promise::timersFireOnce ), Verdict::kept );
}

} // namespace Strata::Conformance
