#include "tool/words/ByUnit.h"

#include <utility>

namespace Strata::Tool {

Table unitTable( std::vector<Column> columns, const ByUnit<UnitRow>& byUnit )
{
   columns.insert( columns.end() - 1, Column{ "Units" } );
   Table table( columns );
   for( const auto& [ row, units ] : byUnit.rows() ) {
      std::vector<std::string> cells = row.cells;
      cells.insert( cells.end() - 1, numberRanges( units ) );
      nlohmann::ordered_json object = row.object;
      object[ "units" ] = units;
      table.row( std::move( cells ), std::move( object ) );
   }
   return table;
}

} // namespace Strata::Tool
