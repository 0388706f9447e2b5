#include "sim/packet/Controls.h"

namespace Strata::Sim {

// Without a default: a control that is not treated does not compile.
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
      return "IPv4 packets are routed whatever their header's checksum";
   case SwitchControl::IcmpRedirectToCpu:
      return "packets that leave by the VLAN they came in on go to the CPU, too";
   case SwitchControl::IgmpReservedMcastEnable:
      return "IGMP to a reserved group goes to the CPU, too";
   case SwitchControl::IpmcTtl1ToCpu:
      return "routed multicast whose TTL has expired goes to the CPU";
   case SwitchControl::L2TrafficSrcIpLookup:
      return "bridged IP packets have their source looked up in the L3 tables";
   case SwitchControl::L3EgressMode:
      return "routes are used";
   case SwitchControl::L3InterfaceUrpfEnable:
      return "the reverse path is checked where an interface asks for it";
   case SwitchControl::L3MtuFailToCpu:
      return "packets too long for where they go go to the CPU";
   case SwitchControl::L3SlowpathToCpu:
      return "packets that are not routed at speed go to the CPU";
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
