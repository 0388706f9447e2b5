// The paths whose costs are measured, each as a loop of n rounds. Timed by RuntimeBench and Comparison, counted in
// instructions by InstructionCounts.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Bench {

struct Path
{
   std::string_view name;
   std::string_view
      goal; // instructions per round, including the loop's two; empty if there is no goal
   void ( *run )( std::size_t rounds );
};

std::span<const Path> paths();

/// A path and another way to the same result.
struct Pair
{
   std::string name;
   double wanted; // times the other way
   std::function<void( std::size_t rounds )> run;
   std::function<void( std::size_t rounds )> floor;
};

std::vector<Pair> pathPairs();

} // namespace Bench
