#include "platform/sdk/ObservedTcamEntryManager.h"

#include <cstdio>
#include <utility>

namespace Strata {

VORMEL_ENTITY_TYPE( ObservedTcamEntryManager, STRATA_OBSERVED_TCAM_ENTRY_MANAGER_ATTRIBUTES )

std::string RefusedClaim::text() const
{
   return "unit " + std::to_string( unit ) + " has refused the claim of entry " +
          std::to_string( entryId ) + " \"" + name + "\"";
}

VORMEL_ALLOCATION( ObservedTcamEntryManager )

ObservedTcamEntryManager::ObservedTcamEntryManager(
   Ref<StrataBoundedTcamEntryManager> next, Listener listener )
   : ForwardingTcamEntryManager( std::move( next ) ),
     listener_( std::move( listener ) )
{}

U32 ObservedTcamEntryManager::getEntry(
   U32 unit, U32 entryId, const std::string& name, const RequestKey& key )
{
   const U32 id = next().getEntry( unit, entryId, name, key );
   if( id != 0 )
      return id;
   const RefusedClaim refused{ name, entryId, unit };
   if( listener_ )
      listener_( refused );
   else
      std::fprintf( stderr, "%s\n", refused.text().c_str() );
   return 0;
}

} // namespace Strata
