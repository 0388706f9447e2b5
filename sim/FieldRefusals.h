// The qualifiers and actions that the SDK refuses, which depend on the chip, on the stage at which the entry's
// group is looked up, and on the entry's other qualifiers and actions.
#pragma once

#include "sim/ChipProfile.h"
#include "sim/FieldRule.h"
#include "sim/SdkCodes.h"

namespace Strata::Sim {

/// None for a qualifier that the SDK takes; Param for data too wide or outside its mask, for a mask that takes
/// everything, and for what is not known yet at that stage; Config for one that excludes another of the entry.
/// Sets of ports come through the entry managers, which take them at every stage.
SdkCode qualifierCode( FieldStage stage, const FieldRule& rule, const FieldQualifier& qualifier );

/// None for an action that the SDK takes; Param for parameters that it does not take and for what does nothing
/// at that stage; Config for one that contradicts another of the entry. Ports are not looked at.
SdkCode actionCode( const ChipProfile& chip, FieldStage stage, const FieldRule& rule,
   const FieldActionData& action );

} // namespace Strata::Sim
