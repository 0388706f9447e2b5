#include "tool/words/ByUnit.h"

#include <utility>

namespace Strata::Tool {

std::string numberRanges( const std::vector<U32>& numbers )
{
   std::string text;
   for( std::size_t i = 0; i < numbers.size(); ) {
      std::size_t last = i;
      while( last + 1 < numbers.size() && numbers[ last + 1 ] == numbers[ last ] + 1 )
         ++last;
      text += ( i == 0 ? "" : "," ) + std::to_string( numbers[ i ] );
      if( last > i )
         text += ( last == i + 1 ? "," : "-" ) + std::to_string( numbers[ last ] );
      i = last + 1;
   }
   return text;
}

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
