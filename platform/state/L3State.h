// The state of the layer-3 hardware, and the next hops that other parts of the agent program.
#pragma once

#include "platform/runtime/Attributes.h"
#include "platform/runtime/Export.h"

#include <string>

namespace Strata {

using Vormel::Ref;

// clang-format off
#define STRATA_HW_STATUS_ATTRIBUTES( ROW ) \
   ROW( SCALAR, 258, l2DualHash, bool, false, "the chips hash the L2 table twice", "reactor" ) \
   ROW( SCALAR, 259, l3DualHash, bool, false, "the chips hash the L3 host table twice", "reactor" ) \
   ROW( SCALAR, 260, l2TrafficRouting, bool, false, "the chips look up the source of bridged IP packets", "reactor" ) \
   ROW( SCALAR, 261, nexthopsProgrammed, U32, 0, "next-hop entities that are in hardware", "reactor" )

#define STRATA_NEXTHOP_STATUS_ATTRIBUTES( ROW ) \
   ROW( FIELD, name, std::string, "the entity's name in its directory", "agent" ) \
   ROW( SCALAR, 258, programmed, bool, false, "its next hops are in hardware", "agent" ) \
   ROW( SCALAR, 259, usesL3Egress, bool, false, "it directs flows through L3 egress objects", "agent" )

#define STRATA_NEXTHOP_STATUS_DIR_ATTRIBUTES( ROW ) \
   ROW( MAP, 266, entity, std::string, Ref<NexthopStatus>, 0, "next-hop status entities by name", "agent" )
// clang-format on

class VORMEL_EXPORT HwStatus : public Vormel::Entity
{
   VORMEL_ENTITY( HwStatus, STRATA_HW_STATUS_ATTRIBUTES )
};

class VORMEL_EXPORT NexthopStatus : public Vormel::Entity
{
   VORMEL_ENTITY( NexthopStatus, STRATA_NEXTHOP_STATUS_ATTRIBUTES )

   explicit NexthopStatus( const std::string& name ) : name_( name ) {}
   std::string entityName() const override { return name_; }
};

class VORMEL_EXPORT NexthopStatusDir : public Vormel::Entity
{
   VORMEL_ENTITY( NexthopStatusDir, STRATA_NEXTHOP_STATUS_DIR_ATTRIBUTES )
};

} // namespace Strata
