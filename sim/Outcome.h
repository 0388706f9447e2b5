// The text of a call's result.
#pragma once

#include "sim/SdkCodes.h"
#include "sim/Transcript.h"

#include <string>
#include <vector>

namespace Strata::Sim {

/// " -> BCM_E_UNAVAIL", " -> BCM_E_FAIL (injected)"; nothing for a success.
std::string outcomeText( SdkCode code, bool injected );
std::vector<RecordField> outcomeFields( SdkCode code, bool injected );

} // namespace Strata::Sim
