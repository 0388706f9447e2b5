// What a search for packets has found, a packet or a proof for each entry, as text and as JSON.
#pragma once

#include "cover/Cover.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace Strata::Tool {

class Session;

/// The commands that show the packet; or the proof; or what was tried.
std::vector<std::string> coverageLines( const Session& session, const Cover::Coverage& about );

nlohmann::ordered_json coverageJson( const Session& session, const Cover::Coverage& about );

} // namespace Strata::Tool
