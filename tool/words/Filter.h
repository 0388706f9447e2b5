// Filters of output, as in `show entries | include vlan | count`: they select rows of a table, or lines of other text.
// The lines of one row stay together, and titles and headings stay above them.
#pragma once

#include "platform/runtime/Enum.h"
#include "platform/runtime/Types.h"
#include "tool/words/Words.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Tool {

VORMEL_ENUM( FilterKind, U8,
   include, // rows with the text
   exclude, // rows without it
   begin,   // rows from the first with the text
   count    // the number of rows
)

struct Filter
{
   FilterKind kind;
   std::string text;
};

/// Cuts `| FILTER ...` off the end of a line; nothing if the line has none.
std::optional<Line> cutFilters( Line& line );

/// Parses what cutFilters() has returned.
std::vector<Filter> takeFilters( Words& words );

/// The indices of the rows that a filter other than `count` leaves.
std::vector<std::size_t> selectedRows( const Filter& filter, const std::vector<std::string>& rows );

} // namespace Strata::Tool
