// The runtime's hash map beside others, for lookups among 8,192 interfaces.
#pragma once

#include "bench/Paths.h"

#include <vector>

namespace Bench {

std::vector<Pair> hashMapPairs();

} // namespace Bench
