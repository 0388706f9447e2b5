// Numbers that the slice and other parts of the agent program into the chips and must agree on.
#pragma once

#include "platform/runtime/Types.h"

namespace Strata {
namespace StrataCommon {

constexpr U32 maskModId_ = 0xFF;
constexpr U32 maskPortId_ = 0xFF;

constexpr U32 cpuNhInvalidModId_ = 250; // the module id that marks the CPU as next hop

// Ports of the flooding module id. These are not real ports: a packet that no entry redirects from there is lost.
constexpr U32 floodingPortId_ = 0xF0;      // flood in a VLAN
constexpr U32 vxlanFloodingPortId_ = 0xF1; // flood in a VLAN that VXLAN extends
constexpr U32 vxlanEncapPortId_ = 0xF2;    // a single next hop behind a tunnel

// CPU queues.
constexpr U32 cpuCosqTtl1_ = 26;
constexpr U32 cpuCosqMpls_ = 27;
constexpr U32 cpuCosqVxlan_ = 28;

// Bits of an interface's L2 class.
constexpr U32 classSviConfigured_ = 0x10;
constexpr U32 classDropRoutedTraffic_ = 0x20;
constexpr U32 classVxlanVlan_ = 0x40; // the VLAN is extended by VXLAN

// Bits of the source class field.
constexpr U32 classOpenFlow_ = 0x20;
constexpr U32 classPbr_ = 0x40; // set by policy routing

} // namespace StrataCommon
} // namespace Strata
