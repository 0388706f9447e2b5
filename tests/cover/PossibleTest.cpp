// Packets that a proof must not exclude, one entry by hand for each.
#include "sim/chip/MyStationTable.h"
#include "tests/cover/NeedsSolver.h"
#include "tests/packet/PacketTest.h"
#include "tool/packet/EntryCover.h"

#include <gmock/gmock.h>

namespace Strata::Cover {
namespace {

using namespace Sim;

/// Entries by hand, the first of their range.
class PossibleTest : public PacketTest
{
 protected:
   Coverage covered( const std::vector<FieldQualifier>& qualifiers,
      const std::string& range = "main", U32 behind = 0 )
   {
      FieldGroup& group = *chip().group( range );
      const U32 id = group.profile().base + behind;
      group.release( id );
      group.claim( id, "by hand", {} );
      for( const FieldQualifier& qualifier : qualifiers )
         group.find( id )->claim.qualifierIs( qualifier );
      group.find( id )->claim.actionIs(
         { .role = range == "main" ? FieldAction::CopyToCpu : FieldAction::DoNotCheckUrpf,
            .parameter0 = range == "main" ? 0U : 1U } );
      group.install( id );
      return Tool::entryCover( session, { 0 }, range ).at( behind );
   }
   static FieldQualifier bit( Qualifier role, U64 value )
   {
      return { .role = role, .data = value, .mask = 1 };
   }
   static FieldQualifier exact( Qualifier role, U64 value )
   {
      return { .role = role, .data = value, .mask = ~U64{ 0 } };
   }
   FieldQualifier from( std::initializer_list<U32> ports )
   {
      FieldQualifier qualifier{ .role = Qualifier::InPorts };
      for( const U32 port : ports )
         qualifier.ports.add( port );
      qualifier.allPorts = chip().ports();
      return qualifier;
   }
};

TEST_F( PossibleTest, PacketsAreDroppedThatAreTooLongForAnotherVlan )
{
   NEEDS_SOLVER();
   bringUp( "hsdk" );
   const Coverage about = covered(
      { bit( Qualifier::L3Routable, 1 ), bit( Qualifier::Drop, 1 ), exact( Qualifier::Ttl, 64 ),
         exact( Qualifier::InterfaceClassL2, 0 ), bit( Qualifier::TunnelTerminated, 0 ),
         { .role = Qualifier::DstPort, .mask = 0xFF, .port = 4, .portMask = 0xFF } } );
   EXPECT_EQ( about.outcome, Outcome::found ) << testing::PrintToString( about.reasons );
}

TEST_F( PossibleTest, ArpThatNoWordsMakeEndsHereToo )
{
   NEEDS_SOLVER();
   bringUp( "hsdk" );
   run( "call addMyStationTcamEntry 0 1 02:00:a1:00:00:01 false 0 false true true" );
   for( const FieldIpType type : { FieldIpType::ArpRequest, FieldIpType::ArpReply } )
      covered( { exact( Qualifier::IpType, static_cast<U64>( type ) ) }, "main",
         type == FieldIpType::ArpReply );
   const Coverage about =
      covered( { exact( Qualifier::EtherType, etherTypeArp ), bit( Qualifier::MyStationHit, 1 ),
                  bit( Qualifier::Drop, 1 ), bit( Qualifier::IngressStpState, 1 ),
                  bit( Qualifier::TunnelTerminated, 0 ) },
         "main", 2 );
   EXPECT_EQ( about.outcome, Outcome::unknown ) << testing::PrintToString( about.reasons );
}

TEST_F( PossibleTest, TunnelsEndInTheVlanThatTheyArriveIn )
{
   NEEDS_SOLVER();
   bringUp( "hsdk" );
   run( "no vlan 1 members Ethernet7\ncall handleVlanRoutingState 30 ip4,ip6,mcast" );
   const Coverage about = covered( { bit( Qualifier::TunnelTerminated, 1 ), from( { 7 } ),
      exact( Qualifier::PacketRes, static_cast<U64>( PacketResult::L3MCKNOWN ) ) } );
   EXPECT_EQ( about.outcome, Outcome::found ) << testing::PrintToString( about.reasons );
}

TEST_F( PossibleTest, TunnelsEndInAVlanThatOnlyAStationNames )
{
   NEEDS_SOLVER();
   bringUp( "hsdk" );
   run( R"(call addMyStationTcamEntry 0 1 02:00:a1:00:00:01 true 100 false false true
call addMyStationTcamEntry 0 2 02:00:a1:00:00:99 true 50 false false true)" );
   const Coverage about = covered( { bit( Qualifier::TunnelTerminated, 1 ),
      bit( Qualifier::MyStationHit, 1 ), exact( Qualifier::InterfaceClassL2, 0 ) } );
   EXPECT_EQ( about.outcome, Outcome::found ) << testing::PrintToString( about.reasons );
   EXPECT_FALSE( agent().hardware().chip( 0 ).vlans().contains( 50 ) );
}

TEST_F( PossibleTest, PortsAreToldApartByTheirStation )
{
   NEEDS_SOLVER();
   run( "switch hsdk ports 140\nrouter 02:00:a1:00:00:01\nbring-up" );
   run( "call addMyStationTcamEntry 0 5 02:00:a1:00:00:55 false 0 true false true" );
   MemoryEntry entry = chip().myStation().entries().at( 5 );
   memoryFieldSet( entry, MemoryField::IngressPortNum, 1U );
   memoryFieldSet( entry, MemoryField::IngressPortNumMask, 0x7FU );
   chip().myStation().write( 5, entry );
   for( const U64 hit : { 0U, 1U } ) {
      const Coverage about = covered( { from( { 1, 129 } ), bit( Qualifier::MyStationHit, hit ),
         bit( Qualifier::TunnelTerminated, 0 ), exact( Qualifier::DstMac, 0x0200A1000055 ) } );
      EXPECT_EQ( about.outcome, Outcome::found ) << testing::PrintToString( about.reasons );
   }
}

TEST_F( PossibleTest, OnePortChecksTheReversePath )
{
   NEEDS_SOLVER();
   bringUp( "register" );
   run( "call doUrpfHwInitStage1 true" );
   chip().controlIs( SwitchControl::L3InterfaceUrpfEnable, 0 );
   chip().controlIs( 3, SwitchControl::L3InterfaceUrpfEnable, 1 );
   const auto outcome = [ & ]( U32 port ) {
      return covered( { bit( Qualifier::L3Routable, 1 ), from( { port } ) }, "urpf-single-wide" )
         .outcome;
   };
   EXPECT_EQ( outcome( 3 ), Outcome::found );
   EXPECT_EQ( outcome( 2 ), Outcome::proved );
}

TEST_F( PossibleTest, AReasonNamesTheValuesThatNoPacketPresents )
{
   NEEDS_SOLVER();
   bringUp( "hsdk" );
   const FieldQualifier request =
      exact( Qualifier::IpType, static_cast<U64>( FieldIpType::ArpRequest ) );
   const FieldQualifier ttl = exact( Qualifier::Ttl, 64 );
   const FieldQualifier udp = exact( Qualifier::IpProtocol, 17 );
   EXPECT_THAT( covered( { from( { 1, 2 } ), udp, bit( Qualifier::HiGig, 0 ), request } ).reasons,
      testing::ElementsAre(
         "no packet presents such values: " + udp.text() + " and " + request.text() ) );
   EXPECT_THAT( covered( { bit( Qualifier::HiGig, 0 ), ttl, request } ).reasons,
      testing::Contains( "no frame has such headers: " + ttl.text() + " and " + request.text() ) );
}

} // namespace
} // namespace Strata::Cover
