#include "tests/sim/SimTest.h"

namespace Strata::Sim {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class EntryManagerTest : public SimTest
{
 protected:
   void makeEntry( U32 unit, U32 id, const std::string& name )
   {
      manager->getEntry( unit, id, name, {} );
      call( &SdkShimInterface::fieldQualifyTtl, unit, id, U8{ 1 }, U8{ 0xFF } );
      addAction( unit, id, FieldAction::CopyToCpu );
   }
   FieldGroup& group( U32 unit ) { return *hardware.chip( unit ).group( "main" ); }
   const FieldEntry& entry( U32 unit, U32 id ) { return *group( unit ).find( id ); }

   Ref<SimTcamEntryManager> manager = hardware.tcamManager();
   const U32 base = manager->baseEntryId();
};

TEST_F( EntryManagerTest, HardwareChangesWithInstallationAlone )
{
   makeEntry( 0, base, "one" );
   EXPECT_FALSE( entry( 0, base ).installed() );
   EXPECT_EQ( manager->installEntry( 0, base ), ok );
   EXPECT_EQ( text( *entry( 0, base ).hardware ), "Ttl 1/0xff => CopyToCpu" );
   group( 0 ).find( base )->hits = 5;
   EXPECT_EQ( manager->enableEntry( 0, base, false, hardware.shim().fieldEntryEnableMode() ), ok );

   // A re-claim empties the qualifiers and leaves the rest; packets see no gap.
   EXPECT_EQ( manager->getEntry( 0, base, "one", {} ), base );
   EXPECT_EQ( text( entry( 0, base ).claim ), " => CopyToCpu" );
   EXPECT_EQ( text( *entry( 0, base ).hardware ), "Ttl 1/0xff => CopyToCpu" );
   EXPECT_FALSE( entry( 0, base ).enabled );
   EXPECT_EQ( manager->hitsForEntry( 0, base ), 5u );

   // Given twice, a qualifier is replaced.
   call( &SdkShimInterface::fieldQualifyTtl, 0, base, U8{ 0 }, U8{ 0xFF } );
   call( &SdkShimInterface::fieldQualifyTtl, 0, base, U8{ 2 }, U8{ 0xFF } );
   EXPECT_EQ( manager->reinstallEntry( 0, base ), ok );
   EXPECT_EQ( text( *entry( 0, base ).hardware ), "Ttl 2/0xff => CopyToCpu" );
   EXPECT_FALSE( entry( 0, base ).active() ) << "reinstallEntry keeps the enable state";
   EXPECT_EQ( manager->installEntry( 0, base ), ok );
   EXPECT_TRUE( entry( 0, base ).active() );

   manager->releaseEntry( 0, base );
   EXPECT_EQ( group( 0 ).find( base ), nullptr );
   makeEntry( 0, base, "another" );
   EXPECT_EQ( manager->hitsForEntry( 0, base ), 0u );
   EXPECT_THAT( breaches(), IsEmpty() );
}

TEST_F( EntryManagerTest, AClaimThatMayTakeTheNextIdGetsTheSameOneEachTime )
{
   const RequestKey key{ "unknown mac drop", true, "" };
   for( int pass = 0; pass < 2; ++pass ) {
      EXPECT_EQ( manager->getEntry( 0, base + 4, "first", key ), base + 4 );
      EXPECT_EQ( manager->getEntry( 0, base + 4, "second", key ), base + 5 );
   }
   manager->releaseEntry( 0, base + 4 );
   EXPECT_EQ( manager->getEntry( 0, base + 4, "second", key ), base + 5 )
      << "its own, not the free one";
   EXPECT_THAT( breaches(), IsEmpty() );

   manager->getEntry( 0, base + 4, "first", key );
   EXPECT_EQ( manager->getEntry( 0, base + 4, "third", key ), 0u );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "held under another name" ) ) );
   EXPECT_EQ( manager->getEntry( 4, base + 5, "third", {} ), base + 5 ) << "a unit of its own";
   EXPECT_EQ( manager->getEntry( 0, base + 53, "beyond", {} ), 0u );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "outside the manager's range" ) ) );
}

