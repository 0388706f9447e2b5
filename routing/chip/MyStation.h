// Fixed indexes in the chip's my-station memory.
#pragma once

#include "platform/runtime/Types.h"

namespace Strata {

/// Index of the MLAG peer's MAC for packets from the CPU port: no termination.
constexpr U32 peerRouterMacNoRouting()
{
   return 33;
}

/// Index of the MLAG peer's MAC for packets from any port: IPv4, IPv6 and MPLS termination.
constexpr U32 peerRouterMac()
{
   return 34;
}

/// No entry.
constexpr U32 myStationIdxInvalid()
{
   return 0xFFFF;
}

} // namespace Strata
