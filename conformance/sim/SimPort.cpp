#include "conformance/sim/SimPort.h"

#include "sim/sdk/SdkCodes.h"

namespace Strata::Conformance {

using Sim::SdkCode;

static const Sim::FieldEntry* findEntry( Sim::SimSwitch& hardware, U32 unit, U32 entry )
{
   const Sim::FieldGroup* const group = hardware.chip( unit ).groupOf( entry );
   return group ? group->find( entry ) : nullptr;
}

static InstalledEntry installedEntry( const Sim::FieldEntry& entry )
{
   const Sim::FieldRule& rule = *entry.hardware;
   InstalledEntry found{ static_cast<U32>( rule.qualifiers.size() ),
      static_cast<U32>( rule.actions.size() ), entry.enabled };
   for( const Sim::FieldQualifier& qualifier : rule.qualifiers )
      if( qualifier.role == Sim::Qualifier::InPorts ||
          qualifier.role == Sim::Qualifier::InPortsClass )
         found.inPorts = qualifier.ports;
   for( const Sim::FieldActionData& action : rule.actions )
      if( action.role == FieldAction::RedirectPbmp || action.role == FieldAction::EgressPortsAdd )
         found.actionPorts = action.ports;
   return found;
}

static void addHooks( Port& port, Sim::SimSwitch& hardware )
{
   port.installedEntry = [ &hardware ]( U32 unit, U32 id ) -> std::optional<InstalledEntry> {
      const Sim::FieldEntry* const entry = findEntry( hardware, unit, id );
      if( !entry || !entry->installed() )
         return std::nullopt;
      return installedEntry( *entry );
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
   port.portControlValue = [ &hardware ]( U32 unit, int number, int control ) {
      const auto role = hardware.numbers().portControl.find( control );
      const auto& values = hardware.chip( unit ).portControls();
      const auto at = role ? values.find( { number, *role } ) : values.end();
      return at == values.end() ? 0 : at->second;
   };
   port.vlanMembers = [ &hardware ]( U32 unit, U16 vlan ) {
      const Sim::ChipVlan* const found = hardware.chip( unit ).vlan( vlan );
      return found ? found->members : PortBitmap();
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
      for( const int number : { 1, 2 } )
         port.ports.emplace_back( unit, number, *hardware.chip( unit ).logicalPort( number ) );
   port.notFoundCode = static_cast<int>( SdkCode::NotFound );
   port.configCode = static_cast<int>( SdkCode::Config );
   addHooks( port, hardware );
   return port;
}

} // namespace Strata::Conformance
