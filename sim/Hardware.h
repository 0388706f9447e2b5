// What the shim and the entry managers of one switch share.
#pragma once

#include "sim/Chip.h"
#include "sim/Critic.h"
#include "sim/Faults.h"
#include "sim/SdkNumbers.h"
#include "sim/Transcript.h"

namespace Strata::Sim {

struct Hardware
{
   Chips& chips;
   const SdkNumbers& numbers;
   Critic& critic;
   Faults& faults;
   Transcript& transcript;
   const FieldEntryCause& cause; // of what happens now
};

} // namespace Strata::Sim
