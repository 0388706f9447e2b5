#include "sim/switch/SimPortSwTable.h"

namespace Strata::Sim {

VORMEL_ENTITY_TYPE( SimPortSwTable, STRATA_SIM_PORT_SW_TABLE_ATTRIBUTES )

PortSwEntry SimPortSwTable::entry( const StrataPort& port ) const
{
   const auto at = entries_.find( port );
   return at == entries_.end() ? PortSwEntry() : at->second;
}

void SimPortSwTable::entryCommit( const StrataPort& port, const PortSwEntry& entry )
{
   entries_[ port ] = entry;
   ++commits_;
}

} // namespace Strata::Sim
