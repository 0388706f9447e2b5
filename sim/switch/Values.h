// Values of the simulated switch as JSON, for programs: numbers, arrays and objects where the texts have words.
#pragma once

#include "platform/sdk/SdkShimInterface.h"
#include "platform/state/StrataPort.h"
#include "platform/types/PortBitmap.h"
#include "sim/chip/FieldRule.h"
#include "sim/sdk/SdkNumbers.h"
#include "sim/switch/Transcript.h"

#include <nlohmann/json_fwd.hpp>
#include <set>
#include <string>
#include <string_view>

namespace Strata::Sim {

using Json = nlohmann::ordered_json;

/// On one line. Bytes that are not valid UTF-8 become U+FFFD, because names may contain any.
std::string jsonText( const Json& json );

/// The ports in ascending order.
Json portsJson( const PortBitmap& ports );
/// "unit", "port" and "logicalPort"; null for no port.
Json portJson( const StrataPort& port );

/// "field", and the members of its kind: "value" and "mask", or "modId", "modMask", "port" and "portMask", or "ports".
Json qualifierJson( const FieldQualifier& qualifier );
/// "action", and its parameters by their names.
Json actionJson( const FieldActionData& action );
/// "qualifiers" and "actions".
Json ruleJson( const FieldRule& rule );

/// "value", and "fields" by their names.
Json registerJson( Register reg, U64 value );
/// The fields of the entry by their names.
Json memoryJson( const MemoryEntry& entry );
/// The names of the flags that are set.
Json flagsJson( const std::set<VlanFlag>& flags );

/// An attribute's value of this type, from its text: a number or truth value, an object for a port, an array of names
/// for a list of interfaces, null for no object, a text for everything else.
Json attributeJson( std::string_view type, const std::string& text );
/// The same as a field of a record, whose text remains.
RecordField attributeField( std::string_view name, std::string_view type, const std::string& text );

} // namespace Strata::Sim
