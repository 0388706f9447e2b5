// The effect of each control, register field, flag and property of a chip on a packet, which is sent with it on and
// with it off.
#include "sim/packet/Controls.h"
#include "sim/chip/RegisterLayout.h"
#include "tests/packet/PacketTest.h"
#include "tool/packet/ExplanationView.h"

#include <gmock/gmock.h>
#include <set>

namespace Strata {
namespace {

using ControlsTest = PacketTest;

struct ControlRow
{
   SwitchControl control;
   const char* profile;
   const char* packet;
   const char* on;
   const char* off;
   const char* setup = "";
   int value = 1;
};

#define MULTICAST "mroute 239.1.1.1 vlan 20\ncall handleVlanRoutingState 10 ip4,ip6,mcast"

const ControlRow controlRows[] = {
   { SwitchControl::CpuProtoIpOptionsPriority, "register",
      "in Ethernet1 dmac router ipv4 dst 10.2.0.1 options", "cpu:5", "cpu:0", "", 5 },
   { SwitchControl::HashL2Dual, "hsdk", "in Ethernet1 dmac router ipv4 dst 10.2.0.1", "E4", "E4" },
   { SwitchControl::HashL3Dual, "hsdk", "in Ethernet1 dmac router ipv4 dst 10.2.0.1", "E4", "E4" },
   { SwitchControl::IPv4DoNotVerifyIncomingChecksum, "hsdk",
      "in Ethernet1 dmac router ipv4 dst 10.2.0.1 bad-checksum", "E4", "none" },
   { SwitchControl::IPv4DoNotVerifyIncomingChecksum, "hsdk",
      "in Ethernet8 dmac router ipv4 src 192.0.2.2 dst 192.0.2.1 bad-checksum udp vxlan 5030 "
      "dmac 00:00:00:00:07:07 ipv4",
      "E7", "none" },
   { SwitchControl::IPv4DoNotVerifyIncomingChecksum, "hsdk",
      "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 dst 239.1.1.1 bad-checksum", "E2 E3 E4 E5 E6",
      "E2 E3", MULTICAST },
   { SwitchControl::IcmpRedirectToCpu, "hsdk", "in Ethernet2 dmac router ipv4 dst 10.1.0.1",
      "E1 cpu:0", "E1" },
   { SwitchControl::IgmpReservedMcastEnable, "register",
      "in Ethernet1 dmac 01:00:5e:00:00:01 ipv4 dst 224.0.0.1 igmp", "E2 E3 cpu:0", "E2 E3",
      "call handleTcamEntryL2McastCpu false" },
   { SwitchControl::IpmcTtl1ToCpu, "hsdk",
      "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 dst 239.1.1.1 ttl 1", "E2 E3 cpu:0", "E2 E3",
      "mroute 239.1.1.1 vlan 20\ncall handleVlanRoutingState 10 ip4,ip6,mcast" },
   { SwitchControl::L2TrafficSrcIpLookup, "hsdk",
      "in Ethernet1 dmac router ipv4 src 10.5.0.1 dst 10.2.0.1", "E2 E3", "cpu:0",
      "call handleVlanRoutingState 10 ip6\nroute 10.5.0.0/16 via cpu class 0x20" },
   { SwitchControl::L3EgressMode, "hsdk", "in Ethernet1 dmac router ipv4 dst 10.2.0.1", "E4",
      "cpu:0" },
   { SwitchControl::L3InterfaceUrpfEnable, "hsdk",
      "in Ethernet1 dmac router ipv4 src 172.16.0.1 dst 10.2.0.1", "none", "E4",
      "vlan 10 urpf loose" },
   { SwitchControl::L3MtuFailToCpu, "hsdk",
      "in Ethernet1 dmac router ipv4 dst 10.2.0.1 udp length 1200", "cpu:0", "none",
      "vlan 20 mtu 1000" },
   { SwitchControl::L3MtuFailToCpu, "hsdk",
      "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 dst 239.1.1.1 udp length 1200", "E2 E3 cpu:0",
      "E2 E3", MULTICAST "\nvlan 20 mtu 1000" },
   { SwitchControl::L3SlowpathToCpu, "hsdk",
      "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 dst 239.1.1.1 options", "E2 E3 cpu:0", "E2 E3",
      MULTICAST },
   { SwitchControl::L3SlowpathToCpu, "hsdk", "in Ethernet1 dmac router ipv4 dst 10.2.0.1 options",
      "cpu:0", "none" },
   { SwitchControl::L3SlowpathToCpu, "register",
      "in Ethernet1 dmac router ipv6 dst 2001:db8:2::1 hop-by-hop", "cpu:0", "none" },
   { SwitchControl::L3UcTtlErrToCpu, "hsdk", "in Ethernet1 dmac router ipv4 dst 10.2.0.1 ttl 0",
      "cpu:0", "none" },
   { SwitchControl::L3UcastTtl1ToCpu, "hsdk", "in Ethernet1 dmac router ipv4 dst 10.2.0.1 ttl 1",
      "cpu:0", "none" },
   { SwitchControl::L3UcastTtl1ToCpu, "register",
      "in Ethernet1 dmac router ipv6 dst 2001:db8:2::1 ttl 1", "cpu:0", "none" },
   { SwitchControl::MartianAddrToCpu, "hsdk",
      "in Ethernet1 dmac router ipv4 src 127.0.0.9 dst 10.2.0.1", "cpu:0", "none" },
   { SwitchControl::MartianAddrToCpu, "hsdk",
      "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 src 127.0.0.9 dst 239.1.1.1", "E2 E3 cpu:0",
      "E2 E3", MULTICAST },
   { SwitchControl::MartianAddrToCpu, "hsdk",
      "in Ethernet1 dmac router ipv6 src fe80::5 dst 2001:db8:2::1", "cpu:0", "none" },
   { SwitchControl::MartianAddrToCpu, "acl", "in Ethernet1 dmac router ipv4 dst 240.0.0.1", "cpu:0",
      "none" },
   { SwitchControl::MplsLabelMissToCpu, "hsdk", "in Ethernet1 dmac router mpls 100 ipv4", "cpu:27",
      "none", "call handleMplsRouting true" },
   { SwitchControl::MplsTtlErrToCpu, "hsdk", "in Ethernet1 dmac router mpls 100 ttl 1 ipv4",
      "cpu:27", "none",
      "call handleMplsRouting true\n"
      "mpls 100 pop via Ethernet5 mac 00:00:00:00:05:05 vlan 20" },
   { SwitchControl::V4L3DstMissToCpu, "hsdk", "in Ethernet1 dmac router ipv4 dst 10.99.0.1",
      "cpu:0", "none" },
   { SwitchControl::V6L3DstMissToCpu, "fabric-vfi",
      "in Ethernet1 dmac router ipv6 dst 2001:db8:99::1", "cpu:0", "none" },
};

#undef MULTICAST

TEST_F( ControlsTest, EveryControlHasItsEffect )
{
   std::set<SwitchControl> seen;
   std::set<std::string_view> effects;
   for( const ControlRow& row : controlRows ) {
      SCOPED_TRACE( std::string( row.profile ) + " " + std::string( roleName( row.control ) ) );
      bringUp( row.profile );
      run( row.setup );
      ASSERT_EQ( chip().controlIs( row.control, row.value ), Sim::SdkCode::None );
      EXPECT_EQ( outcome( send( row.packet ) ), row.on );
      chip().controlIs( row.control, 0 );
      EXPECT_EQ( outcome( send( row.packet ) ), row.off );
      EXPECT_EQ( std::string( row.on ) == row.off, Sim::concernsTablesOnly( row.control ) );
      seen.insert( row.control );
      effects.insert( Sim::controlEffect( row.control ) );
   }
   EXPECT_EQ( seen.size(), roleNames<SwitchControl>.size() ) << "a control has no row";
   EXPECT_EQ( effects.size(), seen.size() ) << "two controls are described alike";
   EXPECT_FALSE( effects.contains( "" ) );
}

struct FieldRow
{
   RegisterField field;
   const char* packet;
   const char* on;
   const char* off;
   const char* setup = "";
};

const FieldRow fieldRows[] = {
   { RegisterField::MplsLabelMissToCpu, "in Ethernet1 dmac router mpls 100 ipv4", "cpu:27", "none",
      "call handleMplsRouting true" },
   { RegisterField::MplsTtlErrToCpu, "in Ethernet1 dmac router mpls 100 ttl 0 ipv4", "cpu:27",
      "none",
      "call handleMplsRouting true\n"
      "mpls 100 pop via Ethernet5 mac 00:00:00:00:05:05 vlan 20" },
   { RegisterField::UseMyStation1ForNonTunnels,
      "in Ethernet1 dmac 02:00:a1:00:00:77 ipv4 dst 10.2.0.1", "E2 E3", "E4",
      "call addMyStationTcamEntry 0 100 02:00:a1:00:00:77 false 0 false false true" },
   { RegisterField::Ip4UrpfOnL3Iif, "in Ethernet1 dmac router ipv4 src 172.16.0.1 dst 10.2.0.1",
      "none", "E4", "vlan 10 urpf loose" },
   { RegisterField::Ip6UrpfOnL3Iif, "in Ethernet1 dmac router ipv6 dst 2001:db8:2::1", "none", "E4",
      "vlan 10 urpf loose" },
   { RegisterField::DoNotCopyFromCpuToCpu, "in cpu vlan 10 dmac router ethertype 0x88b5", "none",
      "cpu:0" },
};

TEST_F( ControlsTest, EveryRegisterFieldHasItsEffect )
{
   std::set<RegisterField> seen;
   for( const FieldRow& row : fieldRows ) {
      SCOPED_TRACE( roleName( row.field ) );
      bringUp( "register" );
      run( row.setup );
      const Register reg = registerOf( row.field );
      for( const U32 value : { 1u, 0u } ) {
         chip().registerIs(
            reg, Sim::registerFieldSet( chip().registerValue( reg ), row.field, value ) );
         EXPECT_EQ( outcome( send( row.packet ) ), value == 1 ? row.on : row.off );
      }
      seen.insert( row.field );
   }
   EXPECT_EQ( seen.size(), roleNames<RegisterField>.size() ) << "a field has no row";
}

struct ChangeRow
{
   const char* change;
   const char* packet;
   const char* before;
   const char* after;
   const char* setup = "";
};

#define ROUTED "in Ethernet1 dmac router ipv4 dst 10.2.0.1"
#define ROUTED6 "in Ethernet1 dmac router ipv6 dst 2001:db8:2::1"
const ChangeRow changeRows[] = {
   // Flags and members of VLANs.
   { "poke vlan 10 vlanIp4RoutingOff set", ROUTED, "E4", "cpu:0" },
   { "poke vlan 10 vlanIp4RoutingOff set", ROUTED6, "E4", "E4" },
   { "poke vlan 10 vlanIp6RoutingOff set", ROUTED6, "E4", "cpu:0" },
   { "poke vlan 10 vlanRoutingFlagA set\npoke vlan 10 vlanRoutingFlagB set", ROUTED, "E4", "E4" },
   { "poke vlan 10 vlanMcastRoutingOff set",
      "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 dst 239.1.1.1", "E2 E3 E4 E5 E6", "E2 E3",
      "mroute 239.1.1.1 vlan 20\npoke vlan 10 vlanMcastRoutingOn set" },
   { "call handleVlanCpuPort 10 true", "in Ethernet1 dmac ff:ff:ff:ff:ff:ff arp request",
      "E2 E3 cpu:0", "E2 E3" },
   { "call handleVlanCpuPort 10 true", "in Ethernet1 dmac router ethertype 0x88b5", "cpu:0",
      "cpu:0" },
   { "call enableVlanRouting 10 true\ncall handleIpAddressState 10 true false\n"
     "call handlePerVlanRouting true",
      ROUTED6, "E4", "cpu:0" },
   { "call enableVlanRouting 10 true\ncall handleIpAddressState 10 true false\n"
     "call handlePerVlanRouting true",
      ROUTED, "E4", "E4" },
   { "vlan 10 drop-routed", ROUTED, "E4", "none" },
   { "vlan 20 members Ethernet5", ROUTED, "E4", "none" },
   // The my-station memory.
   { "poke my-station 1 VALIDf 0", ROUTED, "E4", "cpu:0" },
   { "poke my-station 1 MAC_ADDR_MASKf 01:00:00:00:00:00",
      "in Ethernet1 dmac 00:00:00:00:77:77 ipv4 dst 10.2.0.1", "E2 E3", "E4" },
   { "poke my-station 1 VLAN_IDf 20\npoke my-station 1 VLAN_ID_MASKf 0xfff", ROUTED, "E4",
      "cpu:0" },
   { "poke my-station 1 ING_PORT_NUMf 2\npoke my-station 1 ING_PORT_NUM_MASKf 0x7f", ROUTED, "E4",
      "cpu:0" },
   { "poke my-station 1 IPV4_TERMINATION_ALLOWEDf 0", ROUTED, "E4", "cpu:0" },
   { "poke my-station 1 IPV4_TERMINATION_ALLOWEDf 0", ROUTED6, "E4", "E4" },
   { "poke my-station 1 IPV6_TERMINATION_ALLOWEDf 0", ROUTED6, "E4", "cpu:0" },
   { "poke my-station 1 MPLS_TERMINATION_ALLOWEDf 0", "in Ethernet1 dmac router mpls 100 ipv4",
      "E5", "E2 E3",
      "call handleMplsRouting true\n"
      "mpls 100 swap 200 via Ethernet5 mac 00:00:00:00:05:05 vlan 20" },
   { "poke my-station 1 ARP_RARP_TERMINATION_ALLOWEDf 1",
      "in Ethernet1 dmac router arp request for 10.1.0.1", "none", "cpu:0" },
   // Packets from the CPU to the MLAG peer's MAC are not routed, although all others are.
   { "call handlePeerMacRouting 02:00:a1:00:00:02 true",
      "in cpu vlan 10 dmac 02:00:a1:00:00:02 ipv4 dst 10.2.0.1", "E3", "E3",
      "set mlagHwStatus.peerMacRoutingSupported true\nmac 02:00:a1:00:00:02 vlan 10 Ethernet3" },
   // Ports.
   { "unit 0 port 4 down", ROUTED, "E4", "none" },
   { "unit 0 port 1 down", ROUTED, "E4", "none" },
   { "stp Ethernet4 blocking", ROUTED, "E4", "none" },
   { "stp Ethernet1 blocking", "in Ethernet1 dmac router mpls 100 ipv4", "cpu:27", "none",
      "call handleMplsRouting true" },
   { "stp Ethernet1 learning vlan 10", ROUTED, "E4", "none" },
   { "stp Ethernet1 learning vlan 20", ROUTED, "E4", "E4" },
};

TEST_F( ControlsTest, PortsMappedBeforeAndAfterTheBringUpBehaveAlike )
{
   for( const std::string_view profile : Sim::chipProfileNames() )
      for( const char* const packet :
         { ROUTED, ROUTED6, "in Ethernet1 dmac router ipv4 dst 10.4.0.1",
            "in Ethernet2 dmac router ipv4 dst 10.3.0.1" } ) {
         SCOPED_TRACE( std::string( profile ) + ": " + packet );
         bringUp( std::string( profile ) );
         const std::string after = outcome( send( packet ) );
         bringUp( std::string( profile ), "interface Ethernet1-8 unit 0 port 1\n" );
         EXPECT_EQ( outcome( send( packet ) ), after );
      }
}
#undef ROUTED
#undef ROUTED6

TEST_F( ControlsTest, FlagsMembersStationsAndPortsHaveTheirEffect )
{
   for( const ChangeRow& row : changeRows ) {
      SCOPED_TRACE( std::string( row.change ) + ": " + row.packet );
      bringUp( "hsdk" );
      run( row.setup );
      EXPECT_EQ( outcome( send( row.packet ) ), row.before );
      run( row.change );
      EXPECT_EQ( outcome( send( row.packet ) ), row.after );
   }
}

TEST_F( ControlsTest, AnExplanationHasTheStateThatDecided )
{
   bringUp( "register" );
   run( "vlan 10 urpf loose\npoke vlan 10 vlanIp6RoutingOff set" );
   chip().controlIs( 1, SwitchControl::V4L3DstMissToCpu, 0 );
   explain( "in Ethernet1 dmac router ipv4 src 10.1.0.5 dst 10.99.0.1" );
   Sim::Explanation explanation;
   const Sim::Verdict verdict = engine().explain( session.packets().last()->arrival, &explanation );
   const auto passes = Tool::explanationJson( engine(), verdict, explanation );
   std::set<std::string> state;
   for( auto row : passes[ 0 ][ "state" ] ) {
      row.erase( "cause" );
      state.insert( row.dump() );
   }
   EXPECT_THAT(
      state, testing::IsSupersetOf( { R"({"control":"L3EgressMode","value":1})",
                R"({"myStation":1})", R"({"control":"V4L3DstMissToCpu","port":1,"value":0})",
                R"({"control":"IP4","port":1,"value":1})",
                R"({"vlan":10,"flags":["vlanIp6RoutingOff"]})" } ) );
   EXPECT_THAT( state, testing::Contains( testing::AllOf(
                          testing::StartsWith( R"({"register":"ING_CONFIG_64r","value":)" ),
                          testing::HasSubstr( R"("IP4_URPF_ON_L3_IIFf":1)" ) ) ) );
}

TEST_F( ControlsTest, APortRoutesOnlyTheFamiliesThatAreEnabledOnIt )
{
   bringUp( "hsdk" );
   chip().portControlIs( 1, PortControl::IP4, 0 );
   EXPECT_EQ( outcome( send( "in Ethernet1 dmac router ipv4 dst 10.2.0.1" ) ), "cpu:0" );
   EXPECT_EQ( outcome( send( "in Ethernet2 dmac router ipv4 dst 10.2.0.1" ) ), "E4" );
   EXPECT_EQ( outcome( send( "in Ethernet1 dmac router ipv6 dst 2001:db8:2::1" ) ), "E4" );
   chip().controlIs( 2, SwitchControl::V4L3DstMissToCpu, 0 );
   EXPECT_EQ( outcome( send( "in Ethernet2 dmac router ipv4 dst 10.99.0.1" ) ), "none" );
   EXPECT_EQ( outcome( send( "in Ethernet3 dmac router ipv4 dst 10.99.0.1" ) ), "cpu:0" );
}

} // namespace
} // namespace Strata
