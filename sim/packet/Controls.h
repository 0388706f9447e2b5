// What the controls of a chip decide about packets.
#pragma once

#include "platform/sdk/SdkRoles.h"

#include <string_view>

namespace Strata::Sim {

/// What it does when it is on: "packets without an IPv4 route go to the CPU". Every control that can
/// be written is here.
std::string_view controlEffect( SwitchControl control );

/// A control that changes how tables are kept, and so nothing about a single packet.
bool concernsTablesOnly( SwitchControl control );

} // namespace Strata::Sim
