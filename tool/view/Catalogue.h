// Tables of the attributes and operations of entities, of their values, and of commands.
#pragma once

#include "platform/runtime/Entity.h"
#include "platform/runtime/EntityType.h"
#include "tool/view/Table.h"

#include <string>
#include <string_view>
#include <vector>

namespace Strata::Tool {

struct Command;

/// A command's name and syntax.
std::string withSyntax( const Command& command );

/// The attributes of a type: number, name, type, default, meaning.
Table attributeTable( const Vormel::EntityType& type );
/// The commands whose names start with the given text.
Table commandTable( std::string_view start );
/// The same, with explanations of the words in capitals.
Table helpTable( std::string_view start );
/// All commands by theme, also those of the shell: name and summary, on one line each.
Table overviewTable();
Table operationTable( const Vormel::EntityType& type );

/// The types of the objects that a scenario can name, with those names.
struct NamedType
{
   std::string_view object;
   const Vormel::EntityType* type;
};
const std::vector<NamedType>& namedTypes();

} // namespace Strata::Tool
