#include "sim/packet/Verdict.h"

namespace Strata::Sim {

std::vector<const Departure*> Verdict::departures() const
{
   std::vector<const Departure*> all;
   for( const PassVerdict& pass : passes )
      for( const Departure& departure : pass.departures )
         all.push_back( &departure );
   return all;
}

std::vector<const CpuCopy*> Verdict::cpuCopies() const
{
   std::vector<const CpuCopy*> all;
   for( const PassVerdict& pass : passes )
      if( pass.cpu )
         all.push_back( &*pass.cpu );
   return all;
}

} // namespace Strata::Sim
