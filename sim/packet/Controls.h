// The effects of a chip's controls on packets.
#pragma once

#include "platform/sdk/SdkRoles.h"

#include <string_view>

namespace Strata::Sim {

/// The effect of the control when it is on: "packets without an IPv4 route go to the CPU". Covers every
/// control that can be written.
std::string_view controlEffect( SwitchControl control );

/// Whether the control affects only how tables are organised, and no single packet.
bool concernsTablesOnly( SwitchControl control );

} // namespace Strata::Sim
