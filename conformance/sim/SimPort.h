// The conformance kit's port for the simulated switch, and an example of a port with all hooks.
#pragma once

#include "conformance/Port.h"
#include "sim/switch/SimSwitch.h"

namespace Strata::Conformance {

/// Requires: the switch outlives the port, and its critic only collects breaches while the port makes wrong calls.
Port simPort( Sim::SimSwitch& hardware );

} // namespace Strata::Conformance
