// Suggestions for misspelt names.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace Strata::Sim {

/// For the end of an error text: "; did you mean 'hsdk'?", or all names when none is similar: "; there
/// are: hsdk, register".
std::string hint( std::string_view wrong, std::span<const std::string_view> names );

} // namespace Strata::Sim
