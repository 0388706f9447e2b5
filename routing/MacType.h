// The kinds of router MAC that entries serve.
#pragma once

#include "platform/runtime/Enum.h"
#include "platform/runtime/SlotArray.h"
#include "platform/runtime/Types.h"

namespace Strata {

enum class MacType : U8
{
   bridgeMac = 0, // the switch's own router MAC
   fennicMac = 1, // the virtual router MAC that the MLAG peers share
};

VORMEL_ENUM_NAMES(
   MacType, { MacType::bridgeMac, "bridgeMac" }, { MacType::fennicMac, "fennicMac" } )

} // namespace Strata

/// Index 2 is a slot that nothing uses.
template<>
inline constexpr std::size_t Vormel::slotCount<Strata::MacType> = 3;
