// Each convention of the hardware calls is broken once.
#include "tests/sim/SimTest.h"

namespace Strata::Sim {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class CriticTest : public SimTest
{
 protected:
   int lockField( U32 unit ) { return call( &SdkShimInterface::fieldLock, unit ); }
   int unlockField( U32 unit ) { return bareCall( &SdkShimInterface::fieldUnlock, unit ); }

   SimShim& shim = hardware.shim();
   Ref<SimTcamEntryManager> manager = hardware.tcamManager();
   const U32 id = manager->baseEntryId();
};

TEST_F( CriticTest, OperationsNeedTheirHookAndNoActivityLock )
{
   const int control = shim.switchControl( SwitchControl::L3EgressMode );
   EXPECT_EQ( call( &SdkShimInterface::switchControlSet, 0, control, 1 ), ok );
   EXPECT_THAT( breaches(), IsEmpty() );

   bareCall( &SdkShimInterface::switchControlSet, 0, control, 1 );
   EXPECT_THAT( breaches(),
      ElementsAre( "bcm_switch_control_set: the pre-call hook did not run right before it" ) );
   shim.preCall();
   shim.switchControlSet( 0, control, 1 );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "made with the activity lock held" ) ) );
   shim.preCall();
   manager->getEntry( 0, id, "one", {} );
   bareCall( &SdkShimInterface::switchControlSet, 0, control, 1 );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "right before" ) ) );
   {
      const Vormel::UnlockAnchor anchor( Vormel::activityLock() );
      shim.preCall();
      manager->installEntry( 0, id + 1 );
   }
   EXPECT_THAT( breaches(), ElementsAre( "the pre-call hook: it runs without the activity lock",
                               "installEntry: it is made without the activity lock" ) );
   EXPECT_EQ( call( &SdkShimInterface::switchControlSet, 1, control, 1 ), code( SdkCode::Unit ) );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "there is no such unit" ) ) );
}

TEST_F( CriticTest, ActionsAreRewrittenUnderTheFieldLock )
{
   manager->getEntry( 0, id, "one", {} );
   EXPECT_EQ( lockField( 0 ), ok );
   {
      // Within the section each call has its hook, and the activity lock is not held.
      const Vormel::UnlockAnchor anchor( Vormel::activityLock() );
      EXPECT_EQ( call( &SdkShimInterface::fieldActionRemoveAll, 0, id ), ok );
      EXPECT_EQ( call( &SdkShimInterface::fieldActionPortsAdd, 0, id,
                    shim.fieldAction( FieldAction::RedirectPbmp ), PortBitmap() ),
         ok );
      bareCall( &SdkShimInterface::fieldActionRemoveAll, 0, id );
   }
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "pre-call hook" ) ) );
   EXPECT_EQ( lockField( 0 ), code( SdkCode::Busy ) );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "FP lock is held already" ) ) );
   call( &SdkShimInterface::fieldActionRemoveAll, 4, id );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "made without the unit's FP lock" ),
                               HasSubstr( "is not claimed on the unit" ) ) );
   EXPECT_EQ( unlockField( 0 ), ok );
   hardware.critic().ends();
   EXPECT_THAT( breaches(), IsEmpty() );
   unlockField( 0 );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "FP lock is not held" ) ) );

   // Calls after remove_all belong to the same section until the entry is installed.
   addAction( 0, id, FieldAction::CopyToCpu );
   EXPECT_THAT(
      breaches(), ElementsAre( HasSubstr( "behind remove_all with the unit's FP lock" ) ) );
   call( &SdkShimInterface::fieldQualifyTtl, 0, id, U8{ 0 }, U8{ 0xFF } );
   EXPECT_EQ( manager->installEntry( 0, id ), ok );
   addAction( 0, id, FieldAction::DoNotLearn );
   EXPECT_THAT( breaches(), IsEmpty() );
   EXPECT_EQ( lockField( 4 ), ok );
   hardware.critic().ends();
   EXPECT_THAT(
      breaches(), ElementsAre( "bcm_field_lock: the unit's FP lock is still held at the end" ) );

   // While a unit's FP lock is not available, it is not needed.
   hardware.faults().inject( { .call = "bcm_field_lock", .nth = 1, .code = SdkCode::Unavail } );
   EXPECT_EQ( lockField( 0 ), code( SdkCode::Unavail ) );
   call( &SdkShimInterface::fieldActionRemoveAll, 0, id );
   EXPECT_THAT( breaches(), IsEmpty() );
   EXPECT_EQ( lockField( 0 ), ok );
   EXPECT_EQ( unlockField( 0 ), ok );
   call( &SdkShimInterface::fieldActionRemoveAll, 0, id );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "made without the unit's FP lock" ) ) );
}

