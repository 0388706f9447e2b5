// The simulated switch as the conformance kit sees it: also an example of a port that tells all it can.
#pragma once

#include "conformance/Port.h"
#include "sim/SimSwitch.h"

namespace Strata::Conformance {

/// The switch must outlive the port. Its critic may only collect breaches while the port provokes mistakes.
Port simPort( Sim::SimSwitch& hardware );

} // namespace Strata::Conformance