TEST_F( EntryManagerTest, AFullUnitTurnsClaimsAwayWithoutBlame )
{
   group( 0 ).roomIs( 2 );
   makeEntry( 0, base, "one" );
   makeEntry( 0, base + 1, "two" );
   EXPECT_EQ( manager->getEntry( 0, base + 2, "three", {} ), 0u );
   EXPECT_EQ( call( &SdkShimInterface::fieldQualifyDrop, 0, base + 2, U8{ 0 }, U8{ 1 } ),
      code( SdkCode::NotFound ) );
   EXPECT_EQ( manager->getEntry( 4, base + 2, "three", {} ), base + 2 );

   manager->installEntry( 0, base );
   manager->removeEntry( 0, base );
   EXPECT_EQ( manager->getEntry( 0, base + 2, "three", {} ), base + 2 );
   EXPECT_EQ( manager->installEntry( 0, base ), code( SdkCode::Full ) );
   manager->releaseEntry( 0, base + 2 );
   EXPECT_EQ( manager->installEntry( 0, base ), ok ) << "removal kept the definition";
   EXPECT_EQ( text( *entry( 0, base ).hardware ), "Ttl 1/0xff => CopyToCpu" );
   EXPECT_THAT( breaches(), IsEmpty() );
}

TEST_F( EntryManagerTest, WhatIsNotThereIsNotFound )
{
   const int mode = hardware.shim().fieldEntryEnableMode();
   EXPECT_EQ( manager->installEntry( 0, base ), code( SdkCode::NotFound ) );
   EXPECT_EQ( manager->enableEntry( 0, base, true, mode ), code( SdkCode::NotFound ) );
   manager->removeEntry( 0, base );
   manager->releaseEntry( 0, base );
   EXPECT_THAT( breaches(), IsEmpty() );
   manager->releaseEntry( 0, base + 53 );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "1054 is outside the manager's range" ) ) );

   EXPECT_EQ( manager->addInPortsForEntry( 0, base, {}, {} ), code( SdkCode::NotFound ) );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "is not claimed" ) ) );
   makeEntry( 0, base, "one" );
   EXPECT_EQ( manager->reinstallEntry( 0, base ), code( SdkCode::NotFound ) );
   EXPECT_EQ( manager->enableEntry( 0, base, true, mode + 1 ), code( SdkCode::Param ) );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "no such number for the mode" ) ) );
}

TEST_F( EntryManagerTest, PortSetsBecomeQualifiers )
{
   const PortBitmap& all = hardware.chip( 0 ).ports();
   makeEntry( 0, base, "one" );
   EXPECT_EQ( manager->addInPortsForEntry( 0, base, *PortBitmap::parse( "1-3" ), all ), ok );
   EXPECT_EQ( manager->addOutLoopbackPortForEntry( 0, base, 258, all ), ok );
   EXPECT_EQ( text( entry( 0, base ).claim ),
      "Ttl 1/0xff; InPorts 1-3; OutLoopback 258 from 0-4,259 => CopyToCpu" );
}

class AclGroupTest : public SimTest
{
 protected:
   AclGroupTest() : SimTest( "acl" ) {}
};

TEST_F( AclGroupTest, HasNeitherClassesNorPortBitmapsInItsKey )
{
   const Ref<SimTcamEntryManager> manager = hardware.tcamManager();
   const U32 id = manager->baseEntryId();
   EXPECT_TRUE( manager->supportsAclGroup() );
   manager->getEntry( 0, id, "one", {} );
   EXPECT_EQ( manager->addInPortsForEntry( 0, id, {}, {} ), code( SdkCode::Unavail ) );
   EXPECT_EQ( manager->qualifyPortsClassId( 0, id, *PortBitmap::parse( "2" ), true ), ok );
   EXPECT_EQ( call( &SdkShimInterface::fieldQualifySrcClassField, 0, id, 0, 0x20 ),
      code( SdkCode::Unavail ) );
   addAction( 0, id, FieldAction::Drop );
   EXPECT_EQ( manager->installEntry( 0, id ), ok );
   EXPECT_EQ(
      text( *hardware.chip( 0 ).group( "main" )->find( id )->hardware ), "InPortsClass 2 => Drop" );
   EXPECT_THAT( breaches(), IsEmpty() );
}

} // namespace Strata::Sim
