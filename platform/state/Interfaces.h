// The state of interfaces: forwarding model, internal VLANs, virtual ports.
#pragma once

#include "platform/runtime/Attributes.h"
#include "platform/runtime/Enum.h"
#include "platform/runtime/Export.h"
#include "platform/types/IntfId.h"

namespace Interface {

using Vormel::IntfId;
using Vormel::Ref;

VORMEL_ENUM( ForwardingModel, U8, unknown = 0, bridged = 1, routed = 8 )

// clang-format off
#define STRATA_ETH_INTF_STATUS_ATTRIBUTES( ROW ) \
   ROW( FIELD, intfId, IntfId, "the interface: Ethernet or Port-Channel", "agent" ) \
   ROW( SCALAR, 262, forwardingModel, ForwardingModel, ForwardingModel::unknown, "bridged in a VLAN, or routed", "agent" )

#define STRATA_ETH_INTF_STATUS_DIR_ATTRIBUTES( ROW ) \
   ROW( MAP, 386, intfStatus, IntfId, Ref<EthIntfStatus>, 0, "the status of each interface", "agent" )
// clang-format on

class VORMEL_EXPORT EthIntfStatus : public Vormel::Entity
{
   VORMEL_ENTITY( EthIntfStatus, STRATA_ETH_INTF_STATUS_ATTRIBUTES )

   explicit EthIntfStatus( IntfId intf ) : intfId_( intf ) {}
   std::string entityName() const override;
};

class VORMEL_EXPORT EthIntfStatusDir : public Vormel::Entity
{
   VORMEL_ENTITY( EthIntfStatusDir, STRATA_ETH_INTF_STATUS_DIR_ATTRIBUTES )
};

} // namespace Interface

namespace IntfVlanId {

using Vormel::IntfId;

// clang-format off
#define STRATA_INTF_VLAN_ID_TABLE_ATTRIBUTES( ROW ) \
   ROW( MAP_CHECKED, 258, vlanId, IntfId, U16, 0, "the internal VLAN of a routed interface, 1 to 4094", "agent", checkVlanId )
// clang-format on

class VORMEL_EXPORT Table : public Vormel::Entity
{
   VORMEL_ENTITY( Table, STRATA_INTF_VLAN_ID_TABLE_ATTRIBUTES )

 private:
   static void checkVlanId( IntfId intf, U16 vlanId );
};

} // namespace IntfVlanId

namespace Strata {

using Vormel::IntfId;

// clang-format off
#define STRATA_VIRTUAL_PORT_STATUS_ATTRIBUTES( ROW ) \
   ROW( MAP, 258, virtualPort, IntfId, U32, 0, "the chip's virtual port of an interface", "agent" )
// clang-format on

class VORMEL_EXPORT VirtualPortStatus : public Vormel::Entity
{
   VORMEL_ENTITY( VirtualPortStatus, STRATA_VIRTUAL_PORT_STATUS_ATTRIBUTES )
};

} // namespace Strata
