// Merges equal rows of different units into one row.
#pragma once

#include "desk/Texts.h"
#include "platform/runtime/Types.h"
#include "tool/view/Table.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Tool {

using Desk::numberRanges;

template<class Row>
class ByUnit
{
 public:
   void add( U32 unit, const Row& row )
   {
      const auto at = std::ranges::find( rows_, row, &Rows::value_type::first );
      if( at == rows_.end() )
         rows_.push_back( { row, { unit } } );
      else
         at->second.push_back( unit );
   }

   /// The rows in order of their first addition, each with its units.
   using Rows = std::vector<std::pair<Row, std::vector<U32>>>;
   const Rows& rows() const { return rows_; }

 private:
   Rows rows_;
};

struct UnitRow
{
   std::vector<std::string> cells;
   nlohmann::ordered_json object; // of these values

   bool operator==( const UnitRow& other ) const { return cells == other.cells; }
};

/// Merges rows with equal cells; their units are in a separate column before the last, and in the member "units".
Table unitTable( std::vector<Column> columns, const ByUnit<UnitRow>& byUnit );

} // namespace Strata::Tool
