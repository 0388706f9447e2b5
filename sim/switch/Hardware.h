// The objects that the shim and the entry managers of one switch share.
#pragma once

#include "sim/chip/Chip.h"
#include "sim/sdk/Critic.h"
#include "sim/sdk/Faults.h"
#include "sim/sdk/SdkNumbers.h"
#include "sim/switch/Transcript.h"

namespace Strata::Sim {

struct Hardware
{
   Chips& chips;
   const SdkNumbers& numbers;
   Critic& critic;
   Faults& faults;
   Transcript& transcript;
   const Cause& cause; // of the present changes

   /// The same for the call that is about to be recorded.
   Cause causeOfCall() const { return { cause.text, cause.event, transcript.lastNumber() + 1 }; }
};

} // namespace Strata::Sim
