#include "sim/packet/Pass.h"

namespace Strata::Sim {

Pass::Pass( const PacketView& view, const Arrival& arrival, PassExplanation* explanation )
   : view_( view ),
     arrival_( arrival ),
     chip_( view.chip( arrival.port.unit ) ),
     explanation_( explanation ),
     frame_( arrival.frame )
{
   result_.verdict.arrival = arrival.port;
}

// Each stage rests on those before it: ranges see all that the lookups found, and what they decide
// holds for the way out.
Pass::Result Pass::run()
{
   if( link() ) {
      ranges( Stage::lookup );
      terminateTunnel();
      lookUpStation();
      if( routes() )
         route();
      else if( !settled_ )
         bridge();
      ranges( Stage::final );
      rangesDone_ = true;
      egress();
      learn();
   }
   result_.verdict.drop =
      result_.verdict.departures.empty() && result_.again.empty() ? drop_ : std::string();
   return std::move( result_ );
}

void Pass::drop( const std::string& reason )
{
   if( drop_.empty() )
      drop_ = reason;
}

} // namespace Strata::Sim
