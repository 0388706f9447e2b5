#include "routing/TcamL3EntryId.h"
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
   EXPECT_EQ( entry( 0, base ).hardware->text(), "Ttl 1/0xff => CopyToCpu" );
   group( 0 ).find( base )->hits = 5;
   EXPECT_EQ( manager->enableEntry( 0, base, false, hardware.shim().fieldEntryEnableMode() ), ok );

   // A repeated claim clears the qualifiers and keeps the rest, so packets match without interruption.
   EXPECT_EQ( manager->getEntry( 0, base, "one", {} ), base );
   EXPECT_EQ( entry( 0, base ).claim.text(), "every packet => CopyToCpu" );
   EXPECT_EQ( entry( 0, base ).hardware->text(), "Ttl 1/0xff => CopyToCpu" );
   EXPECT_FALSE( entry( 0, base ).enabled );
   EXPECT_EQ( manager->hitsForEntry( 0, base ), 5u );

   // A qualifier that is given twice is replaced.
   call( &SdkShimInterface::fieldQualifyTtl, 0, base, U8{ 0 }, U8{ 0xFF } );
   call( &SdkShimInterface::fieldQualifyTtl, 0, base, U8{ 2 }, U8{ 0xFF } );
   EXPECT_EQ( manager->reinstallEntry( 0, base ), ok );
   EXPECT_EQ( entry( 0, base ).hardware->text(), "Ttl 2/0xff => CopyToCpu" );
   EXPECT_FALSE( entry( 0, base ).active() ) << "reinstallEntry keeps the enable state";
   EXPECT_EQ( manager->installEntry( 0, base ), ok );
   EXPECT_TRUE( entry( 0, base ).active() );

   manager->releaseEntry( 0, base );
   EXPECT_EQ( group( 0 ).find( base ), nullptr );
   makeEntry( 0, base, "another" );
   EXPECT_EQ( manager->hitsForEntry( 0, base ), 0u );
   EXPECT_THAT( breaches(), IsEmpty() );
}

TEST_F( EntryManagerTest, ANewAgentAdoptsWhatItClaimsAndTheRestIsSwept )
{
   makeEntry( 0, base, "kept" );
   makeEntry( 0, base + 1, "left" );
   makeEntry( 0, base + 2, "taken" );
   makeEntry( 0, base + 3, "never installed" );
   for( const U32 id : { base, base + 1, base + 2 } )
      EXPECT_EQ( manager->installEntry( 0, id ), ok );
   manager->enableEntry( 0, base, false, hardware.shim().fieldEntryEnableMode() );
   group( 0 ).find( base )->hits = 5;
   group( 0 ).abandon();
   EXPECT_EQ( group( 0 ).room() - group( 0 ).roomLeft(), 3u );

   // Until it is claimed again, the manager does not change it.
   EXPECT_NE( manager->reinstallEntry( 0, base ), ok );
   manager->releaseEntry( 0, base );
   EXPECT_EQ( manager->getEntry( 0, base, "kept", {} ), base );
   EXPECT_EQ( entry( 0, base ).claim.text(), "every packet => nothing" )
      << "without the actions of before";
   EXPECT_EQ( entry( 0, base ).hardware->text(), "Ttl 1/0xff => CopyToCpu" );
   EXPECT_FALSE( entry( 0, base ).enabled );
   EXPECT_EQ( manager->hitsForEntry( 0, base ), 0u );
   EXPECT_EQ( manager->getEntry( 0, base + 2, "another", {} ), base + 2 );
   EXPECT_FALSE( entry( 0, base + 2 ).installed() );

   EXPECT_THAT( group( 0 ).sweep(), ElementsAre( "left" ) );
   EXPECT_EQ( group( 0 ).find( base + 1 ), nullptr );
   EXPECT_EQ( group( 0 ).room() - group( 0 ).roomLeft(), 2u );
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
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "claimed under another name" ) ) );
   EXPECT_EQ( manager->getEntry( 4, base + 5, "third", {} ), base + 5 ) << "a unit of its own";
   EXPECT_EQ( manager->getEntry( 0, base + mainRangeIds, "beyond", {} ), 0u );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "outside the manager's range" ) ) );
}

TEST_F( EntryManagerTest, AFullUnitRefusesClaimsWithoutABreach )
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
   EXPECT_EQ( entry( 0, base ).hardware->text(), "Ttl 1/0xff => CopyToCpu" );
   EXPECT_THAT( breaches(), IsEmpty() );
}

