// What it would take that a packet wins an entry: found and confirmed for each entry that has a packet, and the smallest
// change of those that are known.
//
// STRATA_WATCHED: at every how many entries and packets.
#include "tool/packet/Wants.h"
#include "tests/FromEnvironment.h"
#include "tests/cover/NeedsSolver.h"
#include "tests/packet/PacketTest.h"
#include "tool/packet/EntryCover.h"
#include "tool/packet/PacketWords.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Strata::Tool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class WantsTest : public PacketTest
{
 protected:
   void SetUp() override { NEEDS_SOLVER(); }
   Wanted wants( const std::string& packet, const std::string& entry )
   {
      const Line line = splitLine( "test", 1, packet );
      Words words( line );
      const Sim::Arrival arrival = takeArrival( session, words );
      const Line named = splitLine( "test", 1, entry );
      Words name( named );
      return wantsEntry( session, arrival, packet, takeEntry( session, name ) );
   }
   std::string shown( const std::string& command )
   {
      out.str( {} );
      run( command );
      return out.str();
   }
};

TEST_F( WantsTest, NamesTheSmallestChange )
{
   bringUp( "hsdk" );
   const std::string packet = "in Ethernet1 dmac router ipv4 src 10.1.0.5 dst 10.2.0.9";
   const Wanted toCpu = wants( packet, "nexthopToCpu" );
   EXPECT_THAT( toCpu.about.rows, ElementsAre( "route 10.2.0.9/32 via cpu" ) );
   EXPECT_EQ( toCpu.about.packet, packet ) << "as it is";
   EXPECT_THAT( toCpu.changes, IsEmpty() );
   const Wanted flood = wants( packet, "vlanFlooding" );
   EXPECT_THAT( flood.about.rows, ElementsAre( HasSubstr( "route 10.2.0.9/32 via flood" ) ) );
   EXPECT_EQ( flood.about.packet, packet );

   const std::string request = "\"drop ucast arp request with dmac=bridgeMac\"";
   const Wanted asks = wants( "in Ethernet1 dmac router vlan 10 arp reply", request );
   EXPECT_THAT( asks.about.rows, IsEmpty() );
   EXPECT_THAT( asks.changes, ElementsAre( "ArpRequest instead of ArpReply" ) );
   const Wanted other = wants( "in Ethernet1 dmac 00:00:00:00:00:55 vlan 10 arp request", request );
   EXPECT_THAT( other.about.rows, IsEmpty() );
   EXPECT_THAT( other.changes,
      ElementsAre( "destination MAC 02:00:a1:00:00:01 instead of 00:00:00:00:00:55" ) );
   const Wanted made = wants( "in Ethernet1 dmac router vlan 4000 arp request", request );
   EXPECT_THAT( made.about.rows, ElementsAre( "vlan 4000 svi" ) );
   EXPECT_THAT( made.changes, IsEmpty() );
   run( "no vlan 10 svi\nno vlan 20 svi\nno vlan 30 svi\nno vlan 100 svi" );
   const Wanted svi = wants( "in Ethernet1 dmac router vlan 10 arp request", request );
   EXPECT_THAT( svi.about.rows, ElementsAre( "vlan 10 svi" ) );
   EXPECT_THAT( svi.changes, IsEmpty() );
}

TEST_F( WantsTest, KeepsToThePlaceAndTheKindOfThePacket )
{
   bringUp( "hsdk" );
   run( "stp Ethernet1 blocking" );
   const std::string blocked = "in Ethernet1 dmac router ipv4 src 10.1.0.5 dst 10.2.0.9";
   const Wanted forwards = wants( blocked, "nexthopToCpu" );
   EXPECT_EQ( forwards.about.packet, blocked );
   EXPECT_THAT( forwards.about.rows,
      ElementsAre( HasSubstr( "stp Ethernet1 forwarding vlan" ), "route 10.2.0.9/32 via cpu" ) );
   EXPECT_THAT( wants( "in Ethernet2 dmac router vlan 10 arp request", "nexthopToCpu" ).changes,
      testing::Contains( HasSubstr( "EtherType 0x800 " ) ) );
   const Wanted group = wants( "in Ethernet2 dmac router ipv4 dst 239.1.2.3", "nexthopToCpu" );
   EXPECT_THAT( group.changes, ElementsAre( HasSubstr( "instead of 239.1.2.3" ) ) );
   EXPECT_THAT( group.about.tried, IsEmpty() ) << "routes of groups are known to be refused";
   run( "route 10.9.0.0/16 via cpu" );
   EXPECT_THAT(
      wants( "in Ethernet2 dmac router ipv4 options dst 10.9.0.1", "nexthopToCpu" ).changes,
      ElementsAre( "no IP options" ) )
      << "which no entry compares";
   EXPECT_THAT(
      wants( "in Ethernet2 dmac router ipv4 src 239.1.1.1 dst 10.9.0.1", "nexthopToCpu" ).changes,
      ElementsAre( HasSubstr( " instead of 239.1.1.1" ) ) );
   EXPECT_THAT( wants( "in higig dmac router vlan 10 arp reply",
                   "\"trap to cpu for l2 only from cpu with dmac=bridgeMac\"" )
                   .changes,
      ElementsAre( HasSubstr( "instead of the stack link of unit 0" ) ) );
   run( "set pbr.pbrEnabled true\npbr rule via flood mac 02:00:00:00:00:07 vlan 10" );
   EXPECT_THAT(
      wants( "in Ethernet2 dmac router vlan 10 arp request", "vlanFloodingPbr" ).about.rows,
      IsEmpty() )
      << "neither takes the rule back nor adds a route instead";
}

