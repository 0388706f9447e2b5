#include "desk/Texts.h"

#include <cstddef>

namespace Strata::Desk {

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

std::string counted( U64 count, std::string_view what )
{
   return std::to_string( count ) + " " + std::string( what ) + ( count == 1 ? "" : "s" );
}

} // namespace Strata::Desk
