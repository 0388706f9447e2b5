// Probes: their verdicts are those of packets, compare by what becomes of them, and change nothing.
#include "desk/Probes.h"
#include "tests/packet/PacketTest.h"

#include <gmock/gmock.h>

namespace Strata::Desk {
namespace {

class ProbesTest : public PacketTest
{
 protected:
   ProbesTest()
   {
      bringUp( "hsdk" );
      run( "probe web in Ethernet1 dmac router ipv4 dst 10.2.0.9 tcp dport 80" );
   }

   ProbeVerdict verdict( const std::string& name = "web" )
   {
      return { session.packets().engine(), session.probes().at( name ).arrival };
   }
   std::string text() { return verdict().text( session.packets().engine() ); }
};

TEST_F( ProbesTest, HaveTheVerdictOfNowAlsoOnTheNextSwitch )
{
   EXPECT_EQ( text(), "Ethernet4" );
   run( "route 10.2.0.0/16 via Ethernet5 mac 00:00:00:00:02:05 vlan 20" );
   EXPECT_EQ( text(), "Ethernet5" );
   run( "switch hsdk ports 2" );
   EXPECT_EQ( text(), "port 2 of unit 0" );
   run( "probe web in port 2 arp reply\nswitch hsdk ports 1" );
   EXPECT_EQ( text(), "cannot come in: unit 0 has no port 2; it has 0-1,258-259" );
   EXPECT_EQ( verdict(), verdict() );
   run( "no probe web" );
   EXPECT_TRUE( session.probes().empty() );
}

TEST_F( ProbesTest, CompareByWhatLeavesAndNotByHow )
{
   const ProbeVerdict before = verdict();
   run( "mac 02:00:00:00:00:01 vlan 10 Ethernet1" ); // nothing to be learned any more
   ASSERT_NE( *before.verdict(), *verdict().verdict() );
   EXPECT_EQ( before, verdict() );
   run( "route 10.2.0.0/16 via Ethernet4 mac 00:00:00:00:02:05 vlan 20" );
   EXPECT_EQ( text(), "Ethernet4" );
   EXPECT_FALSE( before == verdict() ) << "another frame leaves";
   run( "no route 10.2.0.0/16" );
   const ProbeVerdict dropped = verdict();
   run( "route 10.2.0.0/16 via cpu" );
   const ProbeVerdict copied = verdict();
   EXPECT_FALSE( before == dropped || dropped == copied );
   run( "probe web in Ethernet1 dmac router ipv4 dst 10.3.0.1 ttl 63 tcp dport 80" );
   EXPECT_FALSE( copied == verdict() ) << "the CPU gets another frame";
   run( "mac 00:00:00:00:01:77 vlan 10 Ethernet1\n"
        "probe web in Ethernet1 dmac 00:00:00:00:01:77 ipv4" );
   const ProbeVerdict returns = verdict();
   EXPECT_EQ( text().substr( 0, 17 ), "leaves on no port" );
   run( "stp Ethernet1 blocking" );
   EXPECT_EQ( text().substr( 0, 17 ), "leaves on no port" );
   EXPECT_FALSE( returns == verdict() ) << "for another reason";
}

TEST_F( ProbesTest, AreShownWithoutAnEffectAndSentByName )
{
   const auto hits = [ & ] {
      const auto& counters = session.packets().engine().counters().ports;
      return counters.empty() ? 0 : counters.begin()->second.in;
   };
   const std::size_t known = session.packets().tables().stations.size();
   run( "mark\nshow probes\nshow probes --json\nexpect no calls\nexpect changes none" );
   EXPECT_EQ( hits(), 0 );
   run(
      "explain probe web\nexpect departs Ethernet4\nexpect error \"did you mean 'web'\" packet probe wbe" );
   EXPECT_EQ( hits(), 0 );
   EXPECT_EQ( session.packets().tables().stations.size(), known );
   run( "packet probe web\nexpect departs Ethernet4" );
   EXPECT_EQ( hits(), 1 );
   EXPECT_EQ( session.failures(), 0 );
}

} // namespace
} // namespace Strata::Desk
