#include "platform/runtime/Errors.h"
#include "sim/chip/RegisterLayout.h"
#include "tests/sim/SimTest.h"

namespace Strata::Sim {

using testing::ElementsAre;
using testing::IsEmpty;

class ChipTest : public SimTest
{
 protected:
   explicit ChipTest( const std::string& profile = "hsdk" ) : SimTest( profile ) {}
   ~ChipTest() override { EXPECT_THAT( breaches(), IsEmpty() ); }

   int setControl( U32 unit, SwitchControl control, int value )
   {
      return call(
         &SdkShimInterface::switchControlSet, unit, shim.switchControl( control ), value );
   }

   SimShim& shim = hardware.shim();
   Chip& chip = hardware.chip( 4 );
};

TEST( SdkNumbersTest, DifferWithTheSeedAndAreUnique )
{
   const SdkNumbers a( 1 );
   const SdkNumbers b( 2 );
   const SdkNumbers again( 1 );
   const auto drop = FieldAction::Drop;
   EXPECT_NE( a.fieldAction.number( drop ), b.fieldAction.number( drop ) );
   EXPECT_NE( a.exactMatchMask, b.exactMatchMask );
   EXPECT_EQ( a.fieldAction.number( drop ), again.fieldAction.number( drop ) );
   std::set<int> all;
   for( std::size_t i = 0; i < roleNames<SwitchControl>.size(); ++i )
      all.insert( a.switchControl.number( static_cast<SwitchControl>( i ) ) );
   for( std::size_t i = 0; i < roleNames<FieldAction>.size(); ++i )
      all.insert( a.fieldAction.number( static_cast<FieldAction>( i ) ) );
   EXPECT_EQ( all.size(), roleNames<SwitchControl>.size() + roleNames<FieldAction>.size() );
}

TEST_F( ChipTest, ChipWideControlsReachEveryPort )
{
   const auto mode = SwitchControl::L3EgressMode;
   const auto setPort = [ & ]( int port, int value ) {
      return call(
         &SdkShimInterface::switchControlPortSet, 4, port, shim.switchControl( mode ), value );
   };
   EXPECT_EQ( setControl( 4, mode, 1 ), ok );
   EXPECT_EQ( setPort( 2, 0 ), ok );
   EXPECT_EQ( chip.control( 2, mode ), 0 );
   EXPECT_EQ( chip.control( 3, mode ), 1 );
   EXPECT_EQ( setPort( shim.chipWidePort(), 1 ), ok );
   EXPECT_EQ( chip.control( 2, mode ), 1 );
   EXPECT_EQ( setPort( 99, 1 ), code( SdkCode::Port ) );
   EXPECT_EQ( hardware.chip( 0 ).control( mode ), 0 );
}

TEST_F( ChipTest, ControlsHaveARange )
{
   const auto priority = SwitchControl::CpuProtoIpOptionsPriority;
   EXPECT_EQ( setControl( 4, SwitchControl::L3EgressMode, 2 ), code( SdkCode::Param ) );
   EXPECT_EQ( setControl( 4, SwitchControl::L3EgressMode, -1 ), code( SdkCode::Param ) );
   EXPECT_EQ( setControl( 4, priority, 7 ), ok );
   EXPECT_EQ(
      call( &SdkShimInterface::switchControlPortSet, 4, 2, shim.switchControl( priority ), 8 ),
      code( SdkCode::Param ) );
   EXPECT_EQ( chip.control( 2, priority ), 7 );
   for( const int value : { 0, 1, 2 } )
      EXPECT_EQ( call( &SdkShimInterface::portControlSet, 4, 2,
                    shim.portControl( PortControl::IP4 ), value ),
         value < 2 ? ok : code( SdkCode::Param ) );
}

TEST_F( ChipTest, TrapsTtlExceptionsIsFixedOnceRoutingWasOn )
{
   chip.trapsTtlExceptionsIs( true );
   setControl( 4, SwitchControl::L3EgressMode, 1 );
   setControl( 4, SwitchControl::L3EgressMode, 0 ); // entries exist already
   chip.trapsTtlExceptionsIs( true );
   EXPECT_THROW( chip.trapsTtlExceptionsIs( false ), Vormel::ValueError );
   EXPECT_TRUE( shim.trapsTtlExceptions( 4 ) );
}

TEST_F( ChipTest, LacksTheFeaturesThatItsAttributesDeny )
{
   EXPECT_EQ(
      setControl( 0, SwitchControl::IgmpReservedMcastEnable, 1 ), code( SdkCode::Unavail ) );
   EXPECT_EQ( setControl( 0, SwitchControl::MplsTtlErrToCpu, 1 ), ok );
   U32 value = 0;
   EXPECT_EQ( call( &SdkShimInterface::register32Get, 0,
                 shim.registerNumber( Register::CpuControlM ), shim.anyRegisterPort(), 0, &value ),
      code( SdkCode::Unavail ) );
}

TEST_F( ChipTest, ForeignSettingsOfAVlanAreKept )
{
   hardware.vlanIs( 10 );
   const U32 before = chip.vlan( 10 )->otherFlags;
   const auto restBefore = chip.vlan( 10 )->rest;
   VlanControl control;
   EXPECT_EQ( call( &SdkShimInterface::vlanControlGet, 4, U16{ 10 }, &control ), ok );
   control.flagsIs( control.flags() | shim.vlanFlag( VlanFlag::vlanIp6RoutingOff ) );
   EXPECT_EQ( call( &SdkShimInterface::vlanControlSet, 4, U16{ 10 }, control ), ok );
   EXPECT_THAT( chip.vlan( 10 )->flags, ElementsAre( VlanFlag::vlanIp6RoutingOff ) );
   EXPECT_NE( before, 0u );
   EXPECT_EQ( chip.vlan( 10 )->otherFlags, before );
   EXPECT_EQ( chip.vlan( 10 )->rest, restBefore );
   EXPECT_EQ( lines( RecordKind::call ).back(),
      "call   bcm_vlan_control_vlan_set( unit 4, vlanId 10, control vlanIp6RoutingOff|other 0x5 )" );

   EXPECT_EQ(
      call( &SdkShimInterface::vlanPortRemove, 4, U16{ 10 }, *PortBitmap::parse( "0" ) ), ok );
   EXPECT_EQ( chip.vlan( 10 )->members.toString(), "5-8" );
   EXPECT_TRUE( shim.vlanExists( 0, 10 ) );
   EXPECT_EQ( call( &SdkShimInterface::vlanControlGet, 4, U16{ 11 }, &control ),
      code( SdkCode::NotFound ) );
}

TEST_F( ChipTest, OptionsProfilesRunOut )
{
   const int action = shim.ipOptionAction( IpOptionAction::CopyCPUAndDrop );
   int profile = -1;
   for( U32 i = 0; i < chip.profile().ipOptionsProfiles; ++i )
      EXPECT_EQ( call( &SdkShimInterface::l3Ip4OptionsProfileCreate, 4, 0, action, &profile ), ok );
   EXPECT_EQ( lines( RecordKind::call ).back(),
      "call   bcm_l3_ip4_options_profile_create( unit 4, flags 0, action CopyCPUAndDrop, profile 4 )" );
   EXPECT_EQ( call( &SdkShimInterface::l3Ip4OptionsProfileCreate, 4, 0, action, &profile ),
      code( SdkCode::Full ) );
   EXPECT_EQ( call( &SdkShimInterface::l3Ip4OptionsProfileDestroy, 4, 2 ), ok );
   EXPECT_EQ(
      call( &SdkShimInterface::l3Ip4OptionsProfileDestroy, 4, 2 ), code( SdkCode::NotFound ) );
}

TEST_F( ChipTest, TheMyStationMemoryHasASecondView )
{
   const int memory = shim.memory( Memory::MyStationTcam );
   MemoryEntry written;
   shim.memoryFieldSet( written, MemoryField::Valid, 1u );
   shim.memoryFieldSet( written, MemoryField::MacAddr, EthAddr( 2, 0, 0xa1, 0, 0, 1 ) );
   shim.memoryFieldSet( written, MemoryField::MacAddrMask, EthAddr::broadcast );
   shim.memoryFieldSet( written, MemoryField::VlanId, 4094u );
   shim.memoryFieldSet( written, MemoryField::VlanIdMask, 0xFFFu );
   shim.memoryFieldSet( written, MemoryField::MplsTermination, 1u );
   EXPECT_EQ(
      call( &SdkShimInterface::memoryWrite, 4, memory, shim.anyMemoryBlock(), 33, &written ), ok );
   EXPECT_EQ(
      myStationText( chip.myStation().entries().at( 33 ) ), "02:00:a1:00:00:01 vlan 4094: mpls" );

   const auto read = [ & ] {
      MemoryEntry entry;
      EXPECT_EQ(
         call( &SdkShimInterface::memoryRead, 4, memory, shim.anyMemoryBlock(), 33, &entry ), ok );
      return entry;
   };
   EXPECT_EQ( read().words, read().words );
   MemoryEntry other = written;
   shim.memoryFieldSet( other, MemoryField::VlanId, 1u );
   chip.myStation().alternativeViewIs( 33, other );
   EXPECT_NE( read().words, read().words );
   EXPECT_EQ(
      call( &SdkShimInterface::memoryWrite, 4, memory, shim.anyMemoryBlock(), 512, &written ),
      code( SdkCode::Param ) );

   MemoryEntry group = written;
   shim.memoryFieldSet( group, MemoryField::MacAddr, EthAddr( 1, 0, 0x5e, 0, 0, 1 ) );
   MemoryEntry unmasked = written;
   shim.memoryFieldSet( unmasked, MemoryField::MacAddrMask, EthAddr() );
   MemoryEntry behind = written;
   behind.words[ 8 ] = 1;
   for( const MemoryEntry* const improper : { &group, &unmasked, &behind } )
      EXPECT_EQ(
         call( &SdkShimInterface::memoryWrite, 4, memory, shim.anyMemoryBlock(), 34, improper ),
         code( SdkCode::Param ) );
   shim.memoryFieldSet( unmasked, MemoryField::Valid, 0u );
   EXPECT_EQ(
      call( &SdkShimInterface::memoryWrite, 4, memory, shim.anyMemoryBlock(), 34, &unmasked ), ok );
}

TEST_F( ChipTest, TheUnitRecordContainsTheActivePorts )
{
   chip.portActiveIs( 3, false );
   const UnitRecord record = shim.unitRecord( 4 );
   EXPECT_EQ( PortBitmap::fromWords( record ).toString(), "5-6,8" ); // logical port numbers
}

class RegisterChipTest : public ChipTest
{
 protected:
   RegisterChipTest() : ChipTest( "register" ) {}
};

TEST_F( RegisterChipTest, RegistersKeepTheBitsThatAreNotChanged )
{
   const int reg = shim.registerNumber( Register::IngConfig64 );
   const U64 reset = chip.registerValue( Register::IngConfig64 );
   U64 value = 0;
   EXPECT_EQ(
      call( &SdkShimInterface::register64Get, 4, reg, shim.anyRegisterPort(), 0, &value ), ok );
   shim.registerFieldSet( Register::IngConfig64, value, RegisterField::Ip4UrpfOnL3Iif, 1 );
   EXPECT_EQ(
      call( &SdkShimInterface::register64Set, 4, reg, shim.anyRegisterPort(), 0, value ), ok );
   EXPECT_EQ( chip.registerValue( Register::IngConfig64 ), reset | U64{ 1 } << 33 );
   EXPECT_EQ( registerField( chip.registerValue( Register::IngConfig64 ),
                 RegisterField::UseMyStation1ForNonTunnels ),
      1u );
   EXPECT_EQ( lines( RecordKind::call ).back(),
      "call   soc_reg_set( unit 4, reg ING_CONFIG_64r, port any, index 0, value 0x8000020200000103 "
      "(USE_MY_STATION1_FOR_NON_TUNNELSf 1, IP4_URPF_ON_L3_IIFf 1, IP6_URPF_ON_L3_IIFf 0) )" );
}

} // namespace Strata::Sim
