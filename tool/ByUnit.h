// What the units of a switch have in common: equal rows of different units become one row.
#pragma once

#include "platform/runtime/Types.h"
#include "tool/Table.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Tool {

/// "0-3,8"
std::string numberRanges( const std::vector<U32>& numbers );

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

   /// In the order in which they first came, each with its units.
   using Rows = std::vector<std::pair<Row, std::vector<U32>>>;
   const Rows& rows() const { return rows_; }

 private:
   Rows rows_;
};

using Cells = std::vector<std::string>;

/// Rows of equal cells become one, with their units in a column of their own in front of the last.
Table unitTable( std::vector<Column> columns, const ByUnit<Cells>& byUnit );

} // namespace Strata::Tool