TEST_F( WantsTest, SearchesEachPassOfThePacket )
{
   bringUp( "register" );
   run( R"(vlan 30 vxlan 5030
tunnel far local 192.0.2.1 remote 192.0.2.2 via Ethernet2 mac 02:00:00:00:00:09 vlan 20)" );
   const std::string packet =
      "in Ethernet1 dmac router vlan 10 ipv4 src 192.0.2.2 dst 192.0.2.1 udp vxlan 5030 "
      "dmac router ipv4 dst 10.8.0.1";
   const Wanted toCpu = wants( packet, "nexthopToCpu" );
   EXPECT_THAT( toCpu.about.rows, ElementsAre( "route 10.8.0.1/32 via cpu" ) );
   EXPECT_EQ( toCpu.about.packet, packet );
   EXPECT_THAT( toCpu.changes, IsEmpty() );
   run( "route 10.8.0.1/32 via cpu" );
   EXPECT_TRUE( wants( packet, "nexthopToCpu" ).already );
}

TEST_F( WantsTest, CountsThePropertiesOfAVlanOnce )
{
   bringUp( "fabric-vfi" );
   run( "vlan 10 drop-routed" );
   const std::string packet = "in Ethernet1 dmac router vlan 10 ipv4 dst 10.2.0.9";
   const Wanted routed = wants( packet, "nexthopToCpu" );
   EXPECT_EQ( routed.about.packet, packet );
   EXPECT_THAT(
      routed.about.rows, ElementsAre( "no vlan 10 drop-routed", "route 10.2.0.9/32 via cpu" ) );
}

TEST_F( WantsTest, SaysWhatExcludesEachPacket )
{
   bringUp( "hsdk" );
   run(
      "no router\nset virtualRouterMacAddr 02:00:a1:00:00:77\ncall handleTcamEntryL2FennicToCpu" );
   const Wanted none = wants( "in Ethernet1 vlan 10 ipv4", "\"l3 vxlan with dmac=fennicMac\"" );
   EXPECT_EQ( none.about.outcome, Cover::Outcome::proved );
   EXPECT_THAT( none.about.reasons,
      ElementsAre( "no my-station entry matches its destination MAC in its VLAN" ) );
}

TEST_F( WantsTest, IsSaidAtTheCommandLine )
{
   bringUp( "hsdk" );
   const std::string packet = "explain in Ethernet1 dmac router ipv4 dst 10.2.0.9 ";
   const std::string text = shown( packet + "wants nexthopToCpu" );
   EXPECT_THAT( text, HasSubstr( "found    route 10.2.0.9/32 via cpu" ) );
   EXPECT_THAT( text, HasSubstr( packet.substr( 0, packet.size() - 1 ) ) );
   EXPECT_THAT( shown( "explain in Ethernet1 dmac router ipv4 dst 10.3.0.1 wants nexthopToCpu" ),
      HasSubstr( "wins     nothing: the packet" ) );
   EXPECT_THROW( run( packet + "wants urpf-single-wide 1" ), InputError ) << "it is not there";
   EXPECT_THAT( shown( packet + "wants nexthopToCpu --json" ), HasSubstr( "\"changes\": []" ) );
}

TEST_F( WantsTest, AnotherNameOrNumberOfTheEntryIsHinted )
{
   bringUp( "hsdk" );
   const auto refusal = [ this ]( const std::string& entry ) {
      try {
         run( "explain in Ethernet1 vlan 10 ipv4 wants " + entry );
      } catch( const InputError& error ) {
         return error.problem();
      }
      return std::string();
   };
   EXPECT_THAT( refusal( "1034" ), HasSubstr( "that id, 'NextHop to Cpu', is 'main 33' here" ) );
   EXPECT_THAT(
      refusal( "1017" ), HasSubstr( "no entry has that id; the nearest is 1021, 'vlan fl" ) );
   EXPECT_THAT( refusal( "16" ), HasSubstr( "'16' (main 1017) is not in hardware on unit 0" ) );
   EXPECT_THAT( refusal( R"("vlan flod")" ), HasSubstr( "; did you mean 'vlan flood'?" ) );
   EXPECT_THAT( refusal( "vlanFloodingDrop" ), HasSubstr( "; did you mean 'vlanFlooding" ) );
   EXPECT_THAT( refusal( "ttl-check 0" ), HasSubstr( "'show entries' lists what is" ) );
   EXPECT_THAT( shown( "explain in Ethernet1 vlan 10 ipv4 wants 34" ),
      HasSubstr( "wants 'mpls traffic drop' (main 1035)" ) );
}

TEST_F( WantsTest, EveryEntryThatHasAPacketHasOneNearAnyOther )
{
   bringUp( "hsdk" );
   const U64 every = fromEnvironment( "STRATA_WATCHED", 1 );
   U64 place = 0;
   for( const Cover::Coverage& about : entryCover( session, { 0 } ) )
      for( const std::string packet : { "in Ethernet1 dmac router ipv4 dst 10.2.0.9",
              "in Ethernet5 dmac ff:ff:ff:ff:ff:ff arp request", "in cpu vlan 30 ipv6 ttl 1" } ) {
         if( place++ % every != 0 )
            continue;
         SCOPED_TRACE( packet + " wants " + about.name );
         const Wanted wanted = wants( packet, "\"" + about.name + "\"" );
         if( wanted.already )
            continue;
         EXPECT_EQ( wanted.about.outcome, about.outcome );
         if( wanted.about.outcome == Cover::Outcome::found ) {
            EXPECT_TRUE( wants( wanted.about.packet, "\"" + about.name + "\"" ).already ||
                         !wanted.about.rows.empty() );
            EXPECT_FALSE( wanted.changes.empty() && wanted.about.rows.empty() );
         }
      }
}

} // namespace
} // namespace Strata::Tool
