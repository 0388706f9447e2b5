// How full the layer-3 tables are. Written by the owners of the tables, readable by all.
#pragma once

#include "platform/runtime/Attributes.h"
#include "platform/runtime/Export.h"

namespace Strata {

// clang-format off
#define STRATA_L3_STATUS_RESOURCE( ROW, used, max, resource, what ) \
   ROW( SCALAR, used, resource##Used, U32, 0, what " in use", "agent" ) \
   ROW( SCALAR, max, resource##Max, U32, 0, what " that there is room for; 0 when unknown", "agent" )

#define STRATA_L3_STATUS_ATTRIBUTES( ROW ) \
   STRATA_L3_STATUS_RESOURCE( ROW, 258, 259, l3Intf, "L3 interfaces" ) \
   STRATA_L3_STATUS_RESOURCE( ROW, 260, 261, host, "host entries" ) \
   STRATA_L3_STATUS_RESOURCE( ROW, 262, 263, route, "routes" ) \
   STRATA_L3_STATUS_RESOURCE( ROW, 264, 265, nexthop, "next hops" ) \
   STRATA_L3_STATUS_RESOURCE( ROW, 266, 267, ecmp, "ECMP groups" ) \
   STRATA_L3_STATUS_RESOURCE( ROW, 268, 269, myStation, "my-station entries" ) \
   STRATA_L3_STATUS_RESOURCE( ROW, 270, 271, mplsTunnel, "MPLS tunnels" ) \
   ROW( SCALAR, 272, hostReserved, U32, 0, "host entries reserved, after the cap to hostMax", "agent" )
// clang-format on

class VORMEL_EXPORT L3Status : public Vormel::Entity
{
   VORMEL_ENTITY( L3Status, STRATA_L3_STATUS_ATTRIBUTES )

   // A table is full when its size is known and all of it is in use.
   bool l3IntfFull() const { return full( l3IntfUsed(), l3IntfMax() ); }
   bool hostFull() const { return full( hostUsed(), hostMax() ); }
   bool routeFull() const { return full( routeUsed(), routeMax() ); }
   bool nexthopFull() const { return full( nexthopUsed(), nexthopMax() ); }
   bool ecmpFull() const { return full( ecmpUsed(), ecmpMax() ); }
   bool myStationFull() const { return full( myStationUsed(), myStationMax() ); }
   bool mplsTunnelFull() const { return full( mplsTunnelUsed(), mplsTunnelMax() ); }

 private:
   static bool full( U32 used, U32 max ) { return max != 0 && used >= max; }
};

} // namespace Strata
