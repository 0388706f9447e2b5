#include "sim/switch/Names.h"

#include "platform/runtime/EntityType.h"

namespace Strata::Sim {

std::string hint( std::string_view wrong, std::span<const std::string_view> names )
{
   const std::string_view nearest = Vormel::nearestName( wrong, names );
   if( !nearest.empty() )
      return "; did you mean '" + std::string( nearest ) + "'?";
   std::string all;
   for( const std::string_view name : names )
      ( all += all.empty() ? "; there are: " : ", " ) += name;
   return all;
}

} // namespace Strata::Sim