TEST_F( EntryManagerTest, EntriesThatDoNotExistAreNotFound )
{
   const int mode = hardware.shim().fieldEntryEnableMode();
   EXPECT_EQ( manager->installEntry( 0, base ), code( SdkCode::NotFound ) );
   EXPECT_EQ( manager->enableEntry( 0, base, true, mode ), code( SdkCode::NotFound ) );
   manager->removeEntry( 0, base );
   manager->releaseEntry( 0, base );
   EXPECT_THAT( breaches(), IsEmpty() );
   manager->releaseEntry( 0, base + mainRangeIds );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( std::to_string( base + mainRangeIds ) +
                                                    " is outside the manager's range" ) ) );

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
   EXPECT_EQ( entry( 0, base ).claim.text(),
      "Ttl 1/0xff; InPorts 1-3; OutLoopback 258 from 0-4,259 => CopyToCpu" );
   for( const int none : { -1, 5, 4000 } )
      EXPECT_EQ( manager->addOutLoopbackPortForEntry( 0, base, none, all ), code( SdkCode::Port ) );
   EXPECT_EQ( manager->addInPortsForEntry( 0, base, *PortBitmap::parse( "1" ), {} ),
      code( SdkCode::Param ) );
   EXPECT_THAT( breaches(), IsEmpty() );
   // Port sets use logical numbers, which continue from unit to unit.
   const PortBitmap& others = hardware.chip( 4 ).ports();
   makeEntry( 4, base, "one" );
   EXPECT_EQ( manager->addOutLoopbackPortForEntry( 4, base, 6, others ), ok );
   EXPECT_EQ( manager->addOutLoopbackPortForEntry( 4, base, 2, others ), code( SdkCode::Port ) );
   EXPECT_EQ( manager->addInPortsForEntry( 0, base, *PortBitmap::parse( "1,7-9" ), all ), ok );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "ports 7-9 are not the unit's" ) ) );
}

TEST_F( EntryManagerTest, OnlyFloodEntriesMayNamePortsOfOtherUnits )
{
   const int redirect = hardware.shim().fieldAction( FieldAction::RedirectPbmp );
   hardware.faults().inject(
      { .call = "bcm_field_qualify_Ttl", .nth = 2, .code = SdkCode::Unavail } );
   for( const U32 id : { base, base + 1, base + 2, base + 3 } ) {
      manager->getEntry( 0, id, "one", {} );
      call( &SdkShimInterface::fieldLock, 0 );
      call( &SdkShimInterface::fieldActionPortsAdd, 0, id, redirect, *PortBitmap::parse( "2,9" ) );
      call( &SdkShimInterface::fieldUnlock, 0 );
   }
   call( &SdkShimInterface::fieldQualifyTtl, 0, base, U8{ 1 }, U8{ 0xFF } );
   call( &SdkShimInterface::fieldQualifyDstPort, 0, base + 1, 0, 0xFF, 0xF0, 0xFF );
   EXPECT_EQ( manager->installEntry( 0, base + 1 ), ok );
   EXPECT_THAT( breaches(), IsEmpty() );
   EXPECT_EQ( manager->installEntry( 0, base ), ok );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "RedirectPbmp: ports 9 are not" ) ) );
   // Neither may entries of floods on a loopback port, nor entries of which another qualifier is unavailable.
   call( &SdkShimInterface::fieldQualifyDstPort, 0, base + 2, 0, 0xFF, 0xF0, 0xFF );
   manager->addOutLoopbackPortForEntry( 0, base + 2, 258, hardware.chip( 0 ).ports() );
   call( &SdkShimInterface::fieldQualifyTtl, 0, base + 3, U8{ 1 }, U8{ 0xFF } );
   manager->installEntry( 0, base + 2 );
   manager->installEntry( 0, base + 3 );
   EXPECT_THAT( breaches(), ElementsAre( HasSubstr( "ports 9 are" ), HasSubstr( "ports 9 are" ) ) );
}

