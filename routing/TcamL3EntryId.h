// Where each entry stands in the main manager's range. In one range the lower id wins, so the order is the
// order of precedence: what must beat a drop, the drops, all that floods, the skip before the CPU copies it
// prevents, the VXLAN and ARP entries, and last the trap that catches the rest.
#pragma once

#include "platform/runtime/Types.h"

namespace Strata {

enum class TcamL3EntryId : U32
{
   l3RecircAfterDecap = 0,
   l3RecircForEncap = 1,
   lbRecircL2Uc = 2,
   mcastDataRsvdMacAddress = 3,
   vlanFloodingDrop = 4, // to 19: the pair of traffic class tc at 4 + 2 * tc
   vlanFloodingPbr = 20,
   vlanFloodingVxlan = 21,
   vxlanEncapFlooding = 22,
   vlanFlooding = 23,
   vlanFloodingFabric = 24,
   lbRecirc = 25,
   lbRecircFabric = 26,
   vxlanVlanFlooding = 27, // reserved
   l2McastCpuTx = 28,
   skipL2McastPktFromCoreToCpu = 29,
   l2McastCpuRx = 30,
   l2McastCpuAndFlood = 31,
   l2McastFlood = 32,
   nexthopToCpu = 33,
   mplsPkt = 34,
   l3Vxlan = 35,
   l2VxlanForBridgeMac = 36,
   arpReply = 37,
   arpRequestUnicast = 38,
   l2OnlyCpuRx = 39,
   l2OnlyCpuRxFromCpu = 40,
   l3VxlanFennic = 41,
   l2VxlanForFennicMac = 42,
   arpFennicReply = 43,
   l2OnlyFennicCpuRx = 44,
   l2OnlyFennicCpuRxFromCpu = 45,
   // Reserved from here on.
   igmpPkt = 46,
   linkLocalMcast = 47,
   ipmcTtl01Known = 48,
   ipmcTtl01Unknown = 49,
   ndProxy = 50,
   l3Cpu = 51,
   l3NonRoutable = 52,
};

/// How many ids the main range has.
constexpr U32 tcamL3EntryIds = 53;

/// The entries that a fabric unit can carry, under the same numbers.
enum class TcamL3EntryIdFabric : U32
{
   lbRecircL2Uc = 2,
   mcastDataRsvdMacAddress = 3,
   vlanFloodingDrop = 4,
   vlanFloodingPbr = 20,
   vxlanEncapFlooding = 22,
   vlanFloodingFabric = 24,
   lbRecircFabric = 26,
   l2McastCpuTx = 28,
   skipL2McastPktFromCoreToCpu = 29,
   l2McastCpuRx = 30,
   l2McastCpuAndFlood = 31,
   l2McastFlood = 32,
   nexthopToCpu = 33,
   mplsPkt = 34,
   l3Vxlan = 35,
   l2VxlanForBridgeMac = 36,
   arpReply = 37,
   arpRequestUnicast = 38,
   l2OnlyCpuRx = 39,
   l2OnlyCpuRxFromCpu = 40,
   l3VxlanFennic = 41,
   l2VxlanForFennicMac = 42,
   arpFennicReply = 43,
   l2OnlyFennicCpuRx = 44,
   l2OnlyFennicCpuRxFromCpu = 45,
};

} // namespace Strata
