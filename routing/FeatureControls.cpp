// Chip-wide controls of features that the reactor turns on and off.
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"

namespace Strata {

void RoutingStatusHelper::programDualHash( SwitchControl control, bool on )
{
   for( const auto& i : shared().units() ) {
      if( control == SwitchControl::HashL2Dual )
         CHECKED( bcm_switch_control_set( i.key(), bcmSwitchHashL2Dual, on ) );
      else
         CHECKED( bcm_switch_control_set( i.key(), bcmSwitchHashL3Dual, on ) );
   }
}

void RoutingStatusHelper::programL2TrafficRouting( bool on )
{
   for( const auto& i : shared().units() )
      CHECKED( bcm_switch_control_set( i.key(), bcmSwitchL2TrafficSrcIpLookup, on ) );
}

} // namespace Strata
