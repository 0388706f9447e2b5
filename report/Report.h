// A run as one HTML file: it needs no network and no scripts, and folds open when it is printed.
#pragma once

#include "report/Chronicle.h"

#include <iosfwd>

namespace Strata::Report {

void writeReport( std::ostream& out, const Chronicle& chronicle );

} // namespace Strata::Report