TEST_F( CriticTest, AWriteNeedsAReadRightBeforeIt )
{
   hardware.vlanIs( 10 );
   VlanControl control;
   const auto read = [ & ] {
      return call( &SdkShimInterface::vlanControlGet, 0, U16{ 10 }, &control );
   };
   const auto write = [ & ]( U32 unit, U16 vlanId ) {
      return call( &SdkShimInterface::vlanControlSet, unit, vlanId, control );
   };
   U32 word = 0;
   read();
   write( 0, 10 );
   call( &SdkShimInterface::ingMiscConfigRead, 4, &word );
   call( &SdkShimInterface::ingMiscConfigWrite, 4, word );
   // A refused read still counts as a read.
   hardware.faults().inject( { .call = "bcm_vlan_control_vlan_get", .code = SdkCode::Unavail } );
   EXPECT_EQ( read(), code( SdkCode::Unavail ) );
   write( 0, 10 );
   EXPECT_THAT( breaches(), IsEmpty() );

   write( 0, 10 );
   read();
   write( 0, 1 );
   write( 4, 10 );
   call( &SdkShimInterface::ingMiscConfigWrite, 4, word );
   // A read does not count for a write that does not follow it directly.
   read();
   call( &SdkShimInterface::ingMiscConfigRead, 0, &word );
   write( 0, 10 );
   const auto unread = HasSubstr( "it writes what was not read right before it" );
   EXPECT_THAT( breaches(), ElementsAre( unread, unread, unread, unread, unread ) );
}

TEST_F( CriticTest, EntriesAreInstalledWithAnActionAndEveryQualifier )
{
   manager->getEntry( 0, id, "one", {} );
   EXPECT_EQ( manager->installEntry( 0, id ), code( SdkCode::Config ) );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "the entry has no action" ),
                               HasSubstr( "the entry has no qualifier" ) ) );

   // This chip has no HiGig qualifier, according to its attributes.
   addAction( 0, id, FieldAction::Drop );
   EXPECT_EQ( call( &SdkShimInterface::fieldQualifyHiGig, 0, id, U8{ 0 }, U8{ 1 } ),
      code( SdkCode::Unavail ) );
   manager->installEntry( 0, id );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "refused a qualifier" ) ) );

   // An injected refusal is not a breach of the slice.
   manager->getEntry( 0, id, "one", {} );
   hardware.faults().inject( { .call = "bcm_field_qualify_Ttl", .code = SdkCode::Unavail } );
   EXPECT_EQ( call( &SdkShimInterface::fieldQualifyTtl, 0, id, U8{ 0 }, U8{ 0xFF } ),
      code( SdkCode::Unavail ) );
   EXPECT_EQ( manager->installEntry( 0, id ), ok );
   EXPECT_THAT( breaches(), IsEmpty() );

   EXPECT_EQ( call( &SdkShimInterface::fieldQualifyTtl, 4, id, U8{ 0 }, U8{ 0xFF } ),
      code( SdkCode::NotFound ) );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "entry 1001 is not claimed on the unit" ) ) );
}

TEST_F( CriticTest, NumbersMustBeTheSdks )
{
   manager->getEntry( 0, id, "one", {} );
   EXPECT_EQ( call( &SdkShimInterface::fieldActionAdd, 0, id, 3, 0, 0 ), code( SdkCode::Param ) );
   // Numbers of the SDK that belong to another parameter are refused too.
   call( &SdkShimInterface::switchControlSet, 0, shim.fieldAction( FieldAction::Drop ), 1 );
   call( &SdkShimInterface::fieldQualifyIntPriority, 0, id, 5, 0xFFFFFFFF );
   call( &SdkShimInterface::fieldQualifyIngressStpState, 0, id,
      static_cast<U8>( shim.stpForward() + 1 ), U8{ 0xFF } );
   EXPECT_THAT( breaches(),
      ElementsAre( HasSubstr( "number for the action" ), HasSubstr( "number for the control" ),
         HasSubstr( "exact-match mask" ), HasSubstr( "spanning-tree state" ) ) );
   U32 value = 0;
   shim.registerFieldSet( Register::CpuControlM, value, RegisterField::Ip4UrpfOnL3Iif, 1 );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "is not a field of the register" ) ) );
   EXPECT_EQ( value, 0u );
   MemoryEntry entry;
   shim.memoryFieldSet( entry, MemoryField::Valid, 2u );
   shim.memoryFieldSet( entry, MemoryField::VlanId, EthAddr::broadcast );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "the field has no room for 2" ),
                               HasSubstr( "the field is not a MAC address" ) ) );
   EXPECT_EQ( entry.words, MemoryEntry().words );
}

