// What the shim and the entry managers of one switch share.
#pragma once

#include "sim/Chip.h"
#include "sim/Critic.h"
#include "sim/Faults.h"
#include "sim/SdkNumbers.h"
#include "sim/Transcript.h"

#include <string>

namespace Strata::Sim {

struct Hardware
{
   Chips& chips;
   const SdkNumbers& numbers;
   Critic& critic;
   Faults& faults;
   Transcript& transcript;
   const std::string& cause; // of what happens now, as whoever drives the switch has it
};

} // namespace Strata::Sim
