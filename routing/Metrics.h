// What an agent's monitoring reads of the slice, as numbers in text.
#pragma once

#include "platform/runtime/Export.h"
#include "platform/runtime/Types.h"
#include "platform/sdk/ObservedShim.h"
#include "routing/RoutingStatusHelper.h"

#include <functional>
#include <string>
#include <vector>

namespace Strata {

/// The room that a range of FP entries has on a unit.
struct RangeRoom
{
   U32 unit = 0;
   std::string range; // the agent's name for it, in UTF-8
   U64 used = 0;      // entries that are claimed
   U64 left = 0;      // entries that can be claimed
};

/// The metrics in the OpenMetrics text format 1.0, to be served with the content type below: the SDK calls of `observed`
/// by operation, the process's notifications, the packets to unknown MACs that were dropped by traffic class, and what
/// `room` returns. docs/observing.md lists them with their units. An empty `room` leaves out the room for entries; one
/// that returns the same range of a unit twice makes a text that readers refuse. An exception of `room` is passed on.
/// Requires: the activity lock is held; it is held while `room` runs. Reads the chips only if `room` does.
VORMEL_EXPORT std::string metricsText( const ObservedShim& observed,
   const RoutingStatusHelper& helper, const std::function<std::vector<RangeRoom>()>& room = {} );

/// The value of the HTTP header Content-Type for metricsText().
constexpr const char* metricsContentType =
   "application/openmetrics-text; version=1.0.0; charset=utf-8";

} // namespace Strata