TEST_F( CriticTest, EachNumberOfACallMustBeTheSdks )
{
   using Shim = SdkShimInterface;
   const int narrow = shim.registerNumber( Register::IngMiscConfig );
   const int wide = shim.registerNumber( Register::IngConfig64 );
   const int port = shim.anyRegisterPort();
   const int memory = shim.memory( Memory::MyStationTcam );
   const int block = shim.anyMemoryBlock();
   U32 value = 0;
   U64 wideValue = 0;
   int profile = 0;
   MemoryEntry entry;
   const auto breach = [ & ]( int rc ) {
      EXPECT_EQ( rc, code( SdkCode::Param ) );
      const std::vector<std::string> texts = breaches();
      return texts.empty() ? std::string() : texts.front();
   };
   const auto names = []( const char* what ) {
      return testing::EndsWith( std::string( "no such number for the " ) + what );
   };
   EXPECT_THAT(
      breach( call( &Shim::register32Get, 0, wide, port, 0, &value ) ), names( "register" ) );
   EXPECT_THAT(
      breach( call( &Shim::register64Get, 0, narrow, port, 0, &wideValue ) ), names( "register" ) );
   EXPECT_THAT(
      breach( call( &Shim::register32Get, 0, narrow, port + 1, 0, &value ) ), names( "port" ) );
   EXPECT_EQ( breach( call( &Shim::register32Get, 0, narrow, port, 1, &value ) ), "" );
   EXPECT_THAT(
      breach( call( &Shim::memoryRead, 0, memory + 1, block, 1, &entry ) ), names( "memory" ) );
   EXPECT_THAT(
      breach( call( &Shim::memoryRead, 0, memory, block + 1, 1, &entry ) ), names( "block" ) );
   EXPECT_THAT(
      breach( call( &Shim::memoryWrite, 0, memory + 1, block, 1, &entry ) ), names( "memory" ) );
   EXPECT_THAT( breach( call( &Shim::portControlSet, 0, 1, -1, 1 ) ), names( "control" ) );
   EXPECT_THAT( breach( call( &Shim::switchControlPortSet, 0, 1, -1, 1 ) ), names( "control" ) );
   EXPECT_THAT(
      breach( call( &Shim::l3Ip4OptionsProfileCreate, 0, 0, -1, &profile ) ), names( "action" ) );
   EXPECT_THAT( breach( call( &Shim::fieldQualifyIpType, 0, id, -1 ) ), names( "IP type" ) );
   EXPECT_THAT( breach( call( &Shim::fieldQualifyPacketRes, 0, id, ~0u, shim.exactMatchMask() ) ),
      names( "packet result" ) );
   EXPECT_EQ( lockField( 0 ), ok );
   EXPECT_THAT(
      breach( call( &Shim::fieldActionPortsAdd, 0, id, -1, PortBitmap() ) ), names( "action" ) );
   EXPECT_EQ( unlockField( 0 ), ok );
   EXPECT_EQ( breach( call( &Shim::l3Ip4OptionsProfileCreate, 0, 1,
                 shim.ipOptionAction( IpOptionAction::CopyCPUAndDrop ), &profile ) ),
      "" );
}

TEST_F( CriticTest, VlansAndTheirPortsMustExist )
{
   using Shim = SdkShimInterface;
   const PortBitmap one = *PortBitmap::parse( "1" );
   const auto add = [ & ]( U16 vlan, const char* ports, const char* untagged ) {
      return call(
         &Shim::vlanPortAdd, 0, vlan, *PortBitmap::parse( ports ), *PortBitmap::parse( untagged ) );
   };
   hardware.vlanIs( 10 );
   EXPECT_EQ( add( 10, "1-2", "2" ), ok );
   EXPECT_EQ( add( 10, "1,99", "1" ), code( SdkCode::Port ) );
   EXPECT_EQ( add( 10, "1", "1-2" ), code( SdkCode::Port ) );
   EXPECT_EQ( add( 11, "1", "1" ), code( SdkCode::NotFound ) );
   EXPECT_EQ( call( &Shim::vlanPortRemove, 0, U16{ 11 }, one ), code( SdkCode::NotFound ) );
   VlanControl control;
   EXPECT_EQ( call( &Shim::vlanControlGet, 0, U16{ 11 }, &control ), code( SdkCode::NotFound ) );
   EXPECT_EQ( call( &Shim::vlanControlSet, 0, U16{ 11 }, control ), code( SdkCode::NotFound ) );
   EXPECT_EQ( hardware.chip( 0 ).vlan( 10 )->untagged.contains( 1 ), false );
   EXPECT_EQ( hardware.chip( 0 ).vlan( 10 )->untagged.contains( 2 ), true );
}

TEST_F( CriticTest, NothingFollowsTheErrorHook )
{
   shim.errorHook();
   manager->getEntry( 0, id, "one", {} );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "the agent should have ended" ) ) );
   hardware.critic().restart();
   manager->getEntry( 0, id, "one", {} );
   EXPECT_THAT( breaches(), IsEmpty() );
}

TEST_F( CriticTest, ABreachEndsTheProcessUnlessItIsCollected )
{
   hardware.critic().handlerIs( {} );
   EXPECT_DEATH( bareCall( &SdkShimInterface::fieldLock, 4 ),
      "broken convention: bcm_field_lock on unit 4: the pre-call hook did not run right before" );
}

} // namespace Strata::Sim
