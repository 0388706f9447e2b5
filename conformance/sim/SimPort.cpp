#include "conformance/sim/SimPort.h"

#include "sim/SdkCodes.h"

namespace Strata::Conformance {

using Sim::SdkCode;

static const Sim::FieldEntry* findEntry( Sim::SimSwitch& hardware, U32 unit, U32 entry )
{
   const Sim::FieldGroup* const group = hardware.chip( unit ).groupOf( entry );
   return group ? group->find( entry ) : nullptr;
}

static void addHooks( Port& port, Sim::SimSwitch& hardware )
{
   port.installedEntry = [ &hardware ]( U32 unit, U32 id ) -> std::optional<InstalledEntry> {
      const Sim::FieldEntry* const entry = findEntry( hardware, unit, id );
      if( !entry || !entry->installed() )
         return std::nullopt;
      return InstalledEntry{ static_cast<U32>( entry->hardware->qualifiers.size() ),
         static_cast<U32>( entry->hardware->actions.size() ), entry->enabled };
   };
   port.hitEntry = [ &hardware ]( U32 unit, U32 id ) {
      Sim::FieldGroup* const group = hardware.chip( unit ).groupOf( id );
      if( Sim::FieldEntry* const entry = group ? group->find( id ) : nullptr;
          entry && entry->active() )
         ++entry->hits;
   };
   port.fieldLocked = [ &hardware ]( U32 unit ) { return hardware.chip( unit ).fieldLocked; };
   port.switchControlValue = [ &hardware ]( U32 unit, int control ) {
      const auto role = hardware.numbers().switchControl.find( control );
      return role ? hardware.chip( unit ).control( *role ) : 0;
   };
}

Port simPort( Sim::SimSwitch& hardware )
{
   Port port;
   port.scsd = hardware.scsd();
   port.ranges = rangesOf( hardware.tcamManager(), hardware.tcamGroupManager() );
   port.tcamGroupManager = hardware.tcamGroupManager();
   port.portSwTable = hardware.portSwTable();
   port.missingVlan = 4094;
   port.myStationIndex = 5;
   for( const U32 unit : hardware.units() )
      for( U32 number = 1; number <= 2; ++number )
         port.ports.emplace_back( unit, static_cast<int>( number ), number );
   port.notFoundCode = static_cast<int>( SdkCode::NotFound );
   port.configCode = static_cast<int>( SdkCode::Config );
   addHooks( port, hardware );
   return port;
}

} // namespace Strata::Conformance
