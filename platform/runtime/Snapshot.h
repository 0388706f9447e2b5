// All attributes of an entity as JSON text: for support bundles, tests and other programs.
#pragma once

#include "platform/runtime/Entity.h"
#include "platform/runtime/Export.h"

#include <string>
#include <string_view>

namespace Vormel {

/// An object with the entity's "type", "name" and "attributes", each of these with "number" (absent for fields),
/// "name", "kind" and "value": a number, truth value or text, null if there is no object, or for arrays and maps an
/// array of "key" and "value". Objects are written as their text, and so are numbers that JSON lacks (infinities).
/// Requires: the activity lock is held.
VORMEL_EXPORT std::string snapshotJson( const Entity& entity );

/// The text in quotes, escaped. Bytes that are not valid UTF-8 become U+FFFD.
VORMEL_EXPORT std::string jsonString( std::string_view text );

} // namespace Vormel
