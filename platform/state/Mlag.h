// The state of the MLAG pair and of the recirculation feature.
#pragma once

#include "platform/runtime/Attributes.h"
#include "platform/runtime/Export.h"
#include "platform/types/EthAddr.h"
#include "platform/types/IntfId.h"

namespace Mlag {

using Vormel::EthAddr;
using Vormel::IntfId;

// clang-format off
#define STRATA_MLAG_STATUS_ATTRIBUTES( ROW ) \
   ROW( SCALAR, 258, peerMacAddr, EthAddr, EthAddr(), "the peer's router MAC; zero when there is no peer", "agent" ) \
   ROW( SCALAR, 259, peerLinkIntf, IntfId, IntfId(), "the link to the peer, an interface or a LAG", "agent" ) \
   ROW( SCALAR, 260, peerMacRoutingEnabled, bool, false, "packets to the peer's router MAC are also routed by this switch", "agent" )

#define STRATA_MLAG_HARDWARE_STATUS_ATTRIBUTES( ROW ) \
   ROW( SCALAR, 258, peerMacRoutingSupported, bool, false, "the chip can route for the peer's MAC", "agent" )
// clang-format on

class VORMEL_EXPORT Status : public Vormel::Entity
{
   VORMEL_ENTITY( Status, STRATA_MLAG_STATUS_ATTRIBUTES )
};

VORMEL_EXPORT bool isPeerMacRoutingStatusEnabled( const Status& status );

namespace Hardware {

class VORMEL_EXPORT Status : public Vormel::Entity
{
   VORMEL_ENTITY( Status, STRATA_MLAG_HARDWARE_STATUS_ATTRIBUTES )
};

} // namespace Hardware
} // namespace Mlag

namespace Lag {
namespace Recirc {

// clang-format off
#define STRATA_RECIRC_FEATURE_STATUS_ATTRIBUTES( ROW ) \
   ROW( MAP_CHECKED, 258, recircPort, U16, S32, 0, "the recirculation port of a unit (logical port number, 0 to 1023), by unit number", "agent", checkRecircPort )
// clang-format on

class VORMEL_EXPORT RecircFeatureStatus : public Vormel::Entity
{
   VORMEL_ENTITY( RecircFeatureStatus, STRATA_RECIRC_FEATURE_STATUS_ATTRIBUTES )

 private:
   static void checkRecircPort( U16 unit, S32 port );
};

} // namespace Recirc
} // namespace Lag
