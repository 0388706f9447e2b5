// The codes that the simulated SDK returns. They are the same in every run: 0 is success, errors
// are negative.
#pragma once

#include "platform/runtime/Types.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace Strata::Sim {

enum class SdkCode : S32
{
   None = 0,
   Internal = -1,
   Memory = -2,
   Unit = -3,
   Param = -4,
   Full = -6,
   NotFound = -7,
   Exists = -8,
   Timeout = -9,
   Busy = -10,
   Fail = -11,
   Badid = -13,
   Resource = -14,
   Config = -15,
   Unavail = -16, // the chip lacks the feature
   Init = -17,
   Port = -18,
};

struct SdkCodeInfo
{
   SdkCode code;
   std::string_view name; // "BCM_E_NOT_FOUND"
   std::string_view text; // as the SDK describes it
};

const std::array<SdkCodeInfo, 17>& sdkCodes();

/// "BCM_E_NOT_FOUND"; an unknown code reads as its number.
std::string sdkCodeName( int code );
/// "Entry not found"; "Unknown error" for an unknown code.
std::string sdkCodeText( int code );
/// Takes "BCM_E_NOT_FOUND", "NOT_FOUND", "not-found" and the number.
std::optional<SdkCode> parseSdkCode( std::string_view text );
/// The same; ValueError, with the nearest name, when there is no such code.
SdkCode sdkCode( std::string_view text );

} // namespace Strata::Sim
