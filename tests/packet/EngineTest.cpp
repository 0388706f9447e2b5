// The effects of sent packets: counters, learning, causes, LAGs, redirects and the rules of each protocol. Explaining a
// packet has no effects.
#include "tests/packet/PacketTest.h"

#include <gmock/gmock.h>

#include <span>

namespace Strata {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class EngineTest : public PacketTest
{
 protected:
   /// The explanation of a packet, with single blanks between words, because tables break lines.
   std::string told( const std::string& packet )
   {
      out.str( {} );
      explain( packet );
      std::istringstream words( out.str() );
      std::string text;
      for( std::string word; words >> word; )
         text += ( text.empty() ? "" : " " ) + word;
      return text;
   }
};

U64 hits( Sim::Chip& chip, const std::string& name )
{
   for( const Sim::FieldGroup& group : chip.groups() )
      for( const auto& [ id, entry ] : group.entries() )
         if( entry.name == name )
            return entry.hits;
   return 0;
}

TEST_F( EngineTest, SendingCountsAndLearnsAndExplainingDoesNeither )
{
   bringUp( "hsdk" );
   const std::string trapped = "in Ethernet1 smac 02:00:00:00:00:0a dmac router ethertype 0x88b5";
   const std::string trap = "trap to cpu for l2 only with dmac=bridgeMac";
   const std::string toIt = "in Ethernet2 dmac 02:00:00:00:00:0a ethertype 0x88b5";
   const U64 records = agent().hardware().transcript().size();
   explain( trapped );
   EXPECT_EQ( outcome( explain( toIt ) ), "E1 E3" );
   EXPECT_EQ( hits( chip(), trap ), 0u );
   EXPECT_TRUE( engine().counters().cpuQueues.empty() );
   EXPECT_EQ( agent().hardware().transcript().size(), records );
   send( trapped );
   send( trapped );
   EXPECT_EQ( outcome( explain( toIt ) ), "E1" );
   EXPECT_EQ( hits( chip(), trap ), 2u );
   EXPECT_EQ( ( engine().counters().cpuQueues.at( { 0, 0 } ) ), 2u );
   EXPECT_EQ( engine().counters().ports.at( { 0, 1 } ).in, 2u );
   // The station moves to another port, unless it is configured.
   run( "packet in Ethernet3 smac 02:00:00:00:00:0a dmac ff:ff:ff:ff:ff:ff arp request" );
   EXPECT_EQ( outcome( explain( toIt ) ), "E3" );
   run( "mac 02:00:00:00:00:0a vlan 10 Ethernet1\npacket in Ethernet3 smac 02:00:00:00:00:0a dmac "
        "ff:ff:ff:ff:ff:ff arp request" );
   EXPECT_EQ( outcome( explain( toIt ) ), "E1" );
}

TEST_F( EngineTest, RoutedPacketsAreRewrittenAndTagged )
{
   bringUp( "hsdk" );
   run( "vlan 20 tagged Ethernet4 svi mac 02:00:a1:00:00:20" );
   const Sim::Verdict routed =
      send( "in Ethernet1 vlan 10 priority 6 dmac router ipv4 dst 10.2.0.1 ttl 9" );
   EXPECT_EQ( routed.departures().front()->frame.text(),
      "02:00:a1:00:00:20 -> 00:00:00:00:02:02 vlan 20 priority 6, IPv4 10.0.0.1 -> 10.2.0.1 ttl 8, "
      "UDP 40000 -> 53" );
   // A bridged packet never leaves through the port that it arrived on; a routed one may.
   EXPECT_EQ( outcome( send( "in Ethernet1 dmac router ipv4 dst 10.1.0.1" ) ), "E1" );
   const Sim::Verdict tunnelled = send( "in Ethernet1 dmac router ipv4 dst 10.9.0.1" );
   EXPECT_EQ( tunnelled.departures().front()->frame.text(),
      "02:00:a1:00:00:01 -> 00:00:00:00:08:08, IPv4 192.0.2.1 -> 192.0.2.2 ttl 64, UDP 51464 -> "
      "4789, VXLAN 5030 [ 02:00:a1:00:00:01 -> 00:00:00:00:09:09, IPv4 10.0.0.1 -> 10.9.0.1 ttl "
      "63, UDP 40000 -> 53 ]" );
}

TEST_F( EngineTest, ChipsReachEachOthersPorts )
{
   run( R"(switch hsdk units 2 ports 4
bring-up
interface Ethernet1-4 unit 0 port 1
interface Ethernet5-8 unit 1 port 1
vlan 10 members Ethernet1 Ethernet5 Ethernet6
native-vlan 10 Ethernet1 Ethernet5 Ethernet6
packet in Ethernet5 smac 02:00:00:00:00:05 dmac ff:ff:ff:ff:ff:ff arp request)" );
   EXPECT_EQ( outcome( explain( "in Ethernet1 dmac 02:00:00:00:00:05 ipv4" ) ), "E5" );
   EXPECT_EQ( outcome( explain( "in Ethernet1 dmac 02:00:00:00:00:06 ipv4" ) ), "E5 E6" );
   EXPECT_EQ( outcome( explain( "in higig unit 1 vlan 10 dmac 02:00:00:00:00:05 ipv4" ) ), "E5" );
   // Ports are found by the SDK's numbers, also where an agent has given them a wrong logical number.
   run( "no interface Ethernet7\ninterface Ethernet9 unit 1 port 3 logical 1\nunit 1 port 2 down" );
   EXPECT_EQ( explain( "in port 3 unit 1 vlan 10 arp request" ).drop(),
      "Ethernet9 is not a member of VLAN 10" );
   EXPECT_EQ( outcome( explain( "in Ethernet1 dmac 02:00:00:00:00:06 ipv4" ) ), "E5" );
}

TEST_F( EngineTest, TheStackLinkIsNotTheCpuPort )
{
   bringUp( "hsdk" );
   run( "native-vlan 10 cpu\npbr all in cpu via Ethernet5 mac 00:00:00:00:05:05 vlan 20" );
   EXPECT_EQ( outcome( explain( "in cpu dmac router ipv4 dst 10.2.0.1" ) ), "E5" );
   EXPECT_EQ( outcome( explain( "in higig vlan 10 dmac router ipv4 dst 10.2.0.1" ) ), "E4" );
   EXPECT_THAT(
      told( "in higig dmac 02:00:00:00:00:05 ipv4" ), HasSubstr( "1, for the stack link" ) );
}

TEST_F( EngineTest, ExplanationsNameTheWinnerItsCauseAndTheNearMiss )
{
   bringUp( "hsdk" );
   EXPECT_THAT( told( "in Ethernet1 dmac router ethertype 0x88b5" ),
      AllOf( HasSubstr( "installed by 'call handleRouting true true'" ),
         HasSubstr( "written by 'call addMyStationTcamEntry 0 1" ) ) );
   release( "l2OnlyFennicCpuRx" );
   EXPECT_THAT( told( "-v in Ethernet1 dmac virtual-router arp request" ),
      HasSubstr( "misses: it needs InPorts 0, and the packet has port 1" ) );
   // Of the nearest entry only the address does not match; a VLAN's properties are described in words.
   EXPECT_THAT( told( "in Ethernet1 dmac 02:00:00:00:00:05 ethertype 0x88b5" ),
      HasSubstr(
         "dmac=bridgeMac\" misses: it needs DstMac 02:00:a1:00:00:01, and the packet has" ) );
   run( "no vlan 10 svi" );
   EXPECT_THAT( told( "in Ethernet1 dmac router ethertype 0x88b5" ),
      HasSubstr( "dmac=bridgeMac\" misses: VLAN 10 has no SVI" ) );
}

TEST_F( EngineTest, WhatPreventsRoutingIsNamedWithItsWriterAndItsCure )
{
   run( "switch hsdk ports 8\ninterface Ethernet1 unit 0 port 1\nrouter 02:00:a1:00:00:01" );
   const std::string packet = "in Ethernet1 dmac 02:00:a1:00:00:01 ipv4";
   EXPECT_THAT( told( packet ), AllOf( HasSubstr( "IP4 of port 1 is 0 the slice writes it" ),
                                   HasSubstr( "'call programSwitchCtrlPortSet Ethernet1'" ) ) );
   EXPECT_THAT( told( "in port 2 dmac router ipv4" ),
      AllOf( HasSubstr( "'interface NAME unit 0 port 2'" ),
         HasSubstr( "leaves Ethernet1, ports 3-8 of unit 0: " ) ) );
   run( "bring-up\ncall handleVlanRoutingState 1 ip6" );
   EXPECT_THAT(
      told( packet ), HasSubstr( "'call handleVlanRoutingState 1 ip4,ip6' lets it route" ) );
   run( "no router\ncall programSwitchCtrlPortSet Ethernet1\n"
        "call addMyStationTcamEntry 0 1 02:00:a1:00:00:01 false 0 false false true" );
   EXPECT_THAT(
      told( packet ), HasSubstr( "its routes the slice writes it when routing is turned on" ) );
   run( "call addMyStationTcamEntry 0 1 02:00:a1:00:00:01 false 0 false true false" );
   EXPECT_THAT( told( packet ), HasSubstr( "'router MAC' writes an entry that does" ) );
}

TEST_F( EngineTest, ExplanationsShowAllNextHopsAndWhyOneWasChosen )
{
   bringUp( "hsdk" );
   run( "route 10.5.0.0/16 via Ethernet4 mac 00:00:00:00:05:04 vlan 20 via cpu "
        "via Ethernet5 mac 00:00:00:00:05:05 vlan 20" );
   const std::string flow = "in Ethernet1 dmac router ipv4 src 10.1.0.1 dst 10.5.0.1 udp sport ";
   EXPECT_THAT( told( flow + "1" ), AllOf( HasSubstr( "1: the CPU" ), HasSubstr( "ports 1 and 53" ),
                                       HasSubstr( "modulo 3 it selects next hop 2" ) ) );
   run( "unit 0 port 5 down" );
   EXPECT_THAT(
      told( flow + "1" ), AllOf( HasSubstr( "on Ethernet5; lost: down" ),
                             HasSubstr( "next hop 2, which is lost; divided by 3, modulo "
                                        "the 2 that are left, it selects next hop 0" ) ) );
   run( "lag Port-Channel1 Ethernet5-6\nunit 0 port 6 down" );
   EXPECT_THAT( told( flow + "1" ), HasSubstr( "in VLAN 20 on Port-Channel1; lost: " ) );
}

TEST_F( EngineTest, CausesAreInputsAndNotWhatTheSliceReports )
{
   bringUp( "hsdk" );
   run( "call doUrpfHwInitStage1 true\nvlan 10 urpf strict l3-class 2" );
   const std::string urpf = "in Ethernet1 dmac router ipv6 dst 2001:db8:2::9";
   EXPECT_THAT( told( urpf ), AllOf( HasSubstr( "installed by 'call doUrpfHwInitStage1 true'" ),
                                 Not( HasSubstr( "after urpf." ) ) ) );
   run( "vlan 10 urpf off\npbr all via flood mac 00:00:00:00:04:04 vlan 20" );
   const std::string flood = "in Ethernet1 dmac router ipv4 dst 10.2.0.1";
   EXPECT_THAT( told( flood ), HasSubstr( "it is disabled disabled by 'bring-up'" ) );
   run( "set pbr.pbrEnabled true\nset Ethernet8.forwardingModel routed" );
   EXPECT_THAT( told( flood ), HasSubstr( "enabled by 'set pbr.pbrEnabled true' (record " ) );
   EXPECT_THAT( told( flood ), HasSubstr( "after pbr.pbrEnabled" ) );
   run( "poke vlan 10 vlanIp4RoutingOff set" );
   EXPECT_THAT( told( flood ), AllOf( HasSubstr( "IPv4 routing is off in VLAN 10" ),
                                  HasSubstr( "VLAN 10 has vlanIp4RoutingOff written by 'poke" ),
                                  HasSubstr( "IP4 of port 1 is 1" ) ) );
}

TEST_F( EngineTest, DropsAreCountedByReasonAndPacketsForTheCpuAreNotDrops )
{
   bringUp( "hsdk" );
   EXPECT_EQ( outcome( send( "in Ethernet1 dmac router ipv4 dst 10.3.0.1" ) ), "cpu:0" );
   EXPECT_EQ( last().drop(), "" );
   EXPECT_EQ( explain( "in Ethernet1 dmac router ipv4 dst 10.3.0.1 ttl 1" ).drop(), "" );
   EXPECT_THAT( told( "in Ethernet1 dmac 01:80:c2:00:00:0e ethertype 0x88cc" ),
      AllOf( HasSubstr( "is only for the neighbour" ), Not( HasSubstr( "flood in VLAN" ) ) ) );
   send( "in Ethernet1 dmac router ipv4 dst 10.99.0.1" ); // without a route, also for the CPU
   EXPECT_TRUE( engine().counters().drops.empty() );
   send( "in Ethernet1 vlan 11 ipv4" );
   send( "in Ethernet1 vlan 12 ipv4" );
   const Sim::DropCounter& drops = engine().counters().drops.at( "there is no such VLAN" );
   EXPECT_EQ( drops.packets, 2u );
   EXPECT_EQ( drops.last, "there is no VLAN 12" );
}

TEST_F( EngineTest, ALoopIsRefusedAndABreach )
{
   bringUp( "register" );
   Sim::FieldGroup& main = *chip().group( "main" );
   const U32 id = main.claim( main.profile().base + 4, "loop", {} ).id;
   PortBitmap loopback;
   loopback.add( 258 );
   main.find( id )->claim.actionIs( { .role = FieldAction::RedirectPbmp, .ports = loopback } );
   main.install( id );
   // A bridged packet does not leave through the port that it arrived on; a packet to the router is routed.
   EXPECT_EQ( outcome( send( "in Ethernet1 dmac 00:00:00:00:77:77 ipv4" ) ), "none x2" );
   run( "route 10.8.0.0/16 via Ethernet4 mac 02:00:a1:00:00:01 vlan 20\n"
        "expect error \"the packet loops\" packet in Ethernet1 dmac router ipv4 dst 10.8.0.1" );
   EXPECT_EQ( session.failures(), 0u );
   EXPECT_TRUE( last().loops );
   EXPECT_EQ( last().passes.size(), Sim::maxPasses );
   EXPECT_EQ( agent().hardware().transcript().count( Sim::RecordKind::breach ), 1u );
}

TEST_F( EngineTest, NoFloodUsesARecirculationPort )
{
   bringUp( "register" );
   run( "set recircStatus.recircPort[0] 6" );
   EXPECT_EQ( outcome( send( "in Ethernet4 dmac ff:ff:ff:ff:ff:ff arp request" ) ), "E5 cpu:0" );
   // The CPU gets its copy with a tag, as a member of the VLAN.
   EXPECT_EQ( last().cpuCopies().front()->frame.headers().tag->vlanId, 20 );
   run( "l2mcast 60 Ethernet5 Ethernet6\nmac 01:00:5e:01:01:01 vlan 20 group 60" );
   EXPECT_EQ( outcome( send( "in Ethernet4 dmac 01:00:5e:01:01:01 ipv4" ) ), "E5" );
}

TEST_F( EngineTest, LeavingAndEnteringATunnelTakesTwoPassesEach )
{
   bringUp( "register" );
   run( "route 10.11.0.0/16 via tunnel T mac 00:00:00:00:09:10 vlan 30" );
   const std::string back = "in Ethernet1 dmac router ipv4 dst 10.11.0.1";
   EXPECT_EQ( outcome( send( "in Ethernet8 dmac router ipv4 src 192.0.2.2 dst 192.0.2.1 udp vxlan "
                             "5030 dmac router smac 00:00:00:00:09:10 ipv4 dst 10.2.0.1" ) ),
      "E4 x2" );
   EXPECT_EQ( outcome( send( back ) ), "E8 x2" );
   EXPECT_EQ( outcome( send( back ) ), "E8 x2" );
}

TEST_F( EngineTest, ARecirculationPortGetsNoRoutedFloods )
{
   bringUp( "register with lbViaRecircOnly" );
   run( "set recircStatus.recircPort[0] 6" );
   EXPECT_EQ( outcome( send( "in Ethernet1 dmac router ipv4 dst 10.4.0.1" ) ), "E4 E5" );
}

TEST_F( EngineTest, OneLiveMemberOfALagSends )
{
   bringUp( "hsdk" );
   run( "lag Port-Channel1 Ethernet3 Ethernet2\nlag Port-Channel2 Ethernet5-6\n"
        "mac 00:00:00:00:33:33 vlan 10 Port-Channel1\n"
        "route 10.5.0.0/16 via Port-Channel2 mac 00:00:00:00:55:55 vlan 20" );
   const std::string broadcast = " dmac ff:ff:ff:ff:ff:ff arp request";
   const std::string station = " dmac 00:00:00:00:33:33 ipv4";
   EXPECT_EQ( outcome( send( "in Ethernet1" + broadcast ) ), "E3 cpu:0" );
   EXPECT_EQ( outcome( send( "in Ethernet2" + broadcast ) ), "E1 cpu:0" );
   EXPECT_EQ( outcome( send( "in Ethernet1" + station ) ), "E3" );
   EXPECT_EQ( outcome( send( "in Ethernet2" + station ) ), "none" ); // it arrived on the LAG
   EXPECT_EQ( outcome( send( "in Ethernet1 dmac router ipv4 dst 10.5.0.1" ) ), "E5" );
   out.str( {} );
   explain( "in Ethernet4" + broadcast );
   EXPECT_NE( out.str().find( "Ethernet6: Ethernet5 sends for Port-Channel2" ), std::string::npos );
   run( "unit 0 port 3 down\nstp Ethernet5 blocking" );
   EXPECT_EQ( outcome( send( "in Ethernet1" + broadcast ) ), "E2 cpu:0" );
   EXPECT_EQ( outcome( send( "in Ethernet1" + station ) ), "E2" );
   EXPECT_EQ( outcome( send( "in Ethernet1 dmac router ipv4 dst 10.5.0.1" ) ), "E6" );
   EXPECT_EQ( outcome( send( "in Ethernet4" + broadcast ) ), "E6 cpu:0" );
}

TEST_F( EngineTest, OneMemberOfALagSendsForRoutedMulticastAndTunnels )
{
   bringUp( "hsdk" );
   run(
      "lag Port-Channel1 Ethernet2-3\nvlan 20 svi members Ethernet2-5\nmroute 239.1.1.1 vlan 20\n"
      "call handleVlanRoutingState 10 ip4,ip6,mcast\n"
      "lag Port-Channel2 Ethernet6 Ethernet8\nvlan 100 svi members Ethernet6 Ethernet8\n"
      "tunnel T local 192.0.2.1 remote 192.0.2.2 via Port-Channel2 mac 00:00:00:00:08:08 vlan 100" );
   // A routed packet may leave through the LAG that it arrived on.
   EXPECT_EQ(
      outcome( send( "in Ethernet2 dmac 01:00:5e:01:01:01 ipv4 dst 239.1.1.1" ) ), "E1 E2 E4 E5" );
   EXPECT_EQ( outcome( send( "in Ethernet1 dmac router ipv4 dst 10.9.0.1" ) ), "E6" );
   run( "unit 0 port 6 down" );
   EXPECT_EQ( outcome( send( "in Ethernet1 dmac router ipv4 dst 10.9.0.1" ) ), "E8" );
}

TEST_F( EngineTest, ControlsDoNotCopyPacketsOfABlockedPort )
{
   bringUp( "register" );
   run( "stp Ethernet1 blocking\nmroute 239.1.1.1 vlan 20\n"
        "call handleVlanRoutingState 10 ip4,ip6,mcast" );
   for( const char* const packet : { "dmac 01:00:5e:00:00:01 ipv4 dst 224.0.0.1 igmp",
           "dmac 01:00:5e:01:01:01 ipv4 dst 239.1.1.1 ttl 1" } )
      EXPECT_EQ( outcome( send( std::string( "in Ethernet1 " ) + packet ) ), "none" ) << packet;
}

TEST_F( EngineTest, TheFirstOfTwoRedirectsAppliesAndPolicyRoutingPrecedesBoth )
{
   bringUp( "hsdk" );
   run( "pbr flood to 10.2.0.0/16 via flood mac 00:00:00:00:04:04 vlan 20" );
   // Policy routing is off, so its entry is disabled. The entry of other floods may not redirect a second time.
   EXPECT_EQ( outcome( send( "in Ethernet1 dmac router ipv4 dst 10.2.0.1" ) ), "none" );
   EXPECT_EQ( hits( chip(), "vlan flood" ), 1u );
   EXPECT_THAT( last().drop(), HasSubstr( "\"vlan flood\" is refused: policy routing has" ) );
   EXPECT_THAT( told( "in Ethernet1 dmac router ipv4 dst 10.2.0.1" ),
      AllOf( HasSubstr( "\"vlan flood pbr\" misses: it is disabled" ),
         HasSubstr( "redirect that of main" ),
         HasSubstr( "of VLAN 20 it does not reach Ethernet4-6" ) ) );
   run( "set pbr.pbrEnabled true" );
   EXPECT_EQ( outcome( send( "in Ethernet1 dmac router ipv4 dst 10.2.0.1" ) ), "E4 E5 E6" );
   EXPECT_EQ( hits( chip(), "vlan flood pbr" ), 1u );
   EXPECT_THAT( told( "in Ethernet1 dmac router ipv4 dst 10.2.0.1" ),
      HasSubstr( "egress Ethernet1-3, Ethernet7, Ethernet8: no member of VLAN 20" ) );
}

/// A packet on a chip that is brought up, and its destination.
struct Row
{
   const char* packet;
   const char* outcome;
   const char* setup = "";
};

class RulesTest : public EngineTest
{
 protected:
   void hold( std::span<const Row> rows, const std::string& setup = "" )
   {
      for( const Row& row : rows ) {
         SCOPED_TRACE( std::string( row.packet ) + "; " + row.setup );
         bringUp( "hsdk" );
         run( setup );
         run( row.setup );
         EXPECT_EQ( outcome( send( row.packet ) ), row.outcome );
      }
      EXPECT_EQ( session.failures(), 0u );
   }
};

#define TUNNEL "in Ethernet8 dmac router ipv4 src 192.0.2.2 dst 192.0.2.1 udp vxlan 5030 "
const Row linkRows[] = {
   // Tags.
   { "in Ethernet1 vlan 10 vlan 7 dmac router ipv4 dst 10.2.0.1", "E4" },
   { "in Ethernet1 vlan 10 vlan 7 vlan 8 dmac router ipv4 dst 10.2.0.1", "cpu:0" },
   { "in Ethernet7 vlan 30 dmac 00:00:00:00:09:09 ipv4", "E8" },
   { "in Ethernet7 vlan 30 vlan 7 dmac 00:00:00:00:09:09 ipv4", "none" },
   { TUNNEL "dmac 00:00:00:00:07:07 ipv4", "E7" },
   { TUNNEL "vlan 30 dmac 00:00:00:00:07:07 ipv4", "none" },
   // Addresses with the scope of a link.
   { "in Ethernet1 dmac 01:80:c2:00:00:00 ethertype 0x88b5", "none" },
   { "in Ethernet1 dmac 01:80:c2:00:00:0f ethertype 0x88b5", "none" },
   { "in Ethernet1 dmac 01:80:c2:00:00:10 ethertype 0x88b5", "E2 E3" },
   { "in Ethernet1 dmac 01:80:c2:00:00:02 ethertype 0x8809", "none",
      "l2mcast 50 Ethernet2\nmac 01:80:c2:00:00:02 vlan 10 group 50" },
   { "in Ethernet1 dmac 01:80:c2:00:00:02 ethertype 0x8809", "cpu:0",
      "mac 01:80:c2:00:00:02 vlan 10 group 1" },
   { "in cpu vlan 10 dmac 01:80:c2:00:00:0e ethertype 0x88cc", "E1 E2 E3" },
   { "in Ethernet1 dmac router ipv6 src 2001:db8::5 dst fe80::9", "cpu:0",
      "route fe80::/10 via Ethernet4 mac 00:00:00:00:02:02 vlan 20" },
   { "in Ethernet1 dmac router ipv6 src fe80::5 dst 2001:db8:1::9", "E2",
      "route 2001:db8:1::/48 via Ethernet2 mac 00:00:00:00:02:02 vlan 10" },
   { "in Ethernet1 dmac router ipv4 src 169.254.0.5 dst 10.2.0.1", "cpu:0" },
   // A group address cannot be a source.
   { "in Ethernet1 smac 03:00:00:00:00:05 dmac router ipv4 dst 10.2.0.1", "none" },
   { TUNNEL "smac 03:00:00:00:00:05 dmac 00:00:00:00:07:07 ipv4", "none" },
   // The longest frame that fits behind a tunnel's headers.
   { "in Ethernet7 dmac 00:00:00:00:09:09 ipv4 length 9166", "E8" },
   { "in Ethernet7 dmac 00:00:00:00:09:09 ipv4 length 9167", "none" },
};

TEST_F( RulesTest, FramesFollowTheRulesOfTheLink )
{
   hold( linkRows );
   bringUp( "hsdk" );
   run( R"(vlan 20 members Ethernet4-6 tagged Ethernet4
packet in Ethernet1 vlan 10 dei vlan 7 dmac router ipv4 dst 10.2.0.1
expect departs Ethernet4 with "00:00:00:00:02:02 vlan 20 dei, IPv4"
packet in Ethernet5 vlan 20 priority 3 dei dmac ff:ff:ff:ff:ff:ff arp request
expect departs Ethernet4 Ethernet6
packet in Ethernet7 vlan 30 vlan 7 dmac 00:00:00:00:09:09 ipv4
expect dropped "tunnel T: VXLAN carries no second VLAN tag"
packet in Ethernet7 dmac 00:00:00:00:09:09 ipv4 length 9216
expect dropped "tunnel T: 9266 bytes, and a frame has at most 9216"
packet in Ethernet5 hex 000000007777 020000000001 88b5 01)" );
   EXPECT_EQ( session.failures(), 0u );
   ASSERT_EQ( outcome( last() ), "E4 E6" );
   for( const Sim::Departure* const departure : last().departures() )
      EXPECT_EQ( departure->frame.length(), Sim::shortestFrame );
}

const Row groupRows[] = {
   { "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 dst 239.1.1.1", "E2 E3 E4 E5 E6" },
   { "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 dst 239.129.1.1", "E2 E3 E4 E5 E6" },
   { "in Ethernet1 dmac 33:33:00:00:00:09 ipv6 dst ff05::9", "E2 E3 E4 E5 E6" },
   { "in Ethernet1 dmac 01:00:5e:01:01:02 ipv4 dst 239.1.1.1", "E2 E3" },
   { "in Ethernet1 dmac ff:ff:ff:ff:ff:ff ipv4 dst 239.1.1.1", "E2 E3 cpu:0" },
   { "in Ethernet1 dmac 33:33:00:00:00:08 ipv6 dst ff05::9", "E2 E3" },
   { "in Ethernet1 dmac 33:33:00:00:00:09 ipv6 src fe80::5 dst ff05::9", "E2 E3 cpu:0" },
   { "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 dst 239.1.1.1", "E2 E3", "vlan 10 drop-routed" },
   { "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 dst 239.1.1.1", "E2 E3 E7 E8",
      "mroute 239.1.1.1 vlan 30" },
   { "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 dst 239.1.1.1", "E2 E3 E4 E6",
      "unit 0 port 5 down" },
};

TEST_F( RulesTest, MulticastFollowsTheRulesOfRouting )
{
   const std::string setup =
      "mroute 239.1.1.1 vlan 20\nmroute 239.129.1.1 vlan 20\nmroute ff05::9 vlan 20\n"
      "call handleVlanRoutingState 10 ip4,ip6,mcast";
   hold( groupRows, setup );
   EXPECT_NE( out.str().find( "Ethernet5 in VLAN 20: down" ), std::string::npos );
   // A group with the scope of a link is not routed, even with a route, which the command would refuse.
   session.packets().tables().mcastRoutes[ *Sim::IpAddress::parse( "ff02::9" ) ] = { 20 };
   EXPECT_EQ(
      outcome( send( "in Ethernet1 dmac 33:33:00:00:00:09 ipv6 dst ff02::9" ) ), "E2 E3 cpu:0" );
   // A chip with two passes neither encapsulates a packet in the pass that routes it, nor routes a packet in the pass
   // that takes it out of a tunnel.
   bringUp( "register" );
   run( setup + "\nmroute 239.1.1.1 vlan 30\ncall handleVlanRoutingState 30 ip4,ip6,mcast" );
   EXPECT_EQ(
      outcome( send( "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 dst 239.1.1.1" ) ), "E2 E3 E7" );
   EXPECT_NE( out.str().find( "tunnel T in VLAN 30: the chip does not encapsulate in the pass" ),
      std::string::npos );
   EXPECT_EQ( outcome( send( TUNNEL "dmac 33:33:00:00:00:09 ipv6 dst ff05::9" ) ), "E7" );
}
#undef TUNNEL

const Row labelRows[] = {
   { "in Ethernet1 dmac router mpls 0 ipv4 dst 10.2.0.1", "E4" },
   { "in Ethernet1 dmac router mpls 2 ipv6 dst 2001:db8:2::1", "E4" },
   { "in Ethernet1 dmac router mpls 0 ipv6 dst 2001:db8:2::1", "none" },
   { "in Ethernet1 dmac router mpls 2 ipv4 dst 10.2.0.1", "none" },
   { "in Ethernet1 dmac router mpls 0 ttl 1 ipv4 dst 10.2.0.1", "cpu:27" },
   { "in Ethernet1 dmac router mpls 0 mpls 100 ipv4", "E5" },
   { "in Ethernet1 dmac router mpls 0 mpls 2 ipv6 dst 2001:db8:2::1", "E4" },
   { "in Ethernet1 dmac router mpls 102 ipv4 dst 10.2.0.1", "E4" },
   { "in Ethernet1 dmac router mpls 102 mpls 100 ipv4", "E5" },
   { "in Ethernet1 dmac router mpls 102 ipv4 dst 10.99.0.1", "cpu:27" },
   { "in Ethernet1 dmac router mpls 102 ipv4 dst 10.2.0.1", "none",
      "call handleVlanRoutingState 10 off" },
   { "in Ethernet1 dmac router mpls 102 ipv4 dst 10.2.0.1", "none",
      "call handleMplsRouting false" },
   // A pseudowire's control word behind label 101; a label that is cut short, first and second.
   { "in Ethernet1 hex 0200a1000001 020000000001 8847 00065140 00000000", "none" },
   { "in Ethernet1 hex 0200a1000001 020000000001 8847 0006", "none" },
   { "in Ethernet1 hex 0200a1000001 020000000001 8847 00065040 0006", "E5" },
};

TEST_F( RulesTest, LabelledPacketsFollowTheRulesOfMpls )
{
   hold( labelRows, "call handleMplsRouting true\n"
                    "mpls 100 swap 200 via Ethernet5 mac 00:00:00:00:05:05 vlan 20\n"
                    "mpls 101 pop via Ethernet5 mac 00:00:00:00:05:05 vlan 20\nmpls 102 pop" );
   EXPECT_NE( out.str().find( "102: pop, and look up the packet behind it" ), std::string::npos );
   bringUp( "hsdk" );
   run( R"(call handleMplsRouting true
explain in Ethernet1 dmac router mpls 0 ttl 9 ipv4 dst 10.2.0.1 ttl 64
expect departs Ethernet4 with "00:00:00:00:02:02, IPv4 10.0.0.1 -> 10.2.0.1 ttl 63"
explain in Ethernet1 dmac router mpls 0 ipv6 dst 2001:db8:2::1
expect dropped "the packet behind label 0 is not IPv4"
explain in Ethernet1 hex 0200a1000001 020000000001 8847 0006
expect dropped "the label is cut short")" );
   EXPECT_EQ( session.failures(), 0u );
}

} // namespace
} // namespace Strata
