// The kinds of router MAC that entries serve.
#pragma once

#include "platform/runtime/Enum.h"
#include "platform/runtime/SlotArray.h"
#include "platform/runtime/Types.h"

namespace Strata {

VORMEL_ENUM( MacType, U8,
   bridgeMac = 0, // the switch's own router MAC
   fennicMac = 1  // the virtual router MAC that the MLAG peers share
)

} // namespace Strata

/// The slot with index 2 is valid but unused.
template<>
inline constexpr std::size_t Vormel::slotCount<Strata::MacType> = 3;
