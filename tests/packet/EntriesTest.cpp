// The effect of each entry on a packet, which is sent with and without the entry. The difference is the proof.
#include "tests/packet/PacketTest.h"

namespace Strata {
namespace {

struct Proof
{
   const char* entry;    // empty: the outcome does not depend on an entry
   const char* profiles; // the switches that have it, with their properties, separated by ';'
   const char* packet;
   const char* with;
   const char* without;
   const char* setup = "";
   const char* alsoGone = ""; // another entry, which would do the same
};

// Packets that arrive through a tunnel.
#define TUNNEL "in Ethernet8 dmac router ipv4 src 192.0.2.2 dst 192.0.2.1 udp vxlan 5030 "
#define VIRTUAL_TUNNEL \
   "in Ethernet8 dmac virtual-router ipv4 src 192.0.2.2 dst 192.0.2.1 udp vxlan 5030 "
#define PEER_TUNNEL \
   "in Ethernet8 dmac 02:00:a1:00:00:02 ipv4 src 192.0.2.2 dst 192.0.2.1 udp vxlan 5030 "
// ARP for the MLAG peer's router MAC goes to the peer; IP packets to it are routed here.
#define PEER( link ) \
   "set mlagHwStatus.peerMacRoutingSupported true\n" \
   "call handlePeerMacArpRedirect 02:00:a1:00:00:02 " link " true\n" \
   "call handlePeerMacRouting 02:00:a1:00:00:02 true"
// A port without a cable, used for recirculation.
#define SPARE_PORT \
   "no interface Ethernet6\nset recircStatus.recircPort[0] 6\ncall handleTcamEntryL3Recirc true"
#define ALL "hsdk;register;fabric-vfi;acl"

const Proof proofs[] = {
   // Routed floods.
   { "vlanFlooding", "hsdk;acl;register with lbViaRecircOnly",
      "in Ethernet1 dmac router ipv4 dst 10.4.0.1", "E4 E5 E6", "none" },
   { "vlanFlooding", "hsdk;acl", "in Ethernet1 dmac router ipv4 dst 10.4.0.1", "E4 E6", "none",
      "set Ethernet5.forwardingModel routed" },
   { "vlanFlooding", "register", "in Ethernet1 dmac router ipv4 dst 10.4.0.1", "E4 E5 E6 x2",
      "none" },
   { "lbRecirc", "register", "in Ethernet1 dmac router ipv4 dst 10.4.0.1", "E4 E5 E6 x2",
      "E4 E5 E6 +loopback x2", "set l2Mcast.size 1\ncall l3Init true" },
   { "vlanFloodingFabric", "fabric-vfi", "in Ethernet1 dmac router ipv4 dst 10.4.0.1", "cpu:0",
      "none" },
   { "vlanFloodingPbr", "hsdk;register", "in Ethernet1 dmac router ipv4 dst 10.2.0.1", "E4 E5 E6",
      "none",
      "set pbr.pbrEnabled true\n"
      "pbr flood to 10.2.0.0/16 via flood mac 00:00:00:00:04:04 vlan 20" },
   { "vlanFloodingVxlan", "register", "in Ethernet1 dmac router ipv4 dst 10.7.0.1", "E7 E8 x2",
      "E7", "set recircStatus.recircPort[0] 259\ncall handleTcamEntryVlanFloodVxlan true" },
   { "vlanFloodingVxlan", "register", "in Ethernet1 dmac router ipv4 dst 10.7.0.1",
      "E7 E8 +loopback x2", "E7" },
   { "vxlanEncapFlooding", "hsdk", "in Ethernet1 dmac router ipv4 dst 10.7.0.1", "E7 E8", "none" },
   { "vxlanEncapFlooding", "register", "in Ethernet1 dmac router ipv4 dst 10.7.0.1", "E7", "none",
      "", "vlanFloodingVxlan" },
   { "vxlanEncapFlooding", "fabric-vfi", "in Ethernet1 dmac router ipv4 dst 10.7.0.1", "E7",
      "none" },
   { "vlanFloodingPbr", "register", "in Ethernet1 dmac router ipv4 dst 10.2.0.1", "none", "none",
      "pbr flood to 10.2.0.0/16 via flood mac 00:00:00:00:04:04 vlan 20" },

   // Packets that return from internal ports.
   { "lbRecirc", "register", "in loopback vlan 20 dmac 00:00:00:00:04:04 ipv4", "E4 E5 E6",
      "E4 E5 E6 +loopback" },
   { "lbRecirc", "register", "in loopback vlan 30 dmac 00:00:00:00:07:99 ipv4", "E7 E8 +loopback",
      "E7 E8 +loopback" },
   { "lbRecircFabric", "fabric-vfi", "in loopback vlan 20 dmac 00:00:00:00:04:04 ipv4", "E4 E5 E6",
      "E4 E5 E6 +loopback" },
   { "lbRecircL2Uc", "register;fabric-vfi", "in loopback vlan 20 dmac 00:00:00:00:04:04 ipv4", "E5",
      "E5 +loopback", "mac 00:00:00:00:04:04 vlan 20 Ethernet5" },
   { "l3RecircAfterDecap", "register", TUNNEL "dmac router ipv4 dst 10.2.0.1", "E4 x2", "cpu:28",
      "set recircStatus.recircPort[0] 259\ncall handleTcamEntryL3Recirc true" },
   { "l3RecircAfterDecap", "register", TUNNEL "dmac router ipv4 dst 10.2.0.1", "E4 x2", "cpu:28" },
   { "l3RecircAfterDecap", "register;acl with vxlanSupported",
      TUNNEL "dmac router ipv4 dst 10.2.0.1", "E4 x2", "cpu:28", SPARE_PORT },
   { "l3RecircAfterDecap", "register", TUNNEL "dmac router mpls 100 ipv4", "E5 x2", "cpu:28",
      "mpls 100 pop via Ethernet5 mac 00:00:00:00:05:05 vlan 20\ncall handleMplsRouting true" },
   { "mplsPkt", "register", TUNNEL "dmac router mpls 100 ipv4", "none x2", "cpu:0 x2",
      "mpls 100 pop via Ethernet5 mac 00:00:00:00:05:05 vlan 20" },
   { "l3RecircForEncap", "register", "in Ethernet1 dmac router ipv4 dst 10.9.0.1", "E8 x2",
      "none" },

   // Unknown MAC addresses of a traffic class.
   { "\"L2 unknown mac drop traffic-class 3\"", ALL,
      "in Ethernet1 vlan 10 priority 3 dmac 00:00:00:00:77:77 ipv4", "none", "E2 E3",
      "set miscConfig.unknownMacDropTrafficClass[3] true" },
   { "\"L2 unknown mac drop traffic-class 3\"", ALL,
      "in Ethernet1 vlan 10 priority 2 dmac 00:00:00:00:77:77 ipv4", "E2 E3", "E2 E3",
      "set miscConfig.unknownMacDropTrafficClass[3] true" },
   { "\"L3 unknown mac drop traffic-class 3\"", "hsdk;acl",
      "in Ethernet1 vlan 10 priority 3 dmac router ipv4 dst 10.4.0.1", "none", "E4 E5 E6",
      "set miscConfig.unknownMacDropTrafficClass[3] true" },
   { "\"L3 unknown mac drop traffic-class 3\"", "fabric-vfi",
      "in Ethernet1 vlan 10 priority 3 dmac router ipv4 dst 10.4.0.1", "none", "cpu:0",
      "set miscConfig.unknownMacDropTrafficClass[3] true" },
   { "\"L3 unknown mac drop traffic-class 3\"", "register",
      "in Ethernet1 vlan 10 priority 3 dmac router ipv4 dst 10.4.0.1", "none", "E4 E5 E6 x2",
      "set miscConfig.unknownMacDropTrafficClass[3] true",
      "\"L2 unknown mac drop traffic-class 3\"" },
   { "\"L3MC unknown mac drop traffic-class 3\"",
      "hsdk without floodingPortSupported;register without floodingPortSupported;"
      "acl without floodingPortSupported",
      "in Ethernet1 vlan 10 priority 3 dmac router ipv4 dst 10.4.0.1", "none", "E4 E5 E6",
      "set miscConfig.unknownMacDropTrafficClass[3] true" },

   { "\"L2 unknown mac drop traffic-class 3\"", ALL,
      "in Ethernet1 vlan 10 priority 3 dmac router ethertype 0x88b5", "cpu:0", "cpu:0",
      "set miscConfig.unknownMacDropTrafficClass[3] true" },

   // Packets to a router MAC: packets that are not routed, tunnelled packets, ARP.
   { "l2OnlyCpuRx", ALL, "in Ethernet1 dmac router ethertype 0x88b5", "cpu:0", "E2 E3" },
   { "l2OnlyFennicCpuRx", ALL, "in Ethernet1 dmac virtual-router ethertype 0x88b5", "cpu:0",
      "E2 E3" },
   { "l2OnlyCpuRx", "hsdk;register;fabric-vfi", "in Ethernet1 dmac router ethertype 0x88b5",
      "E2 E3", "E2 E3", "no vlan 10 svi" },
   { "l2OnlyCpuRx", "hsdk;register;fabric-vfi", "in Ethernet1 dmac router ethertype 0x88b5",
      "E2 E3", "E2 E3", "openflow Ethernet1" },
   { "l2OnlyCpuRx", "hsdk;register;fabric-vfi", "in Ethernet1 dmac router ethertype 0x88b5",
      "E2 E3", "E2 E3", "vlan 10 drop-routed" },
   { "l2OnlyCpuRx", "register", "in higig vlan 10 dmac router ethertype 0x88b5", "E1 E2 E3",
      "E1 E2 E3" },
   { "l2OnlyCpuRx", "register without higigQualifierSupported",
      "in higig vlan 10 dmac router ethertype 0x88b5", "cpu:0", "E1 E2 E3", "openflow cpu" },
   { "l2OnlyCpuRxFromCpu", ALL, "in cpu vlan 10 dmac router ethertype 0x88b5", "cpu:0",
      "E1 E2 E3" },
   { "l2OnlyFennicCpuRxFromCpu", ALL, "in cpu vlan 10 dmac virtual-router ethertype 0x88b5",
      "cpu:0", "E1 E2 E3" },
   { "l2OnlyCpuRxFromCpu", ALL, "in cpu vlan 10 dmac router ethertype 0x88b5", "none", "E1 E2 E3",
      "call doNotCopyPacketFromCpuToCpu" },
   { "l2OnlyFennicCpuRxFromCpu", ALL, "in cpu vlan 10 dmac virtual-router ethertype 0x88b5", "none",
      "E1 E2 E3", "call doNotCopyPacketFromCpuToCpu" },
   { "l2OnlyFennicCpuRx", "hsdk;register;fabric-vfi",
      "in Ethernet1 dmac virtual-router ethertype 0x88b5", "E2 E3", "E2 E3", "no vlan 10 svi" },
   { "l2OnlyFennicCpuRx", "hsdk;register;fabric-vfi",
      "in Ethernet1 dmac virtual-router ethertype 0x88b5", "E2 E3", "E2 E3", "openflow Ethernet1" },
   { "l3Vxlan", "hsdk;register without lbPortAvailable;fabric-vfi",
      TUNNEL "dmac router arp reply from 10.7.0.9 for 10.7.0.1", "cpu:28", "cpu:0" },
   { "l3Vxlan", "register without lbPortAvailable", TUNNEL "dmac router ipv4 dst 10.2.0.1",
      "cpu:28", "cpu:0" },
   { "l3Vxlan", "hsdk", TUNNEL "dmac router ipv4 dst 10.2.0.1", "E4", "E4" },
   { "l3VxlanFennic", "hsdk;register without lbPortAvailable;fabric-vfi",
      VIRTUAL_TUNNEL "dmac router arp reply from 10.7.0.9 for 10.7.0.1", "cpu:28", "cpu:0" },
   { "l2VxlanForBridgeMac", "hsdk;register;fabric-vfi", TUNNEL "dmac 00:00:00:00:07:07 ipv4", "E7",
      "cpu:0" },
   { "l2VxlanForBridgeMac", "hsdk;register;fabric-vfi",
      TUNNEL "dmac ff:ff:ff:ff:ff:ff arp request from 10.7.0.9 for 10.7.0.1", "E7 cpu:28",
      "cpu:0" },
   { "l2VxlanForFennicMac", "hsdk;register;fabric-vfi",
      VIRTUAL_TUNNEL "dmac ff:ff:ff:ff:ff:ff arp request from 10.7.0.9 for 10.7.0.1", "E7 cpu:28",
      "cpu:0" },
   { "l2VxlanForFennicMac", "hsdk;register;fabric-vfi",
      VIRTUAL_TUNNEL "dmac 00:00:00:00:07:07 ipv4", "E7", "cpu:0" },
   { "arpReply", ALL, "in Ethernet1 dmac router arp reply from 10.1.0.5 for 10.1.0.1", "cpu:0",
      "E2 E3", "", "l2OnlyCpuRx" },
   { "arpFennicReply", ALL, "in Ethernet1 dmac virtual-router arp reply from 10.1.0.5 for 10.1.0.1",
      "cpu:0", "E2 E3", "", "l2OnlyFennicCpuRx" },
   { "arpRequestUnicast", ALL, "in Ethernet1 dmac router arp request from 10.1.0.5 for 10.1.0.1",
      "none", "cpu:0" },

   { "arpReply", "hsdk;register;fabric-vfi",
      "in Ethernet1 dmac router arp reply from 10.1.0.5 for 10.1.0.1", "E2 E3", "E2 E3",
      "no vlan 10 svi" },
   { "arpRequestUnicast", "hsdk;register;fabric-vfi",
      "in Ethernet1 dmac router arp request from 10.1.0.5 for 10.1.0.1", "E2 E3", "E2 E3",
      "no vlan 10 svi" },
   { "arpReply", "hsdk;register;fabric-vfi",
      "in Ethernet1 dmac router arp reply from 10.1.0.5 for 10.1.0.1", "E2 E3", "E2 E3",
      "vlan 10 drop-routed" },
   { "arpRequestUnicast", "hsdk;register;fabric-vfi",
      "in Ethernet1 dmac router arp request from 10.1.0.5 for 10.1.0.1", "E2 E3", "E2 E3",
      "vlan 10 drop-routed" },
   { "arpReply", "hsdk;register;fabric-vfi",
      "in Ethernet1 dmac router arp reply from 10.1.0.5 for 10.1.0.1", "E2 E3", "E2 E3",
      "openflow Ethernet1" },
   { "arpRequestUnicast", "hsdk;register;fabric-vfi",
      "in Ethernet1 dmac router arp request from 10.1.0.5 for 10.1.0.1", "E2 E3", "E2 E3",
      "openflow Ethernet1" },

   // Exceptions.
   { "", "hsdk with noNextHopToCpuEntry", "in Ethernet1 dmac router ipv4 dst 10.3.0.1 tcp dport 22",
      "cpu:0", "cpu:0" },
   { "nexthopToCpu", ALL, "in Ethernet1 dmac router ipv4 dst 10.3.0.1 tcp dport 22", "cpu:0",
      "none" },
   { "ttl-check 1", "fabric-vfi", "in Ethernet1 dmac router ipv4 dst 10.2.0.1 ttl 1", "cpu:26",
      "none" },
   { "ttl-check 0", "fabric-vfi", "in Ethernet1 dmac router ipv4 dst 10.2.0.1 ttl 0", "cpu:26",
      "none" },
   { "ttl-check 1", "fabric-vfi", "in Ethernet1 dmac router ipv6 dst 2001:db8:2::1 ttl 1", "cpu:26",
      "none" },
   { "ttl-check 0", "fabric-vfi", "in Ethernet1 dmac router ipv6 dst 2001:db8:2::1 ttl 0", "cpu:26",
      "none" },
   { "ttl-check 1", "fabric-vfi", "in Ethernet1 dmac router ipv4 dst 10.2.0.1 ttl 2", "E4", "E4" },
   { "urpf-single-wide 0", ALL, "in Ethernet1 dmac router ipv4 src 172.16.0.1 dst 10.2.0.1", "E4",
      "none", "vlan 10 urpf strict l3-class 1\ncall doUrpfHwInitStage1 true" },
   { "urpf-single-wide 1", ALL, "in Ethernet1 dmac router ipv6 src 2001:db8:9::1 dst 2001:db8:2::1",
      "E4", "none", "vlan 10 urpf loose l3-class 2\ncall doUrpfHwInitStage1 true" },
   { "urpf-double-wide 0", ALL, "in Ethernet1 dmac router ipv4 src 172.16.0.1 dst 10.2.0.1", "E4",
      "none",
      "vlan 10 urpf strict l3-class 1\nset urpf.doubleWideMode true\n"
      "call doUrpfHwInitStage1 true" },
   { "urpf-double-wide 1", ALL, "in Ethernet1 dmac router ipv6 src 2001:db8:9::1 dst 2001:db8:2::1",
      "E4", "none",
      "vlan 10 urpf loose l3-class 2\nset urpf.doubleWideMode true\n"
      "call doUrpfHwInitStage1 true" },

   // Layer-2 multicast and the CPU. Only a broadcast reaches the CPU without an entry.
   { "mcastDataRsvdMacAddress", ALL, "in Ethernet1 dmac 01:00:5e:00:00:05 ipv4 dst 224.0.0.5",
      "E2 E3 cpu:0", "E2 E3" },
   { "mcastDataRsvdMacAddress", ALL, "in Ethernet1 dmac 01:00:5e:00:00:05 ipv4 dst 225.0.0.5",
      "E2 E3 cpu:0", "E2 E3" },
   { "l2McastCpuTx", ALL, "in cpu vlan 10 dmac 01:00:5e:01:01:01 ipv4 dst 224.1.1.1", "E1 E2 E3",
      "E1 E2 E3 cpu:0", "mac 01:00:5e:01:01:01 vlan 10 group 1" },
   { "l2McastCpuRx", ALL, "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 dst 224.1.1.1", "cpu:0",
      "E2 E3 cpu:0", "mac 01:00:5e:01:01:01 vlan 10 group 1" },
   { "l2McastCpuAndFlood", ALL, "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 dst 224.1.1.1",
      "E2 E3 cpu:0", "E2 E3",
      "mac 01:00:5e:01:01:01 vlan 10 group 2\nl2mcast 2 Ethernet1 Ethernet2 Ethernet3" },
   { "l2McastFlood", ALL, "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 dst 224.1.1.1", "E2 E3",
      "E2 E3 cpu:0", "mac 01:00:5e:01:01:01 vlan 10 group 3" },
   // A group whose members are not those of the VLAN.
   { "l2McastCpuTx", "register;fabric-vfi",
      "in cpu vlan 10 dmac 01:00:5e:01:01:01 ipv4 dst 224.1.1.1", "E1 E2 E3", "E2 cpu:0",
      "mac 01:00:5e:01:01:01 vlan 10 group 1\nl2mcast 1 Ethernet2 cpu" },
   { "l2McastCpuTx", "hsdk;acl", "in cpu vlan 10 dmac 01:00:5e:01:01:01 ipv4 dst 224.1.1.1", "E2",
      "E2 cpu:0", "mac 01:00:5e:01:01:01 vlan 10 group 1\nl2mcast 1 Ethernet2 cpu" },
   { "l2McastCpuAndFlood", "register;fabric-vfi",
      "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 dst 224.1.1.1", "E2 E3 cpu:0", "E2",
      "mac 01:00:5e:01:01:01 vlan 10 group 2\nl2mcast 2 Ethernet2" },
   { "l2McastCpuAndFlood", "hsdk;acl", "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 dst 224.1.1.1",
      "E2 cpu:0", "E2", "mac 01:00:5e:01:01:01 vlan 10 group 2\nl2mcast 2 Ethernet2" },
   { "l2McastFlood", "register;fabric-vfi",
      "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 dst 224.1.1.1", "E2 E3", "E2 cpu:0",
      "mac 01:00:5e:01:01:01 vlan 10 group 3\nl2mcast 3 Ethernet2 cpu" },
   { "l2McastFlood", "hsdk;acl", "in Ethernet1 dmac 01:00:5e:01:01:01 ipv4 dst 224.1.1.1", "E2",
      "E2 cpu:0", "mac 01:00:5e:01:01:01 vlan 10 group 3\nl2mcast 3 Ethernet2 cpu" },
   { "l2McastCpuRx", "register", "in higig vlan 10 dmac 01:00:5e:01:01:01 ipv4 dst 224.1.1.1",
      "cpu:0", "E1 E2 E3 cpu:0", "mac 01:00:5e:01:01:01 vlan 10 group 1" },
   { "", "hsdk;register;fabric-vfi", TUNNEL "dmac 01:00:5e:01:01:01 ipv4 dst 224.1.1.1",
      "E7 cpu:28", "E7 cpu:28",
      "set scsd.vxlanEnabled false\nl2mcast 50 Ethernet7 cpu\n"
      "mac 01:00:5e:01:01:01 vlan 30 group 50" },
   { "skipL2McastPktFromCoreToCpu", "hsdk;register;fabric-vfi",
      TUNNEL "dmac 01:00:5e:01:01:01 ipv4 dst 224.1.1.1", "E7", "E7 cpu:28",
      "set scsd.vxlanEnabled true\nl2mcast 50 Ethernet7 cpu\n"
      "mac 01:00:5e:01:01:01 vlan 30 group 50" },
   { "skipL2McastPktFromCoreToCpu", "hsdk;register;fabric-vfi",
      TUNNEL "dmac 01:00:5e:01:01:01 ipv4 dst 224.1.1.1", "E7", "cpu:0",
      "set scsd.vxlanEnabled true\nmac 01:00:5e:01:01:01 vlan 30 group 1" },

   // MPLS.
   { "mplsPkt", ALL, "in Ethernet1 dmac router mpls 100 ipv4 dst 10.2.0.1", "none", "cpu:0",
      "mpls 100 swap 200 via Ethernet5 mac 00:00:00:00:05:05 vlan 20" },
   { "mplsPkt", ALL, "in Ethernet1 dmac 00:00:00:00:77:77 mpls 100 ipv4", "E2 E3", "E2 E3" },
   { "mplsPkt", ALL, "in Ethernet1 dmac router mpls 100 ipv4", "E5", "cpu:0",
      "mpls 100 pop via Ethernet5 mac 00:00:00:00:05:05 vlan 20\ncall handleMplsRouting true" },
   { "mplsPkt", "hsdk;register;fabric-vfi", "in Ethernet1 dmac router mpls 101 ipv4", "cpu:27",
      "cpu:0", "call handleMplsRouting true" },
   { "mplsPkt", "acl", "in Ethernet1 dmac router mpls 101 ipv4", "none", "none",
      "call handleMplsRouting true" },
   { "php-lsp-ping 0", ALL, "in Ethernet1 dmac router ipv4 dst 127.0.0.1 udp dport 3503", "cpu:0",
      "none", "call handleMplsRouting true\ncall handleRouting false false" },
   { "php-lsp-ping 0", ALL, "in Ethernet1 dmac router ipv4 dst 127.0.0.1 udp dport 3504", "none",
      "none", "call handleMplsRouting true\ncall handleRouting false false" },

   // The MLAG peer.
   { "peer-mac-arp 0", ALL, "in Ethernet1 dmac 02:00:a1:00:00:02 arp request for 10.1.0.2", "E3",
      "E2 E3", PEER( "Ethernet3" ) },
   { "peer-mac-arp 0", ALL, "in Ethernet3 dmac 02:00:a1:00:00:02 arp request for 10.1.0.2", "E1 E2",
      "E1 E2", PEER( "Ethernet3" ) },
   { "peer-mac-arp 0", ALL, "in Ethernet1 dmac 02:00:a1:00:00:02 ipv4 dst 10.2.0.1", "E4", "E4",
      PEER( "Ethernet3" ) },
   { "peer-mac-arp 0", ALL, "in Ethernet1 dmac 02:00:a1:00:00:02 arp reply for 10.1.0.2", "E3",
      "E2 E3", PEER( "Ethernet3" ) },
   // With peer routing on, tunnels to the peer's MAC end here. No entry matches the packets inside, so those that are
   // not routed are bridged.
   { "", "hsdk;register without lbPortAvailable;fabric-vfi",
      PEER_TUNNEL "dmac router arp reply from 10.7.0.9 for 10.7.0.1", "E7", "E7",
      PEER( "Ethernet3" ) },
   { "", "hsdk;register;fabric-vfi",
      PEER_TUNNEL "dmac ff:ff:ff:ff:ff:ff arp request from 10.7.0.9 for 10.7.0.1", "E7 cpu:0",
      "E7 cpu:0", PEER( "Ethernet3" ) },
   // A LAG as peer link: its first member sends, and packets from the LAG do not return to it.
   { "peer-mac-arp 0", ALL, "in Ethernet3 dmac 02:00:a1:00:00:02 arp request for 10.1.0.2", "E1",
      "E1", "lag Port-Channel1 Ethernet2-3\n" PEER( "Port-Channel1" ) },
   { "peer-mac-arp 0", ALL, "in Ethernet1 dmac 02:00:a1:00:00:02 arp request for 10.1.0.2", "none",
      "E3", "lag Port-Channel1 Ethernet2-3\n" PEER( "Port-Channel1" ) "\nunit 0 port 2 down" },
};

#undef TUNNEL
#undef PEER
#undef PEER_TUNNEL
#undef SPARE_PORT
#undef VIRTUAL_TUNNEL
#undef ALL

std::vector<std::string> split( const std::string& text, char at )
{
   std::vector<std::string> parts;
   std::istringstream in( text );
   for( std::string part; std::getline( in, part, at ); )
      parts.push_back( part );
   return parts;
}

using EntriesTest = PacketTest;

TEST_F( EntriesTest, EveryEntryHasItsEffectOnEveryChip )
{
   for( const Proof& proof : proofs )
      for( const std::string& profile : split( proof.profiles, ';' ) ) {
         SCOPED_TRACE( profile + ": " + proof.entry + ": " + proof.packet );
         const bool takesReplies = std::string( proof.entry ).starts_with( "arp" );
         bringUp( profile, takesReplies ? "unit 0 traps-ttl-exceptions true" : "" );
         run( proof.setup );
         for( const std::string& entry : split( proof.alsoGone, ';' ) )
            release( entry );
         EXPECT_EQ( outcome( send( proof.packet ) ), proof.with );
         if( *proof.entry != 0 )
            release( proof.entry );
         run( "no mac learned" );
         EXPECT_EQ( outcome( send( proof.packet ) ), proof.without );
      }
}

TEST_F( EntriesTest, AUnitThatTrapsTtlExceptionsItselfNeedsNoEntry )
{
   bringUp( "fabric-vfi", "unit 0 traps-ttl-exceptions true" );
   EXPECT_TRUE( chip().group( "ttl-check" )->entries().empty() );
   EXPECT_EQ( outcome( send( "in Ethernet1 dmac router ipv4 dst 10.2.0.1 ttl 1" ) ), "cpu:0" );
   EXPECT_EQ( outcome( send( "in Ethernet1 dmac router ipv4 dst 10.2.0.1 ttl 2" ) ), "E4" );
}

} // namespace
} // namespace Strata
