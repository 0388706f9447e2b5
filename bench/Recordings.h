// What a record costs.
#pragma once

#include "bench/Paths.h"

namespace Bench {

/// Recorded calls, and a recorded input.
std::span<const Path> recordingPaths();

/// The same beside write(2) of the same bytes.
std::vector<Pair> recordingPairs();

} // namespace Bench