TEST_F( EntryManagerTest, TheSdkRefusesQualifiersThatNoPacketCanMatch )
{
   using Shim = SdkShimInterface;
   const SimShim& shim = hardware.shim();
   const U32 lookup = hardware.tcamManager( "php-lsp-ping" )->baseEntryId();
   const U32 urpf = hardware.tcamManager( "urpf-single-wide" )->baseEntryId();
   hardware.tcamManager( "php-lsp-ping" )->getEntry( 0, lookup, "lookup", {} );
   hardware.tcamManager( "urpf-single-wide" )->getEntry( 0, urpf, "urpf", {} );
   for( U32 i = 0; i < 2; ++i )
      manager->getEntry( 0, base + i, "one", {} );
   const U32 exact = shim.exactMatchMask();
   const int ipv6 = shim.fieldIpType( FieldIpType::Ipv6 );
   struct Row
   {
      const char* what;
      int rc;
      SdkCode expected;
   };
   const Row rows[] = {
      { "data too wide", call( &Shim::fieldQualifyL3Routable, 0, base, U8{ 2 }, U8{ 3 } ),
         SdkCode::Param },
      { "a wide mask", call( &Shim::fieldQualifyL3Routable, 0, base, U8{ 1 }, U8{ 0xFF } ),
         SdkCode::None },
      { "a class too wide", call( &Shim::fieldQualifySrcClassField, 0, base, 0x1000, 0x1000 ),
         SdkCode::Param },
      { "a group too wide", call( &Shim::fieldQualifyDstMcastGroup, 0, base, 0x10000, exact ),
         SdkCode::Param },
      { "priority 16", call( &Shim::fieldQualifyIntPriority, 0, base, 16, exact ), SdkCode::Param },
      { "data outside", call( &Shim::fieldQualifyEtherType, 0, base, U16{ 0x0806 }, U16{ 0xFF } ),
         SdkCode::Param },
      { "no mask", call( &Shim::fieldQualifyTtl, 0, base, U8{ 0 }, U8{ 0 } ), SdkCode::Param },
      { "no mask at all", call( &Shim::fieldQualifyDstPort, 0, base, 0, 0, 0, 0 ), SdkCode::Param },
      { "port outside", call( &Shim::fieldQualifyDstPort, 0, base, 99, 0xFF, 0xF5, 0xF2 ),
         SdkCode::Param },
      { "any port", call( &Shim::fieldQualifyDstPort, 0, base, 250, 0xFF, 0, 0 ), SdkCode::None },
      { "any module", call( &Shim::fieldQualifyDstPort, 0, base, 0, 0, 0xF2, 0xFF ),
         SdkCode::None },
      { "any destination", call( &Shim::fieldQualifyDstPort, 0, base, 99, 0xFF, 0xF2, 0xFF ),
         SdkCode::None },
      { "IPv4 in IPv4", call( &Shim::fieldQualifyDstIp, 0, base, 0x7F000000, 0xFF000000 ),
         SdkCode::None },
      { "IPv4 in any IPv4",
         call( &Shim::fieldQualifyIpType, 0, base, shim.fieldIpType( FieldIpType::Ipv4Any ) ),
         SdkCode::None },
      { "IPv4 in IPv6", call( &Shim::fieldQualifyIpType, 0, base, ipv6 ), SdkCode::Config },
      { "IPv6", call( &Shim::fieldQualifyIpType, 0, base + 1, ipv6 ), SdkCode::None },
      { "IPv6 with IPv4", call( &Shim::fieldQualifyDstIp, 0, base + 1, 0x7F000000, 0xFF000000 ),
         SdkCode::Config },
      { "L3 class in the lookup", call( &Shim::fieldQualifyInterfaceClassL3, 0, lookup, 1, 1 ),
         SdkCode::Param },
      { "L3 class for uRPF", call( &Shim::fieldQualifyInterfaceClassL3, 0, urpf, 1, 1 ),
         SdkCode::None },
      { "destination for uRPF", call( &Shim::fieldQualifyDstPort, 0, urpf, 250, 0xFF, 0, 0 ),
         SdkCode::Param },
      { "group for uRPF", call( &Shim::fieldQualifyDstMcastGroup, 0, urpf, 1, exact ),
         SdkCode::Param },
      { "result for uRPF",
         call(
            &Shim::fieldQualifyPacketRes, 0, urpf, shim.packetResult( PacketResult::L2UC ), exact ),
         SdkCode::Param },
   };
   for( const auto& [ what, rc, expected ] : rows )
      EXPECT_EQ( rc, code( expected ) ) << what;
   for( const auto bit : { &Shim::fieldQualifyDrop, &Shim::fieldQualifyL3Routable,
           &Shim::fieldQualifyMyStationHit, &Shim::fieldQualifyTunnelTerminated } )
      EXPECT_EQ( call( bit, 0, base, 2, 3 ), code( SdkCode::Param ) );
   for( const auto bit :
      { &Shim::fieldQualifyDrop, &Shim::fieldQualifyL3Routable, &Shim::fieldQualifyMyStationHit } )
      EXPECT_EQ( call( bit, 0, lookup, 1, 1 ), code( SdkCode::Param ) );
   for( const auto classes :
      { &Shim::fieldQualifyInterfaceClassL2, &Shim::fieldQualifyInterfaceClassL3 } )
      EXPECT_EQ( call( classes, 0, base, 0x1000, 0x1000 ), code( SdkCode::Param ) );
   EXPECT_THAT( breaches(), IsEmpty() );
}

