// Entries that are installed by hand, with what no agent installs together.
#include "cover/Cover.h"
#include "tests/cover/NeedsSolver.h"
#include "tests/packet/PacketTest.h"
#include "tool/packet/EntryCover.h"
#include "tool/packet/EntryFindings.h"
#include "tool/packet/TableTrial.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace Strata::Cover {
namespace {

using namespace Sim;

/// Installs the entry with this place in its range. Returns its id.
U32 installByHand( FieldGroup& group, U32 place, const std::vector<FieldQualifier>& qualifiers,
   const std::vector<FieldActionData>& actions = { { .role = FieldAction::CopyToCpu } } )
{
   const U32 id = group.profile().base + place;
   group.release( id );
   group.claim( id, "by hand " + std::to_string( place ), {} );
   for( const FieldQualifier& qualifier : qualifiers )
      group.find( id )->claim.qualifierIs( qualifier );
   for( const FieldActionData& action : actions )
      group.find( id )->claim.actionIs( action );
   group.install( id );
   return id;
}

Coverage coverOf( Tool::Session& session, U32 place )
{
   return Tool::entryCover( session, { 0 }, { {}, "main", place, {} } ).front();
}

TEST_F( PacketTest, FindingsNameWhatIsWrong )
{
   bringUp( "hsdk" );
   FieldGroup& group = *chip().group( "main" );
   const FieldQualifier ttl{ .role = Qualifier::Ttl, .data = 256, .mask = 0xFF };
   const U32 id = installByHand( group, 0, { ttl },
      { { .role = FieldAction::DoNotCheckUrpf, .parameter0 = 1 },
         { .role = FieldAction::CopyToCpu }, { .role = FieldAction::CopyToCpuCancel } } );
   const auto findings = [ & ] {
      std::string text;
      const Coverage about{ .range = {}, .id = id, .name = {}, .outcome = Outcome::proved };
      for( const Tool::EntryFinding& finding : Tool::findingsOf( session, about ) )
         text += finding.text + "\n";
      return text;
   };
   EXPECT_EQ( findings(), "DoNotCheckUrpf 1 0 means nothing at this stage\n"
                          "CopyToCpu and CopyToCpuCancel contradict each other\n"
                          "the field has no such value: Ttl 256/0xff\n" );
   const auto in = []( Qualifier role, const char* port ) {
      return FieldQualifier{ .role = role,
         .ports = *PortBitmap::parse( port ),
         .allPorts = *PortBitmap::parse( "1-2" ) };
   };
   installByHand( group, 0, { in( Qualifier::InPorts, "1" ), in( Qualifier::InPortsClass, "2" ) } );
   EXPECT_EQ( findings(), "its qualifiers exclude each other\n" );
   EXPECT_EQ(
      ( FieldQualifier{ .role = Qualifier::PacketRes, .data = 99 }.text() ), "PacketRes 99" );
}

TEST_F( PacketTest, ProofsNameTheWidestEntryThatDoesSomethingElse )
{
   NEEDS_SOLVER();
   bringUp( "hsdk" );
   FieldGroup& group = *chip().group( "main" );
   const FieldQualifier arp{ .role = Qualifier::EtherType, .data = 0x806, .mask = 0xFFFF };
   const FieldQualifier even{ .role = Qualifier::IntPriority, .data = 0, .mask = 1 };
   const FieldQualifier odd{ .role = Qualifier::IntPriority, .data = 1, .mask = 1 };
   const std::vector<FieldActionData> drop{ { .role = FieldAction::Drop } };
   installByHand( group, 2, { arp } );
   for( const U32 wide : { 0U, 1U } ) {
      const U32 id = installByHand( group, wide, { even }, drop );
      installByHand( group, 1 - wide, { arp, odd }, drop );
      const Coverage about = coverOf( session, 2 );
      EXPECT_EQ( about.blockers.size(), 2U );
      EXPECT_EQ( about.largest, id );
   }
}

TEST_F( PacketTest, OnlyAVlanWithOnePortFloodsToOnePort )
{
   NEEDS_SOLVER();
   bringUp( "hsdk" );
   const FieldQualifier unknown{ .role = Qualifier::PacketRes,
      .data = static_cast<U64>( PacketResult::L2UNKNOWN ),
      .mask = 0xFF };
   const FieldQualifier leaves{
      .role = Qualifier::OutPortsClass, .ports = *PortBitmap::parse( "1-8" ) };
   installByHand( *chip().group( "main" ), 0, { unknown, leaves } );
   EXPECT_THAT(
      coverOf( session, 0 ).tried, testing::Each( testing::Not( testing::StartsWith( "in " ) ) ) )
      << "it is known that no packet is worth a try";
   run( "vlan 50 members Ethernet3" );
   EXPECT_EQ( coverOf( session, 0 ).outcome, Outcome::found );
}

TEST_F( PacketTest, APacketIsNotOfAnotherEntryWithTheSameId )
{
   NEEDS_SOLVER();
   bringUp( "hsdk" );
   FieldGroup& group = *chip().group( "main" );
   Coverage about = coverOf( session, installByHand( group, 0, {} ) - group.profile().base );
   const ForwardingTables tables = session.packets().tables();
   RangeCover cover( agent().hardware(), tables, 0, group, Tool::packetTrials( session ) );
   EXPECT_TRUE( cover.isStill( about ) );
   about.name = "another";
   EXPECT_FALSE( cover.isStill( about ) );
}

TEST_F( PacketTest, PacketsHaveTheUsualWords )
{
   NEEDS_SOLVER();
   bringUp( "hsdk" );
   FieldGroup& group = *chip().group( "main" );
   const auto installOf = [ & ]( U32 place, U64 type ) {
      installByHand(
         group, place, { { .role = Qualifier::EtherType, .data = type, .mask = 0xFFFF } } );
   };
   const auto packet = [ & ]( U64 type ) {
      installOf( 0, type );
      return coverOf( session, 0 ).packet;
   };
   EXPECT_THAT( packet( 0x800 ), testing::HasSubstr( " ipv4" ) );
   EXPECT_THAT( packet( 0x806 ), testing::HasSubstr( " arp re" ) );
   EXPECT_THAT( packet( 0x86DD ), testing::HasSubstr( " ipv6" ) );
   EXPECT_THAT( packet( 0x9000 ), testing::HasSubstr( " ethertype 0x9000" ) );
   U32 place = 0;
   for( const U64 type : { 0x800U, 0x86DDU, 0x806U, 0x8847U } )
      installOf( place++, type );
   installByHand( group, place, {} );
   EXPECT_THAT( coverOf( session, place ).packet, testing::HasSubstr( " ethertype 0x88b5" ) );
}

/// Entries that packets meet although something drops them.
TEST_F( PacketTest, DroppedPacketsWinEntries )
{
   NEEDS_SOLVER();
   bringUp( "hsdk" );
   FieldGroup& group = *chip().group( "main" );
   const auto found = [ & ]( const std::vector<FieldQualifier>& qualifiers ) {
      installByHand( group, 0, qualifiers );
      return coverOf( session, 0 ).outcome;
   };
   const auto bit = []( Qualifier role, U64 value ) {
      return FieldQualifier{ .role = role, .data = value, .mask = 1 };
   };
   const FieldQualifier unknown{ .role = Qualifier::PacketRes,
      .data = static_cast<U64>( PacketResult::L2UNKNOWN ),
      .mask = 0xFF };
   const FieldQualifier ttl{ .role = Qualifier::Ttl, .data = 64, .mask = 0xFF };
   const FieldQualifier toPort{
      .role = Qualifier::DstPort, .data = 0, .mask = 0xFF, .port = 4, .portMask = 0xFF };
   EXPECT_EQ( found( { bit( Qualifier::IngressStpState, 0 ) } ), Outcome::found );
   EXPECT_EQ( found( { bit( Qualifier::Drop, 1 ), unknown } ), Outcome::found );
   EXPECT_EQ(
      found( { bit( Qualifier::Drop, 1 ), unknown, bit( Qualifier::TunnelTerminated, 1 ) } ),
      Outcome::found );
   EXPECT_EQ( found( { bit( Qualifier::L3Routable, 1 ), bit( Qualifier::Drop, 1 ), ttl, toPort } ),
      Outcome::found );
   EXPECT_EQ(
      found( { bit( Qualifier::L3Routable, 1 ), bit( Qualifier::IngressStpState, 0 ), toPort } ),
      Outcome::proved );
}

TEST_F( PacketTest, EveryPortCanBeADestination )
{
   NEEDS_SOLVER();
   bringUp( "hsdk", "router 02:00:a1:00:00:01" );
   run( "lag Port-Channel1 Ethernet5-6" );
   FieldGroup& group = *chip().group( "main" );
   const auto outcomeOf = [ & ]( U32 port ) {
      const FieldQualifier toPort{ .role = Qualifier::DstPort,
         .data = 0,
         .mask = 0xFF,
         .port = port,
         .portMask = 0xFFFFFFFF };
      installByHand( group, 0, { toPort }, { { .role = FieldAction::Drop } } );
      return coverOf( session, 0 ).outcome;
   };
   for( const U32 port : { 0U, 1U, 5U, 258U, 259U } )
      EXPECT_EQ( outcomeOf( port ), Outcome::found ) << port;
   EXPECT_NE( outcomeOf( 6 ), Outcome::proved )
      << "it sends for its LAG in a VLAN that the other port is not in";
   EXPECT_EQ( outcomeOf( 77 ), Outcome::proved );
}

} // namespace
} // namespace Strata::Cover
