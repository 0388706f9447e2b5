// The qualifiers and actions that the SDK refuses, which depend on the chip, on the stage at which the entry's
// group is looked up, and on the entry's other qualifiers and actions.
#pragma once

#include "sim/chip/ChipProfile.h"
#include "sim/chip/FieldRule.h"
#include "sim/sdk/SdkCodes.h"

namespace Strata::Sim {

/// None for a qualifier that the SDK accepts; Param for data too wide or outside its mask, for a mask that matches
/// everything, and for a value that is not known yet at that stage; Config for one that excludes another of the entry.
/// Sets of ports come through the entry managers, which accept them at every stage.
SdkCode qualifierCode( FieldStage stage, const FieldRule& rule, const FieldQualifier& qualifier );

/// None for an action that the SDK accepts; Param for parameters that it does not accept and for an action without
/// effect at that stage; Config for one that contradicts another of the entry. Ports are not checked.
SdkCode actionCode( const ChipProfile& chip, FieldStage stage, const FieldRule& rule,
   const FieldActionData& action );

} // namespace Strata::Sim
