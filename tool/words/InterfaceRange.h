// Consecutive interfaces, written "Ethernet1" or "Ethernet1-48".
#pragma once

#include "platform/types/IntfId.h"
#include "tool/words/Words.h"

namespace Strata::Tool {

struct InterfaceRange
{
   Vormel::IntfId first;
   U32 count;

   /// Requires: `index` is less than `count`.
   Vormel::IntfId at( U32 index ) const
   {
      return index == 0 ? first : Vormel::IntfId::ethernet( first.number() + index );
   }
};

InterfaceRange takeInterfaces( Words& words );

/// "; did you mean 'Ethernet1'?" for "et1", "; did you mean 'Port-Channel1'?" for "po1"; else empty.
std::string didYouMeanInterface( std::string_view text );

} // namespace Strata::Tool
