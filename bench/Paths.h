// The paths whose costs are measured, each as a loop of n rounds. Timed by RuntimeBench, counted in instructions
// by InstructionCounts.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace Bench {

struct Path
{
   std::string_view name;
   std::string_view
      goal; // instructions per round, including the loop's two; empty if there is no goal
   void ( *run )( std::size_t rounds );
};

std::span<const Path> paths();

} // namespace Bench
