// The values of an entity's attributes.
#pragma once

#include "platform/runtime/Entity.h"
#include "platform/runtime/EntityType.h"
#include "platform/runtime/Value.h"

#include <optional>
#include <string>
#include <vector>

namespace Strata::Tool {

/// One row for each value of an entity; members of collections have their key in the name.
struct AttributeValue
{
   const Vormel::Attribute* attribute;
   std::string name; // "useLb", "tcamEntryArpReply[bridgeMac]"
   Vormel::Value value;
   std::optional<Vormel::Value> key{}; // of a member
};
std::vector<AttributeValue> attributeValues( const Vormel::Entity& entity );

} // namespace Strata::Tool
