// The helper's generic interface: its attributes from their table, and the operations by name.
#include "routing/RoutingStatusHelper.h"

namespace Strata {

// The row stringifies the function's name, so a name cannot refer to another function.
#define OPERATION( function, summary, ... ) \
   all.push_back( Vormel::operation<RoutingStatusHelper, &RoutingStatusHelper::function>( \
      #function, { __VA_ARGS__ }, summary ) );

static Vormel::EntityType::Operations operations()
{
   Vormel::EntityType::Operations all;
   // clang-format off
   OPERATION( init, "bring the chips' L3 engine up or down", "enable", "initHw" )
   OPERATION( l3Init, "init( enable, true )", "enable" )
   OPERATION( initCpuControlM, "send MPLS exceptions to the CPU" )
   OPERATION( doWriteIngConfig, "program uRPF and IGMP controls and the ingress configuration" )
   OPERATION( doNotCopyPacketFromCpuToCpu, "never copy the CPU's own packets back to it" )
   OPERATION( initializeNextHopToCpuTcam, "copy packets whose next hop is the CPU to it" )
   OPERATION( handleTcamEntryLb, "make or remove the loopback entries, according to useLb" )
   OPERATION( handleTcamEntryVlanFlood, "make or remove the entry for routed floods in a VLAN", "create" )
   OPERATION( handleTcamEntryVlanFloodPbr, "make or remove the entry for floods of policy routing", "create" )
   OPERATION( handleEnableTcamEntryVlanFloodPbr, "enable or disable the entry for floods of policy routing", "enable" )
   OPERATION( handleTcamEntryL3Recirc, "make or remove the entries for second passes into and out of tunnels", "create" )
   OPERATION( handleTcamEntryVlanFloodVxlan, "make or remove the entry for floods in a VXLAN VLAN by recirculation", "create" )
   OPERATION( handleTcamEntryVxlanEncapFlood, "make or remove the entry for floods in a VXLAN VLAN in one pass", "create" )
   OPERATION( reprogramVlanFloodRequiredInc, "raise the generation of the flood bitmap; returns the new value", "delta" )
   OPERATION( reprogramVlanFloodEntries, "write the flood bitmap into the flood entries" )
   OPERATION( updateVlanFloodPbmp, "put one port into the flood bitmap or take it out", "intf" )
   OPERATION( updateVlanFloodTcamEntryPbmp, "rewrite the ports of one flood entry on one unit", "unit", "pbr" )
   OPERATION( handleTcamEntryL2McastCpu, "make or remove the entries of the reserved multicast groups", "create" )
   OPERATION( programSkipL2McastPktFromCoreToCpu, "make or remove the entry by which known multicast from a tunnel skips the CPU", "vxlanEnabled" )
   OPERATION( handleTcamEntryMplsTrafficDrop, "make or remove the entry for MPLS to a router MAC", "create" )
   OPERATION( handleMplsRouting, "turn MPLS routing on or off", "enable" )
   OPERATION( handleTcamEntryMplsPhpLspPing, "make or remove the entry for LSP ping behind a popped last label", "create" )
   OPERATION( handleRouting, "turn IPv4 and IPv6 routing of the whole chip on or off", "enable", "enable6" )
   OPERATION( programSwitchCtrlPortSet, "write the routing controls for one port", "intf" )
   OPERATION( handleVlanRoutingState, "write the routing flags of a VLAN", "vlanId", "state" )
   OPERATION( handlePerVlanRouting, "let VLANs route only if enabled individually", "enable" )
   OPERATION( enableVlanRouting, "turn routing of one VLAN on or off", "vlanId", "enable" )
   OPERATION( handleIpAddressState, "set the families of which a VLAN's interface has an address", "vlanId", "ip4", "ip6" )
   OPERATION( handleVlanCpuPort, "take the CPU port out of a VLAN or put it back", "vlanId", "block" )
   OPERATION( addMyStationTcamEntry, "write a my-station entry", "unit", "index", "mac", "vlanIdValid", "vlanId", "ingressPortCpu", "arpTermination", "routing" )
   OPERATION( removeMyStationTcamEntry, "clear a my-station entry", "unit", "index" )
   OPERATION( verifyMyStationTcamEntry, "check a my-station entry in the chip", "unit", "index", "valid", "mac", "vlanIdValid", "vlanId", "ingressPortCpu", "arpTermination", "routing" )
   OPERATION( handlePeerMacRouting, "write or clear the my-station entries of the MLAG peer's MAC", "mac", "add" )
   OPERATION( verifyPeerMacRoutingStatus, "check the my-station entries of the peer's MAC against the MLAG state" )
   OPERATION( handleTcamEntryL2ToCpu, "make or remove the entries of the router MAC" )
   OPERATION( handleTcamEntryL2FennicToCpu, "make or remove the entries of the virtual router MAC" )
   OPERATION( installTcamEntryForNonRoutableToCpu, "make or remove the trap and ARP entries of a MAC kind", "macType" )
   OPERATION( installTcamEntryForL3Vxlan, "make or remove the entry for tunnelled packets to the router", "macType" )
   OPERATION( programL2VxlanTcam, "make or remove the entry for tunnelled packets to stations", "macType" )
   OPERATION( handleTcamEntryArpReplyToCpu, "make the entry for ARP replies to a router MAC", "macType" )
   OPERATION( handleTcamEntryArpReqUnicastDrop, "make the entry for unicast ARP requests to the router MAC" )
   OPERATION( getUrpfTcamEntryManager, "return the manager of the uRPF entries" )
   OPERATION( handleTcamEntryUrpf, "make or remove the uRPF exemption entry of a family", "enable", "ipv4" )
   OPERATION( doUrpfHwInitStage1, "make or remove the uRPF exemption entries of both families", "enable" )
   OPERATION( handleTcamEntryVlanFloodDrop, "make or remove the unknown-MAC drop pair of a traffic class", "tc", "create" )
   OPERATION( createTcamEntryVlanFloodTc, "make the unknown-MAC drop pair of a traffic class; returns its lower id", "tc" )
   OPERATION( deleteTcamEntryVlanFloodTc, "remove the unknown-MAC drop pair of a traffic class", "tc", "id" )
   OPERATION( updateVlanFloodTcamEntriesOnSpeedChange, "report that a port became active or inactive", "intf", "active" )
   OPERATION( updateVlanFloodIgnoreIntf, "report that an interface may have become routed or bridged", "intf" )
   OPERATION( routedIntf, "whether the interface is routed", "intf" )
   OPERATION( routedLagMember, "whether the interface's LAG is routed", "intf" )
   OPERATION( resetUnknownMacDropCounters, "set the class's unknown-MAC drop counter to 0", "tc" )
   OPERATION( updateUnknownMacDropCounters, "update the class's unknown-MAC drop counter from hardware", "tc" )
   OPERATION( handlePeerMacArpRedirect, "make or remove the redirect of ARP for the MLAG peer's router MAC", "mac", "peerLink", "enable" )
   // clang-format on
   return all;
}

#undef OPERATION

VORMEL_ENTITY_TYPE( RoutingStatusHelper, STRATA_ROUTING_STATUS_HELPER_ATTRIBUTES, operations() )

} // namespace Strata