TEST_F( EntryManagerTest, TheSdkRefusesActionsThatDoNothingOrContradict )
{
   using enum FieldAction;
   const U32 lookup = hardware.tcamManager( "php-lsp-ping" )->baseEntryId();
   const U32 urpf = hardware.tcamManager( "urpf-single-wide" )->baseEntryId();
   hardware.tcamManager( "php-lsp-ping" )->getEntry( 0, lookup, "lookup", {} );
   hardware.tcamManager( "urpf-single-wide" )->getEntry( 0, urpf, "urpf", {} );
   for( U32 i = 0; i < 4; ++i )
      manager->getEntry( 0, base + i, "one", {} );
   struct Row
   {
      U32 id;
      FieldAction action;
      U32 parameter0;
      U32 parameter1;
      SdkCode expected;
   };
   const Row rows[] = {
      { base, CopyToCpu, 1, 0, SdkCode::Param },
      { base, Drop, 0, 1, SdkCode::Param },
      { base, CosQCpuNew, 47, 0, SdkCode::None },
      { base, CosQCpuNew, 48, 0, SdkCode::Param },
      { base, CosQCpuNew, 1, 1, SdkCode::Param },
      { base, RedirectMcast, 1, 1, SdkCode::Param },
      { base, RedirectMcast, 0, 0, SdkCode::Param },
      { base, RedirectMcast, 4096, 0, SdkCode::Param },
      { base, RedirectMcast, 4095, 0, SdkCode::None },
      { base, RedirectMcast, 1, 0, SdkCode::None }, // replaces the other group
      { base, RedirectPort, 1, 5, SdkCode::Port },
      { base, RedirectPort, 2, 1, SdkCode::Port },
      { base, RedirectPort, 1, 4, SdkCode::Config }, // beside RedirectMcast
      { base, Drop, 0, 0, SdkCode::Config },
      { base + 1, RedirectPort, 1, 4, SdkCode::None }, // the port of another unit
      { base + 2, Drop, 0, 0, SdkCode::None },
      { base + 2, RedirectMcast, 1, 0, SdkCode::Config },
      { base + 2, CopyToCpu, 0, 0, SdkCode::None },
      { base + 2, CopyToCpuCancel, 0, 0, SdkCode::Config },
      { base + 3, CopyToCpuCancel, 0, 0, SdkCode::None },
      { base + 3, CopyToCpu, 0, 0, SdkCode::Config },
      { base + 2, DoNotCheckUrpf, 1, 0, SdkCode::Param },
      { urpf, DoNotCheckUrpf, 0, 0, SdkCode::Param },
      { urpf, DoNotCheckUrpf, 1, 1, SdkCode::Param },
      { urpf, DoNotCheckUrpf, 1, 0, SdkCode::None },
      { urpf, Drop, 0, 0, SdkCode::Param },
      { lookup, RedirectMcast, 1, 0, SdkCode::Param },
      { lookup, RedirectPort, 1, 4, SdkCode::Param },
      { lookup, CopyToCpuCancel, 0, 0, SdkCode::Param },
      { lookup, Drop, 0, 0, SdkCode::None },
   };
   for( const auto& [ id, action, parameter0, parameter1, expected ] : rows )
      EXPECT_EQ( call( &SdkShimInterface::fieldActionAdd, 0, id,
                    hardware.shim().fieldAction( action ), parameter0, parameter1 ),
         code( expected ) )
         << id << " " << roleName( action ) << " " << parameter0 << " " << parameter1;
   // base redirects to a group, base + 2 drops.
   const auto addPorts = [ & ]( U32 id, FieldAction action ) {
      return call( &SdkShimInterface::fieldActionPortsAdd, 0, id,
         hardware.shim().fieldAction( action ), *PortBitmap::parse( "1" ) );
   };
   EXPECT_EQ( addPorts( lookup, RedirectPbmp ), code( SdkCode::Param ) );
   EXPECT_EQ( addPorts( lookup, EgressPortsAdd ), code( SdkCode::Param ) );
   EXPECT_EQ( addPorts( base, RedirectPbmp ), code( SdkCode::Config ) );
   EXPECT_EQ( addPorts( base + 2, RedirectPbmp ), code( SdkCode::Config ) );
   breaches(); // discards the breaches about the FP lock
}

class HiGigTest : public SimTest
{
 protected:
   HiGigTest() : SimTest( "register" ) {}
};

TEST_F( HiGigTest, IsOneBitAndItsTrunkActionsAreNotOfTheLookupStage )
{
   const Ref<SimTcamEntryManager> lookup = hardware.tcamManager( "php-lsp-ping" );
   const U32 id = lookup->baseEntryId();
   lookup->getEntry( 0, id, "one", {} );
   EXPECT_EQ( call( &SdkShimInterface::fieldQualifyHiGig, 0, id, 2, 3 ), code( SdkCode::Param ) );
   EXPECT_EQ( addAction( 0, id, FieldAction::HgTrunkCancel ), code( SdkCode::Param ) );
   EXPECT_EQ( addAction( 0, id, FieldAction::HgTrunkCancelLag ), code( SdkCode::Param ) );
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
      hardware.chip( 0 ).group( "main" )->find( id )->hardware->text(), "InPortsClass 2 => Drop" );
   EXPECT_THAT( breaches(), IsEmpty() );
}

} // namespace Strata::Sim
