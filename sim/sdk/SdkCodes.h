// The codes that the simulated SDK returns. They are the same in every run: 0 is success, errors
// are negative.
#pragma once

#include "platform/runtime/Types.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Strata::Sim {

// clang-format off
// code, number, the SDK's name for it, and how the SDK describes it
#define STRATA_SIM_SDK_CODES( CODE ) \
   CODE( None, 0, "BCM_E_NONE", "Ok" ) \
   CODE( Internal, -1, "BCM_E_INTERNAL", "Internal error" ) \
   CODE( Memory, -2, "BCM_E_MEMORY", "Out of memory" ) \
   CODE( Unit, -3, "BCM_E_UNIT", "Invalid unit" ) \
   CODE( Param, -4, "BCM_E_PARAM", "Invalid parameter" ) \
   CODE( Full, -6, "BCM_E_FULL", "Table full" ) \
   CODE( NotFound, -7, "BCM_E_NOT_FOUND", "Entry not found" ) \
   CODE( Exists, -8, "BCM_E_EXISTS", "Entry exists" ) \
   CODE( Timeout, -9, "BCM_E_TIMEOUT", "Operation timed out" ) \
   CODE( Busy, -10, "BCM_E_BUSY", "Operation still running" ) \
   CODE( Fail, -11, "BCM_E_FAIL", "Operation failed" ) \
   CODE( Badid, -13, "BCM_E_BADID", "Invalid identifier" ) \
   CODE( Resource, -14, "BCM_E_RESOURCE", "No resources for operation" ) \
   CODE( Config, -15, "BCM_E_CONFIG", "Invalid configuration" ) \
   CODE( Unavail, -16, "BCM_E_UNAVAIL", "Feature unavailable" ) /* the chip lacks it */ \
   CODE( Init, -17, "BCM_E_INIT", "Feature not initialized" ) \
   CODE( Port, -18, "BCM_E_PORT", "Invalid port" )
// clang-format on

enum class SdkCode : S32
{
#define STRATA_SIM_SDK_CODE( code, number, name, text ) code = number,
   STRATA_SIM_SDK_CODES( STRATA_SIM_SDK_CODE )
#undef STRATA_SIM_SDK_CODE
};

struct SdkCodeInfo
{
   SdkCode code;
   std::string_view name; // "BCM_E_NOT_FOUND"
   std::string_view text;
};

std::span<const SdkCodeInfo> sdkCodes();

/// "BCM_E_NOT_FOUND"; the number for an unknown code.
std::string sdkCodeName( int code );
/// "Entry not found"; "Unknown error" for an unknown code.
std::string sdkCodeText( int code );
/// Accepts "BCM_E_NOT_FOUND", "NOT_FOUND", "not-found", the number, and any positive number: an SDK may return one
/// for a success.
std::optional<SdkCode> parseSdkCode( std::string_view text );
/// The same; ValueError, with the nearest name, when there is no such code.
SdkCode sdkCode( std::string_view text );

} // namespace Strata::Sim
