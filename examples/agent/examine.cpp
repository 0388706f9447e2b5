// Checks whether the tiny chip keeps the promises that the slice relies on. Copy it for your own chip.
#include "TinyEntryManager.h"

#include "conformance/Port.h"
#include "platform/runtime/Activity.h"

#include <iostream>

namespace Tiny {

VORMEL_ENTITY_TYPE( EntryManager, TINY_ENTRY_MANAGER_ATTRIBUTES )

namespace {

Conformance::Report examineTinyChip()
{
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   const Log silent;
   Chip chip;
   Shim shim( chip );
   sdkShimIs( &shim );

   Conformance::Port port;
   port.scsd = sharedData( shim );
   port.ranges = Conformance::rangesOf( Vormel::make<EntryManager>( chip, silent ), nullptr );
   port.ports = { StrataPort( 0, 1, 1 ) };
   port.missingVlan = 2;
   port.myStationIndex = 5;
   port.notFoundCode = notFound;
   port.configCode = badConfig;
   port.installedEntry = [ & ]( U32 unit, U32 id ) -> std::optional<Conformance::InstalledEntry> {
      const Entry* const entry = chip.find( unit, id );
      if( !entry || !entry->hardware )
         return std::nullopt;
      return Conformance::InstalledEntry{ static_cast<U32>( entry->hardware->qualifiers.size() ),
         static_cast<U32>( entry->hardware->actions.size() ), entry->enabled };
   };
   const Conformance::Report report = examine( port );
   sdkShimIs( nullptr );
   return report;
}

} // namespace
} // namespace Tiny

int main()
{
   const auto report = Tiny::examineTinyChip();
   std::cout << report.text();
   return report.conforms() ? 0 : 1;
}
