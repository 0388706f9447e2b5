// Every attribute of the helper: number, name, type, default, meaning, and the part whose operations write it.
// Numbers are permanent and rise in declaration order; the gaps belong to operations.
#pragma once

// clang-format off
#define STRATA_ROUTING_STATUS_HELPER_ATTRIBUTES( ROW ) \
   ROW( FIELD, name, std::string, "the helper's name, given by the agent", "agent" ) \
   ROW( FIELD, scsd, Ref<StrataCommonSmData>, "shared agent data: units, shim, chip attributes", "agent" ) \
   ROW( FIELD, tcamGroupManager, Ref<StrataTcamGroupManager>, "entry managers by group assignment", "agent" ) \
   ROW( FIELD, strataPbrInfo, Ref<const StrataPbrInfo>, "policy-routing information", "agent" ) \
   ROW( SCALAR, 134, l2McastTableAllocation, Ref<const L2McastTableAllocationEnt>, nullptr, "the allocation of L2 multicast groups", "agent" ) \
   ROW( FIELD, fabricMode, bool, "the helper drives the fabric unit of a modular switch, where packets arrive with a destination", "agent" ) \
   ROW( FIELD, mlagStatus, Ref<const Mlag::Status>, "MLAG status", "agent" ) \
   ROW( FIELD, mlagHwStatus, Ref<const Mlag::Hardware::Status>, "the chip's capabilities for MLAG", "agent" ) \
   ROW( FIELD, recircStatus, Ref<Lag::Recirc::RecircFeatureStatus>, "recirculation ports", "agent" ) \
   ROW( FIELD, ethIntfStatusDir, Ref<const Interface::EthIntfStatusDir>, "Ethernet interface status", "agent" ) \
   ROW( FIELD, intfVlanIdTable, Ref<const IntfVlanId::Table>, "internal VLANs of routed interfaces", "agent" ) \
   ROW( FIELD, strataUrpfCommonData, Ref<StrataUrpfCommonData>, "uRPF data shared with the agent", "agent" ) \
   ROW( FIELD, virtualPortStatus, Ref<const VirtualPortStatus>, "virtual ports", "agent" ) \
   ROW( SCALAR, 143, tcamManager, Ref<StrataBoundedTcamEntryManager>, nullptr, "the manager of the slice's entries", "agent" ) \
   ROW( SCALAR, 144, ttlCheckTcamManager, Ref<StrataBoundedTcamEntryManager>, nullptr, "the manager of the TTL-check entries", "chip initialisation" ) \
   ROW( FIELD, portSwTablePtr, Ref<PortSwTable>, "the agent's software port table", "agent" ) \
   ROW( SCALAR, 145, tcamEntryLbRecircL2Uc, U32, 0, "entry id: known unicast back from the loopback port; 0 for none", "loopback entries" ) \
   ROW( SCALAR, 146, tcamEntryLbRecirc, U32, 0, "entry id: unknown unicast back from the loopback port; 0 for none", "loopback entries" ) \
   ROW( SCALAR, 147, allPortsL2Mc, U32, 0, "the L2 multicast group of all ports; 0 for none", "chip initialisation" ) \
   ROW( SCALAR_STEP, 150, reprogramVlanFloodRequired, U32, 0, "generation of the flood port bitmap; raising it re-programs the flood entries before it is published", "flood ports", reprogramVlanFloodEntries ) \
   ROW( MAP, 154, unknownMacCountersPerTc, U16, U64, 3439701939, "packets to unknown MACs dropped, by traffic class", "unknown-MAC drop" ) \
   ROW( MAP_STEP, 156, routedPortsAndRoutedLagMember, IntfId, bool, 0, "interfaces kept out of VLAN floods because they, or their LAGs, are routed", "flood ports", updateVlanFloodPbmp ) \
   ROW( SCALAR, 157, useLb, bool, false, "routed floods go through the loopback port", "chip initialisation" ) \
   ROW( SCALAR, 159, tcamEntryVlanFlood, U32, 0, "entry id: routed floods in a VLAN; 0 for none", "flood entries" ) \
   ROW( SCALAR, 161, tcamEntryVlanFloodPbr, U32, 0, "entry id: floods of policy routing; 0 for none", "flood entries" ) \
   ROW( MAP, 164, tcamEntryVlanFloodDrop, U32, U32, 0, "lower entry id of the unknown-MAC drop pair, by traffic class", "unknown-MAC drop" ) \
   ROW( SCALAR, 168, tcamEntryL3RecircAfterDecap, U32, 0, "entry id: second pass to route packets from a tunnel; 0 for none", "loopback entries" ) \
   ROW( SCALAR, 169, tcamEntryL3RecircForEncap, U32, 0, "entry id: second pass to put a routed packet into a tunnel; 0 for none", "loopback entries" ) \
   ROW( SCALAR, 171, tcamEntryVxlanEncapFlood, U32, 0, "entry id: routed floods in a VXLAN VLAN, in one pass; 0 for none", "flood entries" ) \
   ROW( SCALAR, 173, tcamEntryVlanFloodVxlan, U32, 0, "entry id: routed floods in a VXLAN VLAN, by recirculation; 0 for none", "flood entries" ) \
   ROW( SCALAR, 175, peerMacArpRedirect, U32, 0, "entry id: ARP for the MLAG peer's router MAC; 0 for none", "peer-MAC ARP redirect" ) \
   ROW( SCALAR, 177, tcamEntryMplsPkt, U32, 0, "entry id: MPLS to a router MAC; 0 for none", "MPLS entries" ) \
   ROW( SCALAR, 178, tcamEntryMplsActionDrop, bool, false, "tcamEntryMplsPkt drops; false: it sets the CPU queue", "MPLS entries" ) \
   ROW( SCALAR, 179, tcamEntryRouterMac, EthAddr, EthAddr(), "the router MAC that the L2-only trap has in hardware", "L2-only trap" ) \
   ROW( SCALAR, 181, vfpEntryPhpLspPing, U32, 0, "entry id: LSP ping behind a popped last label; 0 for none", "MPLS entries" ) \
   ROW( ARRAY, 183, tcamEntryTrapCpuForL2Only, MacType, U32, "entry id: trap of packets that are not routed, by router MAC kind", "L2-only trap" ) \
   ROW( ARRAY, 184, tcamEntryTrapCpuFromCpu, MacType, U32, "entry id: the same for packets from the CPU, by router MAC kind", "L2-only trap" ) \
   ROW( MAP, 185, tcamEntryArpReply, MacType, U32, 528823798, "entry id: ARP replies to a router MAC, by its kind", "ARP entries" ) \
   ROW( SCALAR, 186, tcamEntryArpReqUnicast, U32, 0, "entry id: unicast ARP requests; 0 for none", "ARP entries" ) \
   ROW( SCALAR, 187, tcamEntryMcastRsvdMacRx, U32, 0, "entry id: reserved multicast MACs; 0 for none", "L2 multicast CPU entries" ) \
   ROW( SCALAR, 188, tcamEntrySkipL2McastPktFromCoreToCpu, U32, 0, "entry id: known L2 multicast out of a tunnel skips the CPU; 0 for none", "L2 multicast CPU entries" ) \
   ROW( SCALAR, 189, tcamEntryL2McastCpuRx, U32, 0, "entry id: the CPU group from a port; 0 for none", "L2 multicast CPU entries" ) \
   ROW( SCALAR, 190, tcamEntryL2McastCpuTx, U32, 0, "entry id: the CPU group from the CPU; 0 for none", "L2 multicast CPU entries" ) \
   ROW( SCALAR, 191, tcamEntryL2McastCpuAndFlood, U32, 0, "entry id: the CPU-and-flood group; 0 for none", "L2 multicast CPU entries" ) \
   ROW( SCALAR, 192, tcamEntryL2McastFlood, U32, 0, "entry id: the flood group; 0 for none", "L2 multicast CPU entries" ) \
   ROW( ARRAY, 193, tcamEntryL3Vxlan, MacType, U32, "entry id: tunnelled packets for the router that are not routed, by router MAC kind", "VXLAN entries" ) \
   ROW( ARRAY, 194, tcamEntryL2Vxlan, MacType, U32, "entry id: tunnelled packets for stations, by router MAC kind", "VXLAN entries" ) \
   ROW( SCALAR, 206, l3Initializing, bool, false, "chip initialisation is bringing L3 up", "chip initialisation" ) \
   ROW( SCALAR, 207, l3CleaningUp, bool, false, "chip initialisation is taking L3 down", "chip initialisation" ) \
   ROW( SCALAR, 209, routing4Enabled, bool, false, "IPv4 routing is on", "global routing" ) \
   ROW( SCALAR, 210, routing6Enabled, bool, false, "IPv6 routing is on", "global routing" ) \
   ROW( SCALAR, 211, mplsRoutingEnabled, bool, false, "MPLS routing is on", "MPLS entries" ) \
   ROW( SCALAR, 212, ofFxSupported, bool, false, "flows need the chip's L3 egress mode even with routing off", "feature reactions" ) \
   ROW( SCALAR, 215, routerMacAddr, EthAddr, EthAddr(), "the switch's router MAC; zero for none", "agent" ) \
   ROW( SCALAR, 216, routerMacIndex, U32, 0xFFFF, "my-station index of the router MAC; 65535 for none", "agent" ) \
   ROW( SCALAR, 224, virtualRouterMacAddr, EthAddr, EthAddr(), "the virtual router MAC; zero for none", "agent" ) \
   ROW( SCALAR, 225, peerRouterMacAddr, EthAddr, EthAddr(), "the MLAG peer's router MAC in hardware; zero for none", "peer-MAC routing" ) \
   ROW( SCALAR, 226, peerRouterMacNoRoutingIndex, U32, 0xFFFF, "my-station index of the peer MAC from the CPU; 65535 for none", "peer-MAC routing" ) \
   ROW( SCALAR, 227, peerRouterMacIndex, U32, 0xFFFF, "my-station index of the peer MAC; 65535 for none", "peer-MAC routing" ) \
   ROW( SCALAR, 233, l3IntfFull, U32, 0xFFFFFFFF, "number of L3 interfaces at which the table was last found full; 4294967295 for never", "agent" ) \
   ROW( SCALAR, 236, perVlanRoutingEnabled, bool, false, "VLANs route only if enabled individually", "per-VLAN routing" ) \
   ROW( SCALAR, 240, urpfEnabled, bool, false, "uRPF is on", "agent" ) \
   ROW( SCALAR, 247, ipOptionsProfile, S32, -1, "the IPv4 options profile; -1 for none", "global routing" )
// clang-format on
