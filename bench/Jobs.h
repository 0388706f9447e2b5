// The jobs of the slice whose costs are measured: bring-ups, events, operations on VLANs, a poll.
#pragma once

#include "bench/Slice.h"

#include <memory>
#include <span>

namespace Bench {

struct Job
{
   const char* name;
   double wanted; // times the floor; 0 if nothing is wanted
   U32 units;
   U32 interfaces;
   void ( *prepare )( Slice& );
   /// Ends in the state in which it starts, unless each run has its own slice. Allocates nothing then, once it has run.
   void ( *run )( Slice& );
   bool fresh = false; // each run has its own slice
};

std::span<const Job> jobs();

/// Prepared for the job.
std::unique_ptr<Slice> sliceFor( const Job& job, Slice::Calls calls = Slice::Calls::direct );

} // namespace Bench
