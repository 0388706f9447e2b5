#include "sim/packet/Controls.h"

namespace Strata::Sim {

// No default case, so that a new SwitchControl fails to compile until it is handled here.
std::string_view controlEffect( SwitchControl control )
{
   switch( control ) {
   case SwitchControl::CpuProtoIpOptionsPriority:
      return "the CPU queue of packets with IPv4 options";
   case SwitchControl::HashL2Dual:
      return "the L2 table has two hash functions";
   case SwitchControl::HashL3Dual:
      return "the L3 host table has two hash functions";
   case SwitchControl::IPv4DoNotVerifyIncomingChecksum:
      return "IPv4 packets are routed without a check of their header's checksum";
   case SwitchControl::IcmpRedirectToCpu:
      return "packets that leave on the VLAN they arrived in also go to the CPU";
   case SwitchControl::IgmpReservedMcastEnable:
      return "IGMP to a reserved group also goes to the CPU";
   case SwitchControl::IpmcTtl1ToCpu:
      return "routed multicast whose TTL has expired goes to the CPU";
   case SwitchControl::L2TrafficSrcIpLookup:
      return "the source of bridged IP packets is looked up in the L3 tables";
   case SwitchControl::L3EgressMode:
      return "routes are used";
   case SwitchControl::L3InterfaceUrpfEnable:
      return "the reverse path is checked on interfaces with uRPF";
   case SwitchControl::L3MtuFailToCpu:
      return "packets longer than the MTU go to the CPU";
   case SwitchControl::L3SlowpathToCpu:
      return "packets that the chip does not route in hardware go to the CPU";
   case SwitchControl::L3UcTtlErrToCpu:
      return "routed packets with TTL 0 go to the CPU";
   case SwitchControl::L3UcastTtl1ToCpu:
      return "routed packets with TTL 1 go to the CPU";
   case SwitchControl::MartianAddrToCpu:
      return "routed packets with a martian address go to the CPU";
   case SwitchControl::MplsLabelMissToCpu:
      return "packets with an unknown label go to the CPU";
   case SwitchControl::MplsTtlErrToCpu:
      return "labelled packets whose TTL has expired go to the CPU";
   case SwitchControl::V4L3DstMissToCpu:
      return "packets without an IPv4 route go to the CPU";
   case SwitchControl::V6L3DstMissToCpu:
      return "packets without an IPv6 route go to the CPU";
   }
   return {};
}

bool concernsTablesOnly( SwitchControl control )
{
   return control == SwitchControl::HashL2Dual || control == SwitchControl::HashL3Dual;
}

} // namespace Strata::Sim
