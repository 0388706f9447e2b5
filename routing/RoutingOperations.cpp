// The helper's generic interface: its attributes from their table, and the operations by name.
#include "routing/RoutingStatusHelper.h"

namespace Strata {

template<auto function>
static std::unique_ptr<const Vormel::Operation> op(
   std::string_view name, const std::vector<std::string>& parameters, std::string_view summary )
{
   return Vormel::operation<RoutingStatusHelper, function>( name, parameters, summary );
}

static Vormel::EntityType::Operations operations()
{
   using H = RoutingStatusHelper;
   Vormel::EntityType::Operations all;
   const auto add = [ &all ]( auto operation ) { all.push_back( std::move( operation ) ); };

   // clang-format off
   add( op<&H::init>( "init", { "enable", "initHw" }, "bring the chips' L3 engine up or down" ) );
   add( op<&H::l3Init>( "l3Init", { "enable" }, "init( enable, true )" ) );
   add( op<&H::initCpuControlM>( "initCpuControlM", {}, "send MPLS exceptions to the CPU" ) );
   add( op<&H::doWriteIngConfig>( "doWriteIngConfig", {}, "program uRPF and IGMP controls and the ingress configuration" ) );
   add( op<&H::doNotCopyPacketFromCpuToCpu>( "doNotCopyPacketFromCpuToCpu", {}, "never copy the CPU's own packets back to it" ) );
   add( op<&H::initializeNextHopToCpuTcam>( "initializeNextHopToCpuTcam", {}, "copy packets whose next hop is the CPU to it" ) );
   add( op<&H::handleTcamEntryLb>( "handleTcamEntryLb", {}, "loopback entries, as useLb says" ) );
   add( op<&H::handleTcamEntryVlanFlood>( "handleTcamEntryVlanFlood", { "create" }, "the entry for routed floods in a VLAN" ) );
   add( op<&H::handleTcamEntryVlanFloodPbr>( "handleTcamEntryVlanFloodPbr", { "create" }, "the entry for floods that policy routing steers" ) );
   add( op<&H::handleEnableTcamEntryVlanFloodPbr>( "handleEnableTcamEntryVlanFloodPbr", { "enable" }, "switch that entry on or off" ) );
   add( op<&H::handleTcamEntryL3Recirc>( "handleTcamEntryL3Recirc", { "create" }, "second passes into and out of tunnels" ) );
   add( op<&H::handleTcamEntryVlanFloodVxlan>( "handleTcamEntryVlanFloodVxlan", { "create" }, "floods in a VXLAN VLAN by recirculation" ) );
   add( op<&H::handleTcamEntryVxlanEncapFlood>( "handleTcamEntryVxlanEncapFlood", { "create" }, "floods in a VXLAN VLAN in one pass" ) );
   add( op<&H::reprogramVlanFloodRequiredInc>( "reprogramVlanFloodRequiredInc", { "delta" }, "raise the counter; returns the new value" ) );
   add( op<&H::reprogramVlanFloodEntries>( "reprogramVlanFloodEntries", {}, "push the flood bitmap into the flood entries" ) );
   add( op<&H::updateVlanFloodPbmp>( "updateVlanFloodPbmp", { "intf" }, "move one port in or out of the flood bitmap" ) );
   add( op<&H::updateVlanFloodTcamEntryPbmp>( "updateVlanFloodTcamEntryPbmp", { "unit", "pbr" }, "rewrite the ports of one flood entry on one unit" ) );
   add( op<&H::handleTcamEntryL2McastCpu>( "handleTcamEntryL2McastCpu", { "create" }, "the entries of the reserved multicast groups" ) );
   add( op<&H::programSkipL2McastPktFromCoreToCpu>( "programSkipL2McastPktFromCoreToCpu", { "vxlanEnabled" }, "known multicast out of a tunnel skips the CPU" ) );
   add( op<&H::handleTcamEntryMplsTrafficDrop>( "handleTcamEntryMplsTrafficDrop", { "create" }, "MPLS to a router MAC" ) );
   add( op<&H::handleMplsRouting>( "handleMplsRouting", { "enable" }, "MPLS routing on or off" ) );
   add( op<&H::handleTcamEntryMplsPhpLspPing>( "handleTcamEntryMplsPhpLspPing", { "create" }, "LSP ping after the last label was popped" ) );
   add( op<&H::handleRouting>( "handleRouting", { "enable", "enable6" }, "IPv4 and IPv6 routing of the whole chip" ) );
   add( op<&H::programSwitchCtrlPortSet>( "programSwitchCtrlPortSet", { "intf" }, "the routing controls for one port" ) );
   add( op<&H::handleVlanRoutingState>( "handleVlanRoutingState", { "vlanId", "state" }, "the routing flags of a VLAN" ) );
   add( op<&H::handlePerVlanRouting>( "handlePerVlanRouting", { "enable" }, "VLANs route only where enabled one by one" ) );
   add( op<&H::enableVlanRouting>( "enableVlanRouting", { "vlanId", "enable" }, "routing of one VLAN" ) );
   add( op<&H::handleIpAddressState>( "handleIpAddressState", { "vlanId", "ip4", "ip6" }, "which addresses a VLAN's interface has" ) );
   add( op<&H::handleVlanCpuPort>( "handleVlanCpuPort", { "vlanId", "block" }, "the CPU's membership of a VLAN" ) );
   add( op<&H::addMyStationTcamEntry>( "addMyStationTcamEntry", { "unit", "index", "mac", "vlanIdValid", "vlanId", "ingressPortCpu", "arpTermination", "routing" }, "write a my-station entry" ) );
   add( op<&H::removeMyStationTcamEntry>( "removeMyStationTcamEntry", { "unit", "index" }, "clear a my-station entry" ) );
   add( op<&H::verifyMyStationTcamEntry>( "verifyMyStationTcamEntry", { "unit", "index", "valid", "mac", "vlanIdValid", "vlanId", "ingressPortCpu", "arpTermination", "routing" }, "check a my-station entry in the chip" ) );
   add( op<&H::handlePeerMacRouting>( "handlePeerMacRouting", { "mac", "add" }, "the my-station entries of the MLAG peer's MAC" ) );
   add( op<&H::verifyPeerMacRoutingStatus>( "verifyPeerMacRoutingStatus", {}, "check them against the MLAG state" ) );
   add( op<&H::handleTcamEntryL2ToCpu>( "handleTcamEntryL2ToCpu", {}, "the entries of the router MAC" ) );
   add( op<&H::handleTcamEntryL2FennicToCpu>( "handleTcamEntryL2FennicToCpu", {}, "the entries of the virtual router MAC" ) );
   add( op<&H::installTcamEntryForNonRoutableToCpu>( "installTcamEntryForNonRoutableToCpu", { "macType" }, "trap and ARP entries of a MAC kind" ) );
   add( op<&H::installTcamEntryForL3Vxlan>( "installTcamEntryForL3Vxlan", { "macType" }, "tunnelled packets for the router" ) );
   add( op<&H::programL2VxlanTcam>( "programL2VxlanTcam", { "macType" }, "tunnelled packets for stations" ) );
   add( op<&H::handleTcamEntryArpReplyToCpu>( "handleTcamEntryArpReplyToCpu", { "macType" }, "ARP replies to a router MAC" ) );
   add( op<&H::handleTcamEntryArpReqUnicastDrop>( "handleTcamEntryArpReqUnicastDrop", {}, "unicast ARP requests to the router MAC" ) );
   add( op<&H::getUrpfTcamEntryManager>( "getUrpfTcamEntryManager", {}, "the manager of the uRPF entries" ) );
   add( op<&H::handleTcamEntryUrpf>( "handleTcamEntryUrpf", { "enable", "ipv4" }, "the uRPF exemption entry of a family" ) );
   add( op<&H::doUrpfHwInitStage1>( "doUrpfHwInitStage1", { "enable" }, "both of them" ) );
   add( op<&H::handleTcamEntryVlanFloodDrop>( "handleTcamEntryVlanFloodDrop", { "tc", "create" }, "the unknown-MAC drop pair of a traffic class" ) );
   add( op<&H::createTcamEntryVlanFloodTc>( "createTcamEntryVlanFloodTc", { "tc" }, "make that pair; returns its lower id" ) );
   add( op<&H::deleteTcamEntryVlanFloodTc>( "deleteTcamEntryVlanFloodTc", { "tc", "id" }, "remove that pair" ) );
   add( op<&H::updateVlanFloodTcamEntriesOnSpeedChange>( "updateVlanFloodTcamEntriesOnSpeedChange", { "intf", "active" }, "a port became active or inactive" ) );
   add( op<&H::updateVlanFloodIgnoreIntf>( "updateVlanFloodIgnoreIntf", { "intf" }, "an interface may have become routed or bridged" ) );
   add( op<&H::routedIntf>( "routedIntf", { "intf" }, "the interface is routed" ) );
   add( op<&H::routedLagMember>( "routedLagMember", { "intf" }, "the interface's LAG is routed" ) );
   add( op<&H::resetUnknownMacDropCounters>( "resetUnknownMacDropCounters", { "tc" }, "the class's counter starts at 0 again" ) );
   add( op<&H::updateUnknownMacDropCounters>( "updateUnknownMacDropCounters", { "tc" }, "read the class's counter" ) );
   add( op<&H::handlePeerMacArpRedirect>( "handlePeerMacArpRedirect", { "mac", "peerLink", "enable" }, "ARP for the MLAG peer's router MAC" ) );
   // clang-format on
   return all;
}

VORMEL_ENTITY_TYPE( RoutingStatusHelper, STRATA_ROUTING_STATUS_HELPER_ATTRIBUTES, operations() )

} // namespace Strata
