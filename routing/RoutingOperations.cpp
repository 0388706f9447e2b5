// The helper's generic interface: its attributes from their table, and the operations by name.
#include "routing/RoutingStatusHelper.h"

namespace Strata {

// The row stringifies the function's own name, so that a name cannot lead to another function.
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
   OPERATION( handleTcamEntryLb, "loopback entries, as useLb says" )
   OPERATION( handleTcamEntryVlanFlood, "the entry for routed floods in a VLAN", "create" )
   OPERATION( handleTcamEntryVlanFloodPbr, "the entry for floods that policy routing steers", "create" )
   OPERATION( handleEnableTcamEntryVlanFloodPbr, "switch that entry on or off", "enable" )
   OPERATION( handleTcamEntryL3Recirc, "second passes into and out of tunnels", "create" )
   OPERATION( handleTcamEntryVlanFloodVxlan, "floods in a VXLAN VLAN by recirculation", "create" )
   OPERATION( handleTcamEntryVxlanEncapFlood, "floods in a VXLAN VLAN in one pass", "create" )
   OPERATION( reprogramVlanFloodRequiredInc, "raise the counter; returns the new value", "delta" )
   OPERATION( reprogramVlanFloodEntries, "push the flood bitmap into the flood entries" )
   OPERATION( updateVlanFloodPbmp, "move one port in or out of the flood bitmap", "intf" )
   OPERATION( updateVlanFloodTcamEntryPbmp, "rewrite the ports of one flood entry on one unit", "unit", "pbr" )
   OPERATION( handleTcamEntryL2McastCpu, "the entries of the reserved multicast groups", "create" )
   OPERATION( programSkipL2McastPktFromCoreToCpu, "known multicast out of a tunnel skips the CPU", "vxlanEnabled" )
   OPERATION( handleTcamEntryMplsTrafficDrop, "MPLS to a router MAC", "create" )
   OPERATION( handleMplsRouting, "MPLS routing on or off", "enable" )
   OPERATION( handleTcamEntryMplsPhpLspPing, "LSP ping after the last label was popped", "create" )
   OPERATION( handleRouting, "IPv4 and IPv6 routing of the whole chip", "enable", "enable6" )
   OPERATION( programSwitchCtrlPortSet, "the routing controls for one port", "intf" )
   OPERATION( handleVlanRoutingState, "the routing flags of a VLAN", "vlanId", "state" )
   OPERATION( handlePerVlanRouting, "VLANs route only where enabled one by one", "enable" )
   OPERATION( enableVlanRouting, "routing of one VLAN", "vlanId", "enable" )
   OPERATION( handleIpAddressState, "which addresses a VLAN's interface has", "vlanId", "ip4", "ip6" )
   OPERATION( handleVlanCpuPort, "the CPU's membership of a VLAN", "vlanId", "block" )
   OPERATION( addMyStationTcamEntry, "write a my-station entry", "unit", "index", "mac", "vlanIdValid", "vlanId", "ingressPortCpu", "arpTermination", "routing" )
   OPERATION( removeMyStationTcamEntry, "clear a my-station entry", "unit", "index" )
   OPERATION( verifyMyStationTcamEntry, "check a my-station entry in the chip", "unit", "index", "valid", "mac", "vlanIdValid", "vlanId", "ingressPortCpu", "arpTermination", "routing" )
   OPERATION( handlePeerMacRouting, "the my-station entries of the MLAG peer's MAC", "mac", "add" )
   OPERATION( verifyPeerMacRoutingStatus, "check them against the MLAG state" )
   OPERATION( handleTcamEntryL2ToCpu, "the entries of the router MAC" )
   OPERATION( handleTcamEntryL2FennicToCpu, "the entries of the virtual router MAC" )
   OPERATION( installTcamEntryForNonRoutableToCpu, "trap and ARP entries of a MAC kind", "macType" )
   OPERATION( installTcamEntryForL3Vxlan, "tunnelled packets for the router", "macType" )
   OPERATION( programL2VxlanTcam, "tunnelled packets for stations", "macType" )
   OPERATION( handleTcamEntryArpReplyToCpu, "ARP replies to a router MAC", "macType" )
   OPERATION( handleTcamEntryArpReqUnicastDrop, "unicast ARP requests to the router MAC" )
   OPERATION( getUrpfTcamEntryManager, "the manager of the uRPF entries" )
   OPERATION( handleTcamEntryUrpf, "the uRPF exemption entry of a family", "enable", "ipv4" )
   OPERATION( doUrpfHwInitStage1, "both of them", "enable" )
   OPERATION( handleTcamEntryVlanFloodDrop, "the unknown-MAC drop pair of a traffic class", "tc", "create" )
   OPERATION( createTcamEntryVlanFloodTc, "make that pair; returns its lower id", "tc" )
   OPERATION( deleteTcamEntryVlanFloodTc, "remove that pair", "tc", "id" )
   OPERATION( updateVlanFloodTcamEntriesOnSpeedChange, "a port became active or inactive", "intf", "active" )
   OPERATION( updateVlanFloodIgnoreIntf, "an interface may have become routed or bridged", "intf" )
   OPERATION( routedIntf, "the interface is routed", "intf" )
   OPERATION( routedLagMember, "the interface's LAG is routed", "intf" )
   OPERATION( resetUnknownMacDropCounters, "the class's counter starts at 0 again", "tc" )
   OPERATION( updateUnknownMacDropCounters, "read the class's counter", "tc" )
   OPERATION( handlePeerMacArpRedirect, "ARP for the MLAG peer's router MAC", "mac", "peerLink", "enable" )
   // clang-format on
   return all;
}

#undef OPERATION

VORMEL_ENTITY_TYPE( RoutingStatusHelper, STRATA_ROUTING_STATUS_HELPER_ATTRIBUTES, operations() )

} // namespace Strata
