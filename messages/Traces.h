// The trace handles of the slice.
#pragma once

#include "platform/runtime/Trace.h"

namespace Strata {

VORMEL_DECLARE_TRACE( routingTrace ); // "StrataRoutingStatus"
VORMEL_DECLARE_TRACE( apiTrace );     // "ApiStrata": SDK calls and their outcomes, level 4

} // namespace Strata
